#pragma once

#include "catalogue/YouTubeUrl.h"

#include <QAbstractListModel>
#include <QIcon>
#include <QList>

#include <memory>
#include <variant>

class YouTubeVideo;

// The preview's outline: each quality title of a video, in the order of its
// localized qualities, followed by that quality's streams. Nothing nests.
class StreamOutlineModel : public QAbstractListModel {
    Q_OBJECT
public:
    // A quality title ("HeaderCell") or a stream ("DataCell").
    using Item = std::variant<QString, std::shared_ptr<YouTubeUrl>>;
    using QAbstractListModel::QAbstractListModel;

    void setVideo(const YouTubeVideo* video);
    void clear();
    const QList<Item>& outlineItems() const { return items_; }
    // The stream of a row; none for a quality title or a row out of range.
    std::shared_ptr<YouTubeUrl> streamAt(int row) const;
    // The first row whose stream's type contains text, or -1.
    int firstStreamOfType(const QString& text) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    QList<Item> items_;
    mutable QIcon streamIcon_;
};

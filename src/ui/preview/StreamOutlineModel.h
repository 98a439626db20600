#pragma once

#include "catalogue/YouTubeUrl.h"
#include "catalogue/YouTubeVideo.h"

#include <QAbstractListModel>
#include <QIcon>
#include <QList>

#include <memory>
#include <optional>
#include <variant>

// The preview's outline: each quality title of a video, in the order of its
// localized qualities, followed by that quality's streams. A video read with
// streams of picture alone begins with a title "Video quality" and the heights
// it can be saved at. Nothing nests.
class StreamOutlineModel : public QAbstractListModel {
    Q_OBJECT
public:
    // A height the video can be saved at ("DataCell" too).
    struct QualityRow {
        YouTubeVideo::Quality quality;
        bool operator==(const QualityRow& other) const
        {
            return quality.picture == other.quality.picture && quality.sound == other.quality.sound;
        }
    };
    // A title ("HeaderCell"), a stream ("DataCell") or a quality.
    using Item = std::variant<QString, std::shared_ptr<YouTubeUrl>, QualityRow>;
    using QAbstractListModel::QAbstractListModel;

    void setVideo(const YouTubeVideo* video);
    void clear();
    const QList<Item>& outlineItems() const { return items_; }
    // The stream of a row; none for a title, a quality or a row out of range.
    std::shared_ptr<YouTubeUrl> streamAt(int row) const;
    std::optional<YouTubeVideo::Quality> qualityAt(int row) const;
    // What a row plays: its stream, or its quality's picture; none for a title.
    std::shared_ptr<YouTubeUrl> playedAt(int row) const;
    bool isTitle(int row) const;
    // The rows of the title "Video quality" and its qualities, which come
    // before the streams' titles (0 when there are none).
    int qualityRowCount() const { return qualityRows_; }
    // The first row whose stream's type contains text, or -1.
    int firstStreamOfType(const QString& text) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    QList<Item> items_;
    int qualityRows_ = 0;
    mutable QIcon streamIcon_;
};

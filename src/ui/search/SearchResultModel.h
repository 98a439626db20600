#pragma once

#include "catalogue/YouTubeVideo.h"

#include <QAbstractListModel>
#include <QList>

#include <memory>

// The videos a search found, in the order the service gave them.
class SearchResultModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role {
        SecondsRole = Qt::UserRole + 1, // qint64
        DescriptionRole,                // plain text
        ThumbnailRole,                  // QImage, null while there is none
        LoadingRole,                    // bool: its streams are being found
    };

    using QAbstractListModel::QAbstractListModel;

    void setVideos(const QList<std::shared_ptr<YouTubeVideo>>& videos);
    const QList<std::shared_ptr<YouTubeVideo>>& videos() const { return videos_; }
    std::shared_ptr<YouTubeVideo> video(int row) const;
    // The row shows its video anew (after its streams were looked for).
    void reloadRow(int row);
    int rowOf(const YouTubeVideo* video) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    QList<std::shared_ptr<YouTubeVideo>> videos_;
};

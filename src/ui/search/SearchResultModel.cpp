#include "ui/search/SearchResultModel.h"

#include <QImage>

void SearchResultModel::setVideos(const QList<std::shared_ptr<YouTubeVideo>>& videos)
{
    beginResetModel();
    videos_ = videos;
    endResetModel();
}

std::shared_ptr<YouTubeVideo> SearchResultModel::video(int row) const
{
    return row >= 0 && row < videos_.size() ? videos_[row] : nullptr;
}

void SearchResultModel::reloadRow(int row)
{
    if (row >= 0 && row < videos_.size())
        emit dataChanged(index(row), index(row));
}

int SearchResultModel::rowOf(const YouTubeVideo* video) const
{
    for (int row = 0; row < videos_.size(); ++row)
        if (videos_[row].get() == video)
            return row;
    return -1;
}

int SearchResultModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(videos_.size());
}

QVariant SearchResultModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const YouTubeVideo& video = *videos_[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleDescriptionRole:
        return video.title();
    case SecondsRole:
        return video.seconds();
    case DescriptionRole:
        return video.description();
    case ThumbnailRole:
        if (const platform::Image thumbnail = video.thumbnail())
            return *thumbnail;
        return QImage();
    case LoadingRole:
        return video.isLoading();
    default:
        return {};
    }
}

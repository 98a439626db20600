#include "ui/preview/StreamOutlineModel.h"

#include "catalogue/YouTubeVideo.h"
#include "ui/widgets/Picture.h"
#include "ui/preview/PreviewPage.h"

#include <QApplication>
#include <QFont>

void StreamOutlineModel::setVideo(const YouTubeVideo* video)
{
    beginResetModel();
    items_.clear();
    if (video) {
        const auto sorted = video->SortedUrls();
        for (const QString& quality : video->localizedQualitys()) {
            items_.append(quality);
            for (const auto& stream : sorted.value(quality))
                items_.append(stream);
        }
    }
    endResetModel();
}

void StreamOutlineModel::clear()
{
    setVideo(nullptr);
}

std::shared_ptr<YouTubeUrl> StreamOutlineModel::streamAt(int row) const
{
    if (row < 0 || row >= items_.size())
        return nullptr;
    const auto* stream = std::get_if<std::shared_ptr<YouTubeUrl>>(&items_[row]);
    return stream ? *stream : nullptr;
}

int StreamOutlineModel::firstStreamOfType(const QString& text) const
{
    for (int row = 0; row < items_.size(); ++row)
        if (const auto stream = streamAt(row); stream && stream->type().contains(text))
            return row;
    return -1;
}

int StreamOutlineModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant StreamOutlineModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto stream = streamAt(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        // A stream's "DataCell": its label, then its media type (the codecs
        // show under the player).
        return stream ? QStringLiteral("%1 \u00b7 %2").arg(stream->localizedType(), PreviewPage::mimeOf(stream->type()))
                      : std::get<QString>(items_[index.row()]);
    case Qt::DecorationRole:
        if (!stream)
            return {};
        if (streamIcon_.isNull())
            streamIcon_ = Picture::icon(QStringLiteral(":/images/icon_play.svg"));
        return streamIcon_;
    case Qt::FontRole:
        if (!stream) {
            QFont bold = QApplication::font();
            bold.setBold(true);
            return bold;
        }
        return {};
    default:
        return {};
    }
}

Qt::ItemFlags StreamOutlineModel::flags(const QModelIndex& index) const
{
    return QAbstractListModel::flags(index) | Qt::ItemNeverHasChildren;
}

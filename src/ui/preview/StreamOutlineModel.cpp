#include "ui/preview/StreamOutlineModel.h"

#include "platform/Localization.h"
#include "ui/preview/PreviewPage.h"
#include "ui/widgets/Picture.h"

#include <QApplication>
#include <QFont>
#include <QLocale>

using platform::Localization;

namespace {

// "1080p60 HDR · joined · 123.4 MB": joined, a picture alone that is saved
// with the video's best sound.
QString qualityText(const YouTubeVideo::Quality& quality)
{
    QStringList parts{quality.label(), Localization::string(quality.sound ? "Preview.QualityJoined"
                                                                           : "Preview.QualityWithSound")};
    if (quality.bytes > 0)
        parts.append(QLocale().formattedDataSize(quality.bytes, 1, QLocale::DataSizeSIFormat));
    return parts.join(QStringLiteral(" \u00b7 "));
}

} // namespace

void StreamOutlineModel::setVideo(const YouTubeVideo* video)
{
    beginResetModel();
    items_.clear();
    qualityRows_ = 0;
    if (video) {
        // Only yt-dlp offers pictures alone: the classic reader's videos show
        // their streams as ever.
        if (!video->separateUrls().isEmpty()) {
            if (const auto qualities = video->qualities(); !qualities.isEmpty()) {
                items_.append(Localization::string("Preview.Qualities"));
                for (const auto& quality : qualities)
                    items_.append(QualityRow{quality});
                qualityRows_ = static_cast<int>(items_.size());
            }
        }
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

std::optional<YouTubeVideo::Quality> StreamOutlineModel::qualityAt(int row) const
{
    if (row < 0 || row >= items_.size())
        return std::nullopt;
    const auto* quality = std::get_if<QualityRow>(&items_[row]);
    return quality ? std::optional(quality->quality) : std::nullopt;
}

std::shared_ptr<YouTubeUrl> StreamOutlineModel::playedAt(int row) const
{
    if (const auto quality = qualityAt(row))
        return quality->picture;
    return streamAt(row);
}

bool StreamOutlineModel::isTitle(int row) const
{
    return row >= 0 && row < items_.size() && std::holds_alternative<QString>(items_[row]);
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
    const Item& item = items_[index.row()];
    const bool title = std::holds_alternative<QString>(item);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        if (const auto* stream = std::get_if<std::shared_ptr<YouTubeUrl>>(&item))
            // A stream's "DataCell": its label, then its media type (the codecs
            // show under the player).
            return QStringLiteral("%1 \u00b7 %2").arg((*stream)->localizedType(), PreviewPage::mimeOf((*stream)->type()));
        if (const auto* row = std::get_if<QualityRow>(&item))
            return qualityText(row->quality);
        return std::get<QString>(item);
    case Qt::DecorationRole:
        if (title)
            return {};
        if (streamIcon_.isNull())
            streamIcon_ = Picture::icon(QStringLiteral(":/images/icon_play.svg"));
        return streamIcon_;
    case Qt::FontRole:
        if (title) {
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
    // The root's flags stay its own: it has the rows.
    return index.isValid() ? QAbstractListModel::flags(index) | Qt::ItemNeverHasChildren
                           : QAbstractListModel::flags(index);
}

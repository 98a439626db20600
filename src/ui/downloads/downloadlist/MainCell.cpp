#include "ui/downloads/downloadlist/MainCell.h"

#include "downloads/DownloadItem.h"
#include "platform/Localization.h"
#include "platform/Text.h"
#include "ui/downloads/DownloadListModel.h"
#include "ui/widgets/ElidedLabel.h"

#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>

#include <limits>

using platform::Localization;
using State = DownloadItem::State;

namespace downloadlist {

namespace {

QString bytes(qint64 count)
{
    return QLocale().formattedDataSize(count, 1, QLocale::DataSizeSIFormat);
}

std::optional<qint64> number(const QVariant& value)
{
    return value.isValid() ? std::optional<qint64>(value.toLongLong()) : std::nullopt;
}

// "12.3 MB of 40.0 MB · 2.1 MB/s · 0:13 left" while downloading, "0:12 of 0:45"
// while converting; each part only when it is known.
QString details(const QModelIndex& index, State state)
{
    const auto value = number(index.data(DownloadListModel::ProgressValueRole));
    const auto maximum = number(index.data(DownloadListModel::ProgressMaxRole));
    QStringList parts;
    if (state == State::Downloading) {
        if (value && maximum && *maximum > 0)
            parts << Localization::string("Downloads.BytesOfTotal").arg(bytes(*value), bytes(*maximum));
        else if (value)
            parts << bytes(*value);
        if (const QVariant speed = index.data(DownloadListModel::BytesPerSecondRole); speed.isValid())
            parts << Localization::string("Downloads.Speed").arg(bytes(static_cast<qint64>(speed.toDouble())));
        if (const auto left = number(index.data(DownloadListModel::SecondsLeftRole)))
            parts << Localization::string("Downloads.TimeLeft").arg(platform::clockText(*left));
    } else if (state == State::Converting && value && maximum && *maximum > 0) {
        parts << Localization::string("Downloads.BytesOfTotal").arg(platform::clockText(*value), platform::clockText(*maximum));
    }
    return parts.join(QStringLiteral(" \u00b7 "));
}

} // namespace

MainCell::MainCell(QWidget* parent)
    : ModelCell(parent),
      titleLabel_(new ElidedLabel),
      statusLabel_(new QLabel),
      detailLabel_(new QLabel),
      progressBar_(new QProgressBar),
      cancelButton_(new QPushButton(Localization::string("Downloads.Cancel"))),
      playButton_(new QPushButton(Localization::string("Downloads.Play")))
{
    QFont bold = titleLabel_->font();
    bold.setBold(true);
    titleLabel_->setFont(bold);
    statusLabel_->setTextFormat(Qt::PlainText);
    detailLabel_->setTextFormat(Qt::PlainText);
    detailLabel_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QPalette faint = detailLabel_->palette();
    faint.setColor(QPalette::WindowText, faint.color(QPalette::PlaceholderText));
    detailLabel_->setPalette(faint);
    progressBar_->setTextVisible(false);
    progressBar_->setMaximumHeight(10);
    progressBar_->setAccessibleName(Localization::string("Downloads.Progress"));
    cancelButton_->setAccessibleName(cancelButton_->text());
    playButton_->setAccessibleName(playButton_->text());

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(16, 10, 16, 10);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(4);
    layout->addWidget(titleLabel_, 0, 0, 1, 2);
    layout->addWidget(progressBar_, 1, 0, 1, 2);
    layout->addWidget(statusLabel_, 2, 0);
    layout->addWidget(detailLabel_, 2, 1);
    layout->addWidget(cancelButton_, 0, 2, 3, 1, Qt::AlignVCenter);
    layout->addWidget(playButton_, 0, 3, 3, 1, Qt::AlignVCenter);
    layout->setColumnStretch(1, 1);

    connect(cancelButton_, &QPushButton::clicked, this, &MainCell::cancelClicked);
    connect(playButton_, &QPushButton::clicked, this, &MainCell::playClicked);
}

std::optional<std::pair<int, int>> MainCell::barValues(std::optional<qint64> value, std::optional<qint64> maximum)
{
    if (!value || !maximum || *maximum <= 0)
        return std::nullopt;
    constexpr qint64 largest = std::numeric_limits<int>::max();
    const qint64 scale = *maximum / largest + 1;
    const qint64 v = std::clamp<qint64>(*value, 0, *maximum);
    return std::pair{static_cast<int>(*maximum / scale), static_cast<int>(v / scale)};
}

void MainCell::setObjectValue(const QModelIndex& index)
{
    const auto state = static_cast<State>(index.data(DownloadListModel::StateRole).toInt());
    const QString title = index.data(Qt::DisplayRole).toString();
    titleLabel_->setFullText(title);
    setAccessibleName(title);
    setAccessibleDescription(title);
    statusLabel_->setText(index.data(DownloadListModel::StatusRole).toString());
    const bool failed = state == State::Failed;
    if (failed) {
        QPalette alarm;
        alarm.setColor(QPalette::WindowText, QColor(0xb3, 0x26, 0x1e));
        statusLabel_->setPalette(alarm);
    } else {
        statusLabel_->setPalette(QPalette());
    }

    detailLabel_->setText(failed ? index.data(DownloadListModel::FailureReasonRole).toString() : details(index, state));

    // A job that ended without its file has no progress left to show.
    progressBar_->setVisible(!failed && state != State::Canceled);
    if (const auto bar = barValues(number(index.data(DownloadListModel::ProgressValueRole)),
                                   number(index.data(DownloadListModel::ProgressMaxRole)))) {
        progressBar_->setRange(0, bar->first);
        progressBar_->setValue(bar->second);
    } else {
        progressBar_->setRange(0, 0);
    }
    cancelButton_->setVisible(index.data(DownloadListModel::HasCancelButtonRole).toBool());
    playButton_->setVisible(index.data(DownloadListModel::HasPlayButtonRole).toBool());
}

void MainCell::paintEvent(QPaintEvent*)
{
    // A hairline between rows.
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Midlight));
    painter.drawLine(0, height() - 1, width(), height() - 1);
}

} // namespace downloadlist

#include "ui/downloads/downloadlist/MainCell.h"

#include "downloads/DownloadItem.h"
#include "platform/Localization.h"
#include "platform/Text.h"
#include "ui/downloads/DownloadListModel.h"
#include "ui/widgets/ElidedLabel.h"

#include <QApplication>
#include <QFileInfo>
#include <QGridLayout>
#include <QKeyEvent>
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

// What an ended row saved: "MP3 · 4.1 MB · 23/11/2026 18:11 · Title.mp3", or
// why it failed; each part only when it is known.
QString savedDetails(const QModelIndex& index, State state)
{
    QStringList parts;
    if (const QString kind = index.data(DownloadListModel::KindRole).toString(); !kind.isEmpty())
        parts << kind;
    if (state == State::Failed) {
        parts << index.data(DownloadListModel::FailureReasonRole).toString();
        return parts.join(QStringLiteral(" \u00b7 "));
    }
    if (state != State::Done)
        return parts.join(QStringLiteral(" \u00b7 "));
    if (const auto size = number(index.data(DownloadListModel::SizeRole)))
        parts << bytes(*size);
    if (const QDateTime date = index.data(DownloadListModel::DateRole).toDateTime(); date.isValid())
        parts << QLocale().toString(date, QLocale::ShortFormat);
    // Last, as the longest: a narrow row cuts the name, which the title above repeats.
    if (const QString file = index.data(DownloadListModel::FileRole).toString(); !file.isEmpty())
        parts << QFileInfo(file).fileName();
    return parts.join(QStringLiteral(" \u00b7 "));
}

QPushButton* button(const char* key)
{
    auto* button = new QPushButton(Localization::string(key));
    button->setAccessibleName(button->text());
    return button;
}

} // namespace

MainCell::MainCell(QWidget* parent)
    : ModelCell(parent),
      titleLabel_(new ElidedLabel),
      statusLabel_(new QLabel),
      detailLabel_(new ElidedLabel),
      progressBar_(new QProgressBar),
      pauseButton_(button("Downloads.Pause")),
      resumeButton_(button("Downloads.Resume")),
      cancelButton_(button("Downloads.Cancel")),
      playButton_(button("Downloads.Play")),
      showInFolderButton_(button("Downloads.ShowInFolder")),
      retryButton_(button("Downloads.Retry")),
      removeButton_(button("Downloads.Remove"))
{
    // The row takes the focus when clicked, so that Delete and Enter have a row to act on.
    setFocusPolicy(Qt::StrongFocus);
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

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(16, 10, 16, 10);
    layout->setHorizontalSpacing(8);
    layout->setVerticalSpacing(4);
    layout->addWidget(titleLabel_, 0, 0, 1, 2);
    layout->addWidget(progressBar_, 1, 0, 1, 2);
    layout->addWidget(statusLabel_, 2, 0);
    layout->addWidget(detailLabel_, 2, 1);
    int column = 2;
    for (QPushButton* action :
         {pauseButton_, resumeButton_, cancelButton_, playButton_, showInFolderButton_, retryButton_, removeButton_})
        layout->addWidget(action, 0, column++, 3, 1, Qt::AlignVCenter);
    layout->setColumnStretch(1, 1);

    connect(cancelButton_, &QPushButton::clicked, this, &MainCell::cancelClicked);
    connect(pauseButton_, &QPushButton::clicked, this, &MainCell::pauseClicked);
    connect(resumeButton_, &QPushButton::clicked, this, &MainCell::resumeClicked);
    connect(playButton_, &QPushButton::clicked, this, &MainCell::playClicked);
    connect(showInFolderButton_, &QPushButton::clicked, this, &MainCell::showInFolderClicked);
    connect(retryButton_, &QPushButton::clicked, this, &MainCell::retryClicked);
    connect(removeButton_, &QPushButton::clicked, this, &MainCell::removeClicked);
    // The row's highlight follows the focus into and out of its buttons.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget* old, QWidget* now) {
        if (old == this || now == this || isAncestorOf(old) || isAncestorOf(now))
            update();
    });
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

    const bool ended = index.data(DownloadListModel::EndedRole).toBool();
    const bool saved = ended || index.data(DownloadListModel::KindRole).isValid();
    detailLabel_->setFullText(saved ? savedDetails(index, state) : details(index, state));

    // A row that ended, or was written by an earlier run, has no progress left to show.
    progressBar_->setVisible(!saved);
    if (const auto bar = barValues(number(index.data(DownloadListModel::ProgressValueRole)),
                                   number(index.data(DownloadListModel::ProgressMaxRole)))) {
        progressBar_->setRange(0, bar->first);
        progressBar_->setValue(bar->second);
    } else {
        progressBar_->setRange(0, 0);
    }
    cancelButton_->setVisible(index.data(DownloadListModel::HasCancelButtonRole).toBool());
    pauseButton_->setVisible(index.data(DownloadListModel::HasPauseRole).toBool());
    resumeButton_->setVisible(index.data(DownloadListModel::HasResumeRole).toBool());
    playButton_->setVisible(index.data(DownloadListModel::HasPlayButtonRole).toBool());
    showInFolderButton_->setVisible(index.data(DownloadListModel::HasShowInFolderRole).toBool());
    retryButton_->setVisible(index.data(DownloadListModel::HasRetryRole).toBool());
    removeButton_->setVisible(index.data(DownloadListModel::HasRemoveRole).toBool());
}

void MainCell::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    if (key == Qt::Key_Delete && removeButton_->isVisible())
        emit removeClicked();
    else if ((key == Qt::Key_Return || key == Qt::Key_Enter) && playButton_->isVisible())
        emit playClicked();
    else
        ModelCell::keyPressEvent(event);
}

void MainCell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // The row with the focus in it is the one the keys act on.
    if (hasFocus() || isAncestorOf(QApplication::focusWidget())) {
        QColor selected = palette().color(QPalette::Highlight);
        selected.setAlpha(40);
        painter.fillRect(rect(), selected);
    }
    // A hairline between rows.
    painter.setPen(palette().color(QPalette::Midlight));
    painter.drawLine(0, height() - 1, width(), height() - 1);
}

} // namespace downloadlist

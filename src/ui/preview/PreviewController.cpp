#include "ui/preview/PreviewController.h"

#include "catalogue/YouTubeVideo.h"
#include "platform/Desktop.h"
#include "platform/Localization.h"
#include "platform/Log.h"
#include "ui/widgets/AlertPresenter.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/widgets/PZBackgroundView.h"
#include "ui/preview/PreviewPage.h"
#include "ui/preview/PreviewWebView.h"
#include "ui/preview/StreamOutlineModel.h"

#include <QDialog>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

using platform::Localization;

PreviewController::PreviewController(AlertPresenter& alerts, QObject* parent)
    : QObject(parent),
      alerts_(alerts),
      window_(new QDialog),
      title_(new ElidedLabel),
      outlineView_(new QListView),
      model_(new StreamOutlineModel(this)),
      videoArea_(new QStackedWidget),
      loaderPage_(new QWidget),
      progressLoader_(new QProgressBar),
      engineMissing_(new QLabel),
      videoTypeLabel_(new QLabel),
      watchButton_(new QPushButton(Localization::string("Preview.WatchOnYouTube"))),
      downloadVideoButton_(new QPushButton(Localization::string("Preview.DownloadVideo"))),
      downloadAudioButton_(new QPushButton(Localization::string("Preview.DownloadAudio")))
{
    window_->setMinimumSize(980, 560);
    auto* ground = new PZBackgroundView;
    auto* frame = new QVBoxLayout(window_);
    frame->setContentsMargins(0, 0, 0, 0);
    frame->addWidget(ground);
    QFont large = title_->font();
    large.setPointSizeF(large.pointSizeF() * 1.35);
    large.setBold(true);
    title_->setFont(large);

    outlineView_->setModel(model_);
    outlineView_->setFixedWidth(260);
    outlineView_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    outlineView_->setTextElideMode(Qt::ElideRight);
    outlineView_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    outlineView_->setSelectionMode(QAbstractItemView::SingleSelection);
    outlineView_->setAccessibleName(Localization::string("Preview.Streams"));
    connect(outlineView_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &PreviewController::outlineViewSelectionIsChanging);

    progressLoader_->setRange(0, 0);
    progressLoader_->setTextVisible(false);
    progressLoader_->setFixedWidth(200);
    progressLoader_->setAccessibleName(Localization::string("Preview.Loading"));
    auto* loaderLayout = new QVBoxLayout(loaderPage_);
    loaderLayout->addStretch(1);
    loaderLayout->addWidget(progressLoader_, 0, Qt::AlignCenter);
    loaderLayout->addStretch(1);
    engineMissing_->setTextFormat(Qt::PlainText);
    engineMissing_->setWordWrap(true);
    engineMissing_->setAlignment(Qt::AlignCenter);
    videoArea_->addWidget(loaderPage_);
    videoArea_->addWidget(engineMissing_);
    // The page's video is 590 by 360, on a body with margins of 8.
    videoArea_->setMinimumSize(610, 380);

    videoTypeLabel_->setTextFormat(Qt::PlainText);
    videoTypeLabel_->setForegroundRole(QPalette::PlaceholderText);
    videoTypeLabel_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    for (QPushButton* button : {watchButton_, downloadVideoButton_, downloadAudioButton_})
        button->setAccessibleName(button->text());

    auto* player = new QVBoxLayout;
    player->addWidget(videoArea_, 1);
    player->addWidget(videoTypeLabel_);
    auto* middle = new QHBoxLayout;
    middle->addWidget(outlineView_);
    middle->addLayout(player, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(watchButton_);
    buttons->addStretch(1);
    buttons->addWidget(downloadVideoButton_);
    buttons->addWidget(downloadAudioButton_);
    auto* layout = new QVBoxLayout(ground);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(12);
    layout->addWidget(title_);
    layout->addLayout(middle, 1);
    layout->addLayout(buttons);

    connect(watchButton_, &QPushButton::clicked, this, &PreviewController::watchOnYouTubeClick);
    connect(downloadVideoButton_, &QPushButton::clicked, this, &PreviewController::downloadVideoClick);
    connect(downloadAudioButton_, &QPushButton::clicked, this, &PreviewController::downloadAudioClick);
    window_->installEventFilter(this);
}

PreviewController::~PreviewController()
{
    webView_.reset();
    delete window_;
}

void PreviewController::setVideo(const std::shared_ptr<YouTubeVideo>& video)
{
    showLoader();
    window_->show();
    window_->raise();
    window_->activateWindow();
    video_ = video;
    title_->setFullText(video->title());
    window_->setWindowTitle(video->title());
    videoTypeLabel_->clear();
    model_->clear();
    // The streams are looked for first (yt-dlp takes a second to start), and
    // the web engine starts while they are found.
    video->parseUrlsAsync(this, [this, video](const QString& error) {
        if (error.isEmpty())
            parsed(video);
        else
            failed(video, error);
    });
    ensureWebView();
}

void PreviewController::parsed(const std::shared_ptr<YouTubeVideo>& video)
{
    if (video != video_)
        return; // a later preview took the window
    model_->setVideo(video.get());
    const int mp4 = model_->firstStreamOfType(QStringLiteral("video/mp4"));
    showVideo();
    // Selecting plays: a stream at once, a title through the row after it.
    if (model_->rowCount() > 0)
        setSelectedRow(mp4 >= 0 ? mp4 : 0);
}

void PreviewController::failed(const std::shared_ptr<YouTubeVideo>& video, const QString& message)
{
    if (video != video_)
        return;
    showVideo();
    alerts_.showAlert(QStringLiteral("YouTube:"), message, window_);
}

void PreviewController::showLoader()
{
    videoArea_->setCurrentWidget(loaderPage_);
}

void PreviewController::showVideo()
{
    videoArea_->setCurrentWidget(webView_ ? webView_->widget() : engineMissing_);
}

void PreviewController::showVideo(const std::shared_ptr<YouTubeUrl>& stream)
{
    if (!stream)
        return;
    videoTypeLabel_->setText(stream->type());
    if (ensureWebView())
        webView_->setHtml(
            PreviewPage::html(stream->type(), stream->url(), Localization::string("Preview.BrowserError")));
}

void PreviewController::clearWebView()
{
    if (webView_)
        webView_->setHtml(PreviewPage::blank());
}

void PreviewController::close()
{
    clearWebView();
    window_->close();
}

bool PreviewController::ensureWebView()
{
    if (webView_)
        return true;
    if (!engineMissing_->text().isEmpty())
        return false;
    QString error;
    webView_ = PreviewWebView::load(error);
    if (!webView_) {
        platform::Log::line(QStringLiteral("Preview: no web engine: ") + error);
        engineMissing_->setText(Localization::string("Preview.EngineMissing"));
        return false;
    }
    webView_->widget()->setAccessibleName(Localization::string("Preview.Player"));
    videoArea_->addWidget(webView_->widget());
    clearWebView();
    return true;
}

void PreviewController::watchOnYouTubeClick()
{
    if (video_)
        platform::Desktop::openUrl(video_->link());
    close();
}

void PreviewController::downloadVideoClick()
{
    download(videoEvent, false);
}

void PreviewController::downloadAudioClick()
{
    download(audioEvent, true);
}

void PreviewController::download(
    platform::Event<PreviewController&, std::shared_ptr<YouTubeVideo>, std::shared_ptr<YouTubeUrl>>& event, bool audio)
{
    const int row = selectedRow();
    if (const auto quality = model_->qualityAt(row); quality && video_) {
        qualityEvent(*this, video_, *quality, audio);
    } else {
        // The rows below the qualities keep the numbering they had without them.
        const int flat = row - model_->qualityRowCount();
        const auto urls = video_ ? video_->Urls() : YouTubeVideo::StreamList();
        if (row >= 0 && flat >= 0 && flat < urls.size())
            event(*this, video_, urls[flat]);
    }
    close();
}

int PreviewController::selectedRow() const
{
    const QModelIndexList rows = outlineView_->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void PreviewController::setSelectedRow(int row)
{
    outlineView_->selectionModel()->setCurrentIndex(model_->index(row), QItemSelectionModel::ClearAndSelect);
}

void PreviewController::outlineViewSelectionIsChanging(const QItemSelection&, const QItemSelection& deselected)
{
    const int row = selectedRow();
    if (row < 0)
        return;
    if (!model_->isTitle(row)) {
        showVideo(model_->playedAt(row));
        return;
    }
    // A title is never left selected: the row after it is chosen and plays.
    // Stepping up onto a title from the row below it goes on to the row above
    // instead, so that the keyboard can move up past titles.
    const int previous = deselected.isEmpty() ? -1 : deselected.indexes().first().row();
    if (previous == row + 1 && row > 0 && !model_->isTitle(row - 1))
        setSelectedRow(row - 1);
    else if (row + 1 < model_->rowCount())
        setSelectedRow(row + 1);
}

bool PreviewController::eventFilter(QObject* watched, QEvent* event)
{
    // Closing the window (or Escape, which only hides it) stops the sound.
    if (watched == window_ && event->type() == QEvent::Hide)
        clearWebView();
    return QObject::eventFilter(watched, event);
}

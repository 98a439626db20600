#include "ui/NewSearchController.h"

#include "downloads/AudioDownloadItem.h"
#include "downloads/VideoDownloadItem.h"
#include "platform/Localization.h"
#include "ui/PZBackgroundView.h"
#include "ui/PreviewController.h"
#include "ui/PZScrollView.h"
#include "ui/Picture.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

using platform::Localization;

namespace {

constexpr int audioBitrate = 320;

} // namespace

NewSearchController::NewSearchController(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts,
                                         QObject* parent)
    : QObject(parent),
      endpoints_(endpoints),
      alerts_(alerts),
      previewController_(new PreviewController(alerts, this)),
      mainView_(new PZBackgroundView),
      imageView_(new QLabel),
      searchField_(new QLineEdit),
      tableScrollView_(new PZScrollView)
{
    // Drawn at build time; QPixmap picks "logo@2x.png" on a screen of two pixels per point.
    imageView_->setPixmap(QPixmap(QStringLiteral(":/images/logo.png")));
    imageView_->setAlignment(Qt::AlignCenter);
    searchField_->setPlaceholderText(Localization::string("Search.Placeholder"));
    searchField_->setAccessibleName(Localization::string("Search.Field"));
    // A clear button of our own: the style's would look its picture up in the
    // icon themes, which costs the start-up more than all the rest of the view.
    QAction* clear = searchField_->addAction(Picture::icon(QStringLiteral(":/images/icon_clear.svg")),
                                             QLineEdit::TrailingPosition);
    clear->setText(Localization::string("Search.Clear"));
    clear->setVisible(false);
    connect(clear, &QAction::triggered, searchField_, &QLineEdit::clear);
    connect(searchField_, &QLineEdit::textChanged, clear, [clear](const QString& text) { clear->setVisible(!text.isEmpty()); });
    searchField_->setMinimumWidth(360);

    auto* layout = new QVBoxLayout(mainView_);
    layout->setContentsMargins(24, 24, 24, 24);
    layout->addStretch(2);
    layout->addWidget(imageView_);
    layout->addSpacing(16);
    layout->addWidget(searchField_, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    layout->addWidget(tableScrollView_);
    tableScrollView_->hide();
}

NewSearchController::~NewSearchController()
{
    delete mainView_;
}

void NewSearchController::applicationDidFinishLaunching()
{
    previewController_->close();
    tableScrollView_->setDelegate(this);
    const QPointer<NewSearchController> self(this);
    previewController_->audioEvent.set([self](PreviewController& sender, std::shared_ptr<YouTubeVideo> video,
                                              std::shared_ptr<YouTubeUrl> stream) {
        if (self)
            self->audioEvent(sender, video, stream);
    });
    previewController_->videoEvent.set([self](PreviewController& sender, std::shared_ptr<YouTubeVideo> video,
                                              std::shared_ptr<YouTubeUrl> stream) {
        if (self)
            self->videoEvent(sender, video, stream);
    });
}

void NewSearchController::bringWindowToFront()
{
    QWidget* window = mainView_->window();
    window->show();
    window->raise();
    window->activateWindow();
}

void NewSearchController::audioEvent(PreviewController&, const std::shared_ptr<YouTubeVideo>& video,
                                     const std::shared_ptr<YouTubeUrl>& stream)
{
    bringWindowToFront();
    downloadEvent(*this, AudioDownloadItem::initWithBitrate(video, stream, audioBitrate));
}

void NewSearchController::videoEvent(PreviewController&, const std::shared_ptr<YouTubeVideo>& video,
                                     const std::shared_ptr<YouTubeUrl>& stream)
{
    bringWindowToFront();
    downloadEvent(*this, VideoDownloadItem::init(video, stream));
}

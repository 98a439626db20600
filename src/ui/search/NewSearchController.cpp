#include "ui/search/NewSearchController.h"

#include "catalogue/YouTubeVideo.h"
#include "platform/Localization.h"
#include "ui/widgets/AlertPresenter.h"
#include "ui/widgets/PZBackgroundView.h"
#include "ui/widgets/PZScrollView.h"
#include "ui/widgets/Picture.h"
#include "ui/preview/PreviewController.h"
#include "ui/search/SearchResultModel.h"
#include "ui/search/resultlist/HeaderCell.h"
#include "ui/search/resultlist/MainCell.h"

#include <QAction>
#include <QEvent>
#include <QLocale>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QParallelAnimationGroup>
#include <QProgressBar>
#include <QPushButton>
#include <QPropertyAnimation>
#include <QSequentialAnimationGroup>
#include <QSpacerItem>
#include <QVBoxLayout>
#include <QVariantAnimation>

using platform::Localization;

namespace {

bool animationsEnabled = true;
// The progress bar counts in hundredths: the search reports 0.5, 0.75, ...
constexpr double progressScale = 100.0;

} // namespace

NewSearchController::NewSearchController(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts,
                                         QObject* parent)
    : QObject(parent),
      alerts_(alerts),
      session_(new SearchSession(endpoints, this)),
      model_(new SearchResultModel(this)),
      mainView_(new PZBackgroundView),
      imageView_(new QLabel),
      searchBar_(new QWidget),
      searchField_(new QLineEdit),
      loader_(new QProgressBar),
      progressBar_(new QProgressBar),
      statusLabel_(new QLabel),
      switchEngineButton_(new QPushButton(Localization::string("Search.UseYtDlp"))),
      toolsButton_(new QPushButton(Localization::string("Search.GetTools"))),
      tableScrollView_(new PZScrollView),
      barColumn_(new QWidget),
      notes_(new QWidget)
{
    imageView_->setPixmap(Picture::logo(qGuiApp->devicePixelRatio()));
    imageView_->setAlignment(Qt::AlignCenter);
    imageView_->setAccessibleName(QStringLiteral("Melodrift"));

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
    connect(searchField_, &QLineEdit::returnPressed, this, &NewSearchController::searchTextChange);
    QFont larger = searchField_->font();
    larger.setPointSizeF(larger.pointSizeF() * 1.15);
    searchField_->setFont(larger);
    searchField_->setMinimumHeight(34);

    loader_->setRange(0, 0);
    loader_->setTextVisible(false);
    loader_->setFixedSize(48, 6);
    loader_->setAccessibleName(Localization::string("Search.Searching"));
    loader_->hide();
    auto* bar = new QHBoxLayout(searchBar_);
    bar->setContentsMargins(0, 0, 0, 0);
    bar->setSpacing(10);
    bar->addWidget(searchField_, 1);
    bar->addWidget(loader_);

    progressBar_->setTextVisible(false);
    progressBar_->setFixedHeight(4);
    progressBar_->setRange(0, 0);
    progressBar_->setAccessibleName(Localization::string("Search.Progress"));
    progressBar_->hide();
    statusLabel_->setTextFormat(Qt::PlainText);
    statusLabel_->setAlignment(Qt::AlignCenter);
    statusLabel_->setWordWrap(true);
    statusLabel_->setForegroundRole(QPalette::PlaceholderText);
    statusLabel_->hide();
    switchEngineButton_->setAccessibleName(switchEngineButton_->text());
    switchEngineButton_->hide();
    notes_->hide();
    connect(switchEngineButton_, &QPushButton::clicked, this, &NewSearchController::switchToYtDlp);
    toolsButton_->setAccessibleName(toolsButton_->text());
    toolsButton_->hide();
    connect(toolsButton_, &QPushButton::clicked, this, &NewSearchController::getTools);

    tableScrollView_->setModel(model_, [this](const QModelIndex& index) -> ModelCell* {
        // The first row is the large one, whatever video it holds.
        resultlist::ResultCell* cell = index.row() == 0 ? static_cast<resultlist::ResultCell*>(new resultlist::HeaderCell)
                                                        : new resultlist::MainCell;
        const auto rowOf = [this, cell] { return tableScrollView_->rowForView(cell); };
        connect(cell, &resultlist::ResultCell::previewClicked, this, [this, rowOf] { previewButtonClick(rowOf()); });
        connect(cell, &resultlist::ResultCell::downloadVideoClicked, this,
                [this, rowOf] { downloadVideoButton(rowOf()); });
        connect(cell, &resultlist::ResultCell::downloadAudioClicked, this,
                [this, rowOf] { downloadAudioButton(rowOf()); });
        return cell;
    });
    tableScrollView_->setAccessibleName(Localization::string("Search.Results"));
    tableScrollView_->hide();

    layOut();
    mainView_->setFocusProxy(searchField_);
    listen();
}

NewSearchController::~NewSearchController()
{
    // An effect still under way goes before its widgets: stopped by their loss,
    // it would only be deleted later, by an event loop that may have ended.
    delete running_;
    delete mainView_;
}

void NewSearchController::setAnimationsEnabled(bool enabled)
{
    animationsEnabled = enabled;
}

void NewSearchController::listen()
{
    connect(session_, &SearchSession::progressed, this, &NewSearchController::updateProgressBar);
    connect(session_, &SearchSession::found, this, [this](const QList<std::shared_ptr<YouTubeVideo>>& videos) {
        model_->setVideos(videos);
        searchIsFinish();
    });
    connect(session_, &SearchSession::searchFailed, this, &NewSearchController::searchError);
    connect(session_, &SearchSession::addressFailed, this, [this](const QString& reason) {
        alerts_.showAlert(QStringLiteral("YouTube:"), reason, mainView_->window());
        searchIsFinish();
    });
    connect(session_, &SearchSession::loadingChanged, this,
            [this](const std::shared_ptr<YouTubeVideo>& video) { model_->reloadRow(model_->rowOf(video.get())); });
    connect(session_, &SearchSession::downloadFailed, this,
            [this](const std::shared_ptr<YouTubeVideo>&, const QString& reason) {
                alerts_.showAlert(QStringLiteral("YouTube:"), reason, mainView_->window());
            });
    connect(session_, &SearchSession::jobMade, this,
            [this](const std::shared_ptr<DownloadItem>& job) { downloadEvent(*this, job); });
    connect(session_, &SearchSession::toolSizes, this, [this](qint64 ytDlp, qint64 deno) {
        if (ytDlp < 0 || deno < 0 || toolsButton_->text() != Localization::string("Search.GetTools"))
            return; // unknown, or the offer is another one by now
        const QLocale locale;
        toolsButton_->setText(Localization::string("Search.GetToolsSized")
                                  .arg(locale.formattedDataSize(ytDlp, 1, QLocale::DataSizeSIFormat) +
                                       QStringLiteral(" + ") +
                                       locale.formattedDataSize(deno, 1, QLocale::DataSizeSIFormat)));
        toolsButton_->setAccessibleName(toolsButton_->text());
    });
    connect(session_, &SearchSession::toolsProgressed, this, [this](const QString& tool, qint64 done, qint64 total) {
        const QLocale locale;
        const QString got = locale.formattedDataSize(done, 1, QLocale::DataSizeSIFormat);
        showStatus(Localization::string("Search.ToolsProgress")
                       .arg(tool, total < 0 ? got
                                            : Localization::string("Tools.Of").arg(
                                                  got, locale.formattedDataSize(total, 1, QLocale::DataSizeSIFormat))));
    });
    connect(session_, &SearchSession::toolsEnded, this, [this](const QString& failure) {
        if (!failure.isEmpty()) {
            showStatus(Localization::string("Search.ToolsFailed").arg(failure));
            return;
        }
        statusLabel_->hide();
        notes_->hide();
        searchTextChange();
    });
}

void NewSearchController::setEngine(const engine::Choice& choice)
{
    session_->setEngine(choice);
}

engine::Choice NewSearchController::engineChoice() const
{
    return session_->engineChoice();
}

void NewSearchController::setToolKeeper(tools::ToolKeeper* keeper)
{
    session_->setToolKeeper(keeper);
    alerts_.offerTools(Localization::string("Search.UpdateYtDlp"), Localization::string("Search.GetTools"),
                       [self = QPointer<NewSearchController>(this)] {
                           if (self)
                               self->getTools();
                       });
}

void NewSearchController::switchToYtDlp()
{
    session_->switchToYtDlp();
    searchTextChange();
}

void NewSearchController::getTools()
{
    toolsButton_->hide();
    showStatus(Localization::string("Search.ToolsStarting"));
    session_->getTools();
}

void NewSearchController::applicationDidFinishLaunching()
{
    if (previewController_)
        previewController_->close();
    tableScrollView_->setDelegate(this);
    searchField_->setFocus();
}

PreviewController* NewSearchController::previewController()
{
    if (previewController_)
        return previewController_;
    previewController_ = new PreviewController(alerts_, this);
    previewController_->audioEvent.set(this, [this](PreviewController& sender, std::shared_ptr<YouTubeVideo> video,
                                                     std::shared_ptr<YouTubeUrl> stream) {
        audioEvent(sender, video, stream);
    });
    previewController_->videoEvent.set(this, [this](PreviewController& sender, std::shared_ptr<YouTubeVideo> video,
                                                     std::shared_ptr<YouTubeUrl> stream) {
        videoEvent(sender, video, stream);
    });
    previewController_->qualityEvent.set(this, [this](PreviewController&, std::shared_ptr<YouTubeVideo> video,
                                                       YouTubeVideo::Quality quality, bool audio) {
        bringWindowToFront();
        session_->downloadQuality(video, quality, audio);
    });
    return previewController_;
}

void NewSearchController::searchTextChange()
{
    const QString text = searchField_->text().trimmed();
    if (text.isEmpty())
        return;
    statusLabel_->hide();
    switchEngineButton_->hide();
    toolsButton_->hide();
    notes_->hide();
    loader_->show();
    session_->search(text);
    startSearchAnimation();
}

void NewSearchController::searchFor(const QString& text)
{
    searchField_->setText(text);
    searchTextChange();
}

void NewSearchController::searchError(const QString& reason, SearchSession::Offer offer)
{
    using Offer = SearchSession::Offer;
    loader_->hide();
    QString text = Localization::string("Search.Failed").arg(reason);
    if (offer == Offer::getTools) {
        // What failed (the retired feed, or no yt-dlp to run) matters less than the way out.
        text = Localization::string("Search.ToolsMissing");
        toolsButton_->setText(Localization::string("Search.GetTools"));
    } else if (offer == Offer::updateYtDlp) {
        toolsButton_->setText(Localization::string("Search.UpdateYtDlp"));
    }
    toolsButton_->setAccessibleName(toolsButton_->text());
    showStatus(text);
    switchEngineButton_->setVisible(offer == Offer::switchToYtDlp);
    toolsButton_->setVisible(offer == Offer::getTools || offer == Offer::updateYtDlp);
    run(stopSearchAnimation());
}

void NewSearchController::updateProgressBar(double offset, double count)
{
    progressBar_->setRange(0, qRound(count * progressScale));
    progressBar_->setValue(qRound(offset * progressScale));
}

void NewSearchController::searchIsFinish()
{
    loader_->hide();
    if (model_->rowCount() == 0)
        showStatus(Localization::string("Search.NoVideos"));
    else {
        statusLabel_->hide();
        notes_->hide();
    }

    auto* sequence = new QSequentialAnimationGroup;
    sequence->addAnimation(stopSearchAnimation());
    if (firstResult_) {
        firstResult_ = false;
        sequence->addAnimation(firstResultAnimation());
        sequence->addAnimation(showTableAnimation());
    }
    run(sequence);
}

void NewSearchController::showStatus(const QString& text)
{
    statusLabel_->setText(text);
    statusLabel_->show();
    notes_->show();
}

void NewSearchController::previewButtonClick(int row)
{
    if (const auto video = model_->video(row))
        previewController()->setVideo(video);
}

void NewSearchController::downloadVideoButton(int row)
{
    if (const auto video = model_->video(row))
        session_->download(video, false);
}

void NewSearchController::downloadAudioButton(int row)
{
    if (const auto video = model_->video(row))
        session_->download(video, true);
}

void NewSearchController::downloadAgain(const QUrl& link, bool audio)
{
    session_->downloadAgain(link, audio);
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
    session_->downloadStream(video, stream, true);
}

void NewSearchController::videoEvent(PreviewController&, const std::shared_ptr<YouTubeVideo>& video,
                                     const std::shared_ptr<YouTubeUrl>& stream)
{
    bringWindowToFront();
    session_->downloadStream(video, stream, false);
}

namespace {

// A fade of the widget's opacity. The effect goes when the fade ends: a widget
// that keeps one is drawn through an extra picture on every paint.
QAbstractAnimation* fade(QWidget* widget, bool in, int milliseconds)
{
    auto* effect = new QGraphicsOpacityEffect(widget);
    effect->setOpacity(in ? 0.0 : 1.0);
    auto* animation = new QPropertyAnimation(effect, "opacity");
    animation->setDuration(milliseconds);
    animation->setStartValue(in ? 0.0 : 1.0);
    animation->setEndValue(in ? 1.0 : 0.0);
    animation->setEasingCurve(QEasingCurve::InOutQuad);
    QObject::connect(animation, &QAbstractAnimation::stateChanged, widget,
                     [widget, effect](QAbstractAnimation::State now) {
                         if (now == QAbstractAnimation::Running) {
                             widget->setGraphicsEffect(effect);
                             widget->setVisible(true);
                         }
                     });
    QObject::connect(animation, &QAbstractAnimation::finished, widget, [widget, in] {
        widget->setGraphicsEffect(nullptr);
        widget->setVisible(in);
    });
    return animation;
}

} // namespace

void NewSearchController::startSearchAnimation()
{
    progressBar_->setRange(0, 0);
    run(fade(progressBar_, true, 100));
}

QAbstractAnimation* NewSearchController::stopSearchAnimation()
{
    return fade(progressBar_, false, 100);
}

QAbstractAnimation* NewSearchController::firstResultAnimation()
{
    // The bar rises from under the logo to the top and widens to the view's
    // width while the logo fades and gives up its room.
    auto* group = new QParallelAnimationGroup;
    auto* lift = new QVariantAnimation;
    lift->setDuration(300);
    lift->setEasingCurve(QEasingCurve::InOutQuad);
    lift->setStartValue(0.0);
    lift->setEndValue(1.0);
    connect(lift, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) { setLift(value.toDouble()); });
    group->addAnimation(lift);
    group->addAnimation(fade(imageView_, false, 300));
    connect(group, &QAbstractAnimation::stateChanged, this, [this](QAbstractAnimation::State now) {
        if (now != QAbstractAnimation::Running)
            return;
        liftFrom_ = {imageView_->y(), barColumn_->x()};
        setLift(0.0);
    });
    return group;
}

QAbstractAnimation* NewSearchController::showTableAnimation()
{
    return fade(tableScrollView_, true, 300);
}

void NewSearchController::run(QAbstractAnimation* animation)
{
    // A new effect first finishes what still runs, so that no two fight over a widget.
    if (running_)
        running_->setCurrentTime(running_->totalDuration());
    running_ = animation;
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    if (!animationsEnabled)
        animation->setCurrentTime(animation->totalDuration());
}

void NewSearchController::layOut()
{
    // Before the first results: the logo, the bar under it (at most 560 wide)
    // and what the search said, a little above the middle.
    QSizePolicy keepsRoom = progressBar_->sizePolicy();
    keepsRoom.setRetainSizeWhenHidden(true);
    progressBar_->setSizePolicy(keepsRoom);
    // Shown with the status: the button only ever comes under it.
    auto* notes = new QVBoxLayout(notes_);
    notes->setContentsMargins(0, 0, 0, 8);
    notes->setSpacing(6);
    notes->addWidget(statusLabel_);
    notes->addWidget(switchEngineButton_, 0, Qt::AlignHCenter);
    notes->addWidget(toolsButton_, 0, Qt::AlignHCenter);
    auto* column = new QVBoxLayout(barColumn_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(searchBar_);
    column->addSpacing(5);
    column->addWidget(progressBar_);
    column->addSpacing(3);
    column->addWidget(notes_);
    barColumn_->setMaximumWidth(560);

    leftSpace_ = new QSpacerItem(20, 0, QSizePolicy::MinimumExpanding, QSizePolicy::Minimum);
    rightSpace_ = new QSpacerItem(20, 0, QSizePolicy::MinimumExpanding, QSizePolicy::Minimum);
    auto* row = new QHBoxLayout;
    row->setSpacing(0);
    row->addSpacerItem(leftSpace_);
    row->addWidget(barColumn_, 1);
    row->addSpacerItem(rightSpace_);

    topSpace_ = new QSpacerItem(0, 20, QSizePolicy::Minimum, QSizePolicy::MinimumExpanding);
    logoGap_ = new QSpacerItem(0, 29, QSizePolicy::Minimum, QSizePolicy::Fixed);
    bottomSpace_ = new QSpacerItem(0, 0, QSizePolicy::Minimum, QSizePolicy::Expanding);
    imageView_->setFixedHeight(Picture::logoSide);
    view_ = new QVBoxLayout(mainView_);
    view_->setContentsMargins(0, 0, 0, 0);
    view_->setSpacing(0);
    view_->addSpacerItem(topSpace_);
    view_->addWidget(imageView_);
    view_->addSpacerItem(logoGap_);
    view_->addLayout(row);
    view_->addWidget(tableScrollView_, 1);
    view_->addSpacerItem(bottomSpace_);
    view_->setStretch(0, 28);
    view_->setStretch(5, 72);
}

void NewSearchController::setLift(double t)
{
    // t = 0: where the bar stood under the logo; 1: at the top, 10 from the
    // edges, over the results.
    const auto mix = [t](int from, int to) { return static_cast<int>(std::lround(from + (to - from) * t)); };
    view_->setStretch(0, 0);
    view_->setStretch(5, 0);
    topSpace_->changeSize(0, mix(liftFrom_.logoTop, 10), QSizePolicy::Minimum, QSizePolicy::Fixed);
    imageView_->setFixedHeight(mix(Picture::logoSide, 0));
    logoGap_->changeSize(0, mix(29, 0), QSizePolicy::Minimum, QSizePolicy::Fixed);
    barColumn_->setMaximumWidth(QWIDGETSIZE_MAX);
    leftSpace_->changeSize(mix(liftFrom_.barLeft, 10), 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
    rightSpace_->changeSize(mix(liftFrom_.barLeft, 10), 0, QSizePolicy::Fixed, QSizePolicy::Minimum);
    view_->invalidate();
}

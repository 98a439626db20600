#pragma once

#include "catalogue/engine/Engine.h"
#include "platform/Event.h"
#include "platform/ServiceEndpoints.h"
#include "ui/search/SearchSession.h"

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QUrl>
#include <QWidget>

#include <memory>

class AlertPresenter;
class DownloadItem;
class PZScrollView;
class PreviewController;
class QAbstractAnimation;
class QLabel;
class QLineEdit;
class QProgressBar;
class QSpacerItem;
class QVBoxLayout;
class SearchResultModel;
class QPushButton;
class YouTubeUrl;
class YouTubeVideo;
namespace tools {
class ToolKeeper;
}

// The search view: its widgets and their animations over a search session
// (SearchSession), which finds the videos through the engine (the service's
// feed, or yt-dlp) and makes the jobs. Words run a search, a pasted watch-page
// address loads that one video; the videos are listed with their thumbnail,
// title and length, and each can be previewed or saved as video or sound. A
// download goes to the sidebar as a job.
class NewSearchController : public QObject {
    Q_OBJECT
public:
    NewSearchController(const platform::ServiceEndpoints& endpoints, AlertPresenter& alerts, QObject* parent = nullptr);
    ~NewSearchController() override;

    QWidget* view() const { return mainView_; }
    QWidget* searchBar() const { return searchBar_; }
    QLineEdit* searchField() const { return searchField_; }
    QLabel* imageView() const { return imageView_; }
    QProgressBar* progressBar() const { return progressBar_; }
    QProgressBar* loader() const { return loader_; }
    // One line about the last search when it found nothing or failed.
    QLabel* statusLabel() const { return statusLabel_; }
    // Under a failed search of the classic engine, when yt-dlp is installed.
    QPushButton* switchEngineButton() const { return switchEngineButton_; }
    // Under a failed search with no usable yt-dlp ("Get yt-dlp and Deno"), or
    // one that an old yt-dlp failed ("Update yt-dlp").
    QPushButton* toolsButton() const { return toolsButton_; }
    // What gets and updates the tools; without one nothing is offered.
    void setToolKeeper(tools::ToolKeeper* keeper);

    // Searches from now on go through this engine (default: the automatic choice).
    void setEngine(const engine::Choice& choice);
    engine::Choice engineChoice() const;
    SearchSession* session() const { return session_; }
    PZScrollView* tableScrollView() const { return tableScrollView_; }
    SearchResultModel* model() const { return model_; }
    // The preview window, made on first use: a start never pays for it.
    PreviewController* previewController();
    bool isFirstResult() const { return firstResult_; }

    // The window is built and about to be shown.
    void applicationDidFinishLaunching();
    // The search field's action.
    void searchTextChange();
    // Searches text as if it had been typed or pasted into the field.
    void searchFor(const QString& text);

    void previewButtonClick(int row);
    void downloadVideoButton(int row);
    void downloadAudioButton(int row);
    // A new job for the video at the watch page (Retry): its streams read again, the best taken.
    void downloadAgain(const QUrl& link, bool audio);

    // The preview's events: the user chose a stream to save.
    void audioEvent(PreviewController& sender, const std::shared_ptr<YouTubeVideo>& video,
                    const std::shared_ptr<YouTubeUrl>& stream);
    void videoEvent(PreviewController& sender, const std::shared_ptr<YouTubeVideo>& video,
                    const std::shared_ptr<YouTubeUrl>& stream);

    // Tests see the end of every animation at once.
    static void setAnimationsEnabled(bool enabled);

    // (sender, job): a download the user asked for.
    platform::Event<NewSearchController&, std::shared_ptr<DownloadItem>> downloadEvent;

private:
    void listen();
    void searchError(const QString& reason, SearchSession::Offer offer);
    void switchToYtDlp();
    void getTools();
    void updateProgressBar(double offset, double count);
    void searchIsFinish();
    void showStatus(const QString& text);
    void bringWindowToFront();

    void startSearchAnimation();
    QAbstractAnimation* stopSearchAnimation();
    QAbstractAnimation* firstResultAnimation();
    QAbstractAnimation* showTableAnimation();
    void run(QAbstractAnimation* animation);
    void layOut();
    // The bar's rise to the top over the first results, from 0 to 1.
    void setLift(double t);

    AlertPresenter& alerts_;
    SearchSession* session_;
    SearchResultModel* model_;
    PreviewController* previewController_ = nullptr;
    QPointer<QWidget> mainView_;
    QLabel* imageView_;
    QWidget* searchBar_;
    QLineEdit* searchField_;
    QProgressBar* loader_;
    QProgressBar* progressBar_;
    QLabel* statusLabel_;
    QPushButton* switchEngineButton_;
    QPushButton* toolsButton_;
    PZScrollView* tableScrollView_;
    // The bar with the progress and the notes under it.
    QWidget* barColumn_;
    // The status and the button under it.
    QWidget* notes_;
    QVBoxLayout* view_ = nullptr;
    QSpacerItem* topSpace_ = nullptr;
    QSpacerItem* logoGap_ = nullptr;
    QSpacerItem* leftSpace_ = nullptr;
    QSpacerItem* rightSpace_ = nullptr;
    QSpacerItem* bottomSpace_ = nullptr;
    // Where the logo and the bar stood when the rise began.
    struct {
        int logoTop = 0;
        int barLeft = 0;
    } liftFrom_;
    QPointer<QAbstractAnimation> running_;

    bool firstResult_ = true;
};

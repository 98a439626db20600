#pragma once

#include "catalogue/YouTubeVideo.h"
#include "platform/Event.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <memory>

class AlertPresenter;
class ElidedLabel;
class PreviewWebView;
class QItemSelection;
class QLabel;
class QListView;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class StreamOutlineModel;
class YouTubeUrl;

// The preview window: a video's streams by quality, one of them playing in the
// embedded web engine, and buttons that save the chosen stream as video or as
// sound, or open the video's page. The web engine is loaded on the first
// preview and kept.
class PreviewController : public QObject {
    Q_OBJECT
public:
    explicit PreviewController(AlertPresenter& alerts, QObject* parent = nullptr);
    ~PreviewController() override;

    QWidget* window() const { return window_; }
    QListView* outlineView() const { return outlineView_; }
    StreamOutlineModel* model() const { return model_; }
    // None before the first preview.
    PreviewWebView* webView() const { return webView_.get(); }
    std::shared_ptr<YouTubeVideo> video() const { return video_; }
    QLabel* videoTypeLabel() const { return videoTypeLabel_; }
    QPushButton* downloadVideoButton() const { return downloadVideoButton_; }
    QPushButton* downloadAudioButton() const { return downloadAudioButton_; }
    QPushButton* watchOnYouTubeButton() const { return watchButton_; }

    // Shows the window for the video and extracts its streams; the first MP4
    // stream then plays.
    void setVideo(const std::shared_ptr<YouTubeVideo>& video);
    void showLoader();
    void showVideo();
    // Plays the stream; none (a title's) changes nothing.
    void showVideo(const std::shared_ptr<YouTubeUrl>& stream);
    void clearWebView();
    void close();

    void watchOnYouTubeClick();
    // A quality row sends qualityEvent. Below the qualities, the chosen row's
    // number (counted from the first row after them) picks the stream from the
    // video's streams in their own order (quality titles are counted); a row
    // with no stream there sends nothing. The window closes either way.
    void downloadVideoClick();
    void downloadAudioClick();

    // (sender, video, stream) the user chose to save
    platform::Event<PreviewController&, std::shared_ptr<YouTubeVideo>, std::shared_ptr<YouTubeUrl>> videoEvent;
    platform::Event<PreviewController&, std::shared_ptr<YouTubeVideo>, std::shared_ptr<YouTubeUrl>> audioEvent;
    // (sender, video, quality, audio) the user chose a quality row to save: the
    // video at that quality, or (audio) its sound as the settings say, which is
    // the same whatever the quality.
    platform::Event<PreviewController&, std::shared_ptr<YouTubeVideo>, YouTubeVideo::Quality, bool> qualityEvent;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void parsed(const std::shared_ptr<YouTubeVideo>& video);
    void failed(const std::shared_ptr<YouTubeVideo>& video, const QString& message);
    void outlineViewSelectionIsChanging(const QItemSelection& selected, const QItemSelection& deselected);
    void setSelectedRow(int row);
    int selectedRow() const;
    void download(platform::Event<PreviewController&, std::shared_ptr<YouTubeVideo>, std::shared_ptr<YouTubeUrl>>& event,
                  bool audio);
    // Makes the web view on first use; false when the engine is not there.
    bool ensureWebView();

    AlertPresenter& alerts_;
    QPointer<QWidget> window_;
    ElidedLabel* title_;
    QListView* outlineView_;
    StreamOutlineModel* model_;
    QStackedWidget* videoArea_;
    QWidget* loaderPage_;
    QProgressBar* progressLoader_;
    QLabel* engineMissing_;
    QLabel* videoTypeLabel_;
    QPushButton* watchButton_;
    QPushButton* downloadVideoButton_;
    QPushButton* downloadAudioButton_;
    std::unique_ptr<PreviewWebView> webView_;
    std::shared_ptr<YouTubeVideo> video_;
};

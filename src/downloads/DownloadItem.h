#pragma once

#include "catalogue/YouTubeUrl.h"
#include "catalogue/YouTubeVideo.h"
#include "downloads/HTTPDownload.h"
#include "downloads/FileTags.h"
#include "downloads/PartialJob.h"
#include "downloads/SaveExtras.h"
#include "downloads/SaveOptions.h"
#include "downloads/Settings.h"
#include "platform/Event.h"
#include "platform/Property.h"

#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

// One job of the downloads list: fetches a chosen stream of a video into a
// temporary file in the cache folder and keeps a status and progress for the
// view, which it tells after every change. The audio and video jobs carry on
// from there. All of it runs on the main thread, but for what the jobs bring
// back from their own threads.
class DownloadHistory;

class DownloadItem : public std::enable_shared_from_this<DownloadItem> {
public:
    enum class State { Waiting, Downloading, TransferDone, Converting, Copying, Done, Canceled, Failed, Paused };

    static std::shared_ptr<DownloadItem> create(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url);

    // The sound tracks' bitrate, kbit/s.
    static constexpr int audioBitrate = 320;
    // The job a press of Download audio or Download video makes of a video
    // whose streams are read: its best stream, or the best no higher than the
    // options' quality (MP3 at 320 kbit/s for sound, or its best sound as it
    // came); none when no stream will do.
    static std::shared_ptr<DownloadItem> initBest(const std::shared_ptr<YouTubeVideo>& video, bool audio,
                                                  const SaveOptions& options = SaveOptions::current());
    // The job of one stream the user chose.
    static std::shared_ptr<DownloadItem> initWithStream(const std::shared_ptr<YouTubeVideo>& video,
                                                        const std::shared_ptr<YouTubeUrl>& stream, bool audio,
                                                        const SaveOptions& options = SaveOptions::current());
    // The job of one quality the user chose: the stream with both, or the
    // picture joined with the sound.
    static std::shared_ptr<DownloadItem> initWithQuality(const std::shared_ptr<YouTubeVideo>& video,
                                                         const YouTubeVideo::Quality& quality,
                                                         const SaveOptions& options = SaveOptions::current());
    // The job that goes on with the partial file of an earlier one, of a video
    // whose streams are read; none when its streams are no longer offered.
    static std::shared_ptr<DownloadItem> initResumed(const std::shared_ptr<YouTubeVideo>& video, const PartialJob& job,
                                                     const QString& partial);
    virtual ~DownloadItem();
    DownloadItem(const DownloadItem&) = delete;
    DownloadItem& operator=(const DownloadItem&) = delete;

    // The program's own folder in the user's cache, made when missing.
    static QString getCacheFolder();
    // A path in it that no file has yet.
    static QString getCacheFile();
    // Empties the cache folder, leaving alone files another running job holds
    // and, with a history, those of downloads it lists as unfinished (for a
    // month; older ones it forgets).
    static void Cleanup(DownloadHistory* history = nullptr);
    static constexpr int keptUnfinishedDays = 30;

    // How it saves; set before it starts.
    const SaveOptions& options() const { return options_; }
    void setOptions(const SaveOptions& options) { options_ = options; }
    // What the kind column says of it before its file is there: "MP3", "M4A" …; empty: the stream's.
    virtual QString savedKind() const { return {}; }

    // At most once; a cancelled job is never restarted.
    virtual void startDownload();
    // How long the transfer may go without a byte before it fails (default: a minute).
    void setTransferTimeout(std::chrono::milliseconds timeout) { transferTimeout_ = timeout; }
    // How many connections its transfers may use at once (1 to 8; default: the setting).
    void setConnections(int connections) { connections_ = connections; }
    int connections() const { return connections_ > 0 ? connections_ : Settings::connectionsPerDownload(); }
    // How often a broken piece of a transfer is asked for again before the job fails.
    void setRetries(int retries) { retries_ = retries; }
    int retries() const { return retries_; }
    // Final: a job cancelled never moves on.
    virtual void cancel();
    void throwUpdateEvent();
    // Stops the transfer while it downloads, keeping what came and freeing the connections.
    void pause();
    // Goes on after a pause: the streams read again (addresses expire), the rest fetched.
    void resume();
    // What the job needs to go on later, should it stop before its end.
    virtual PartialJob partialJob() const;
    // Before start: the transfer goes on with this partial file of an earlier run.
    virtual void adoptPartial(const QString& partial, const PartialJob& job);
    // The history entry of an interrupted download it goes on with; 0: none.
    qint64 resumedEntry() const { return resumedEntry_; }
    void setResumedEntry(qint64 id) { resumedEntry_ = id; }

    virtual void downloadUpdateEvent(HTTPDownload& download);
    virtual void downloadFinishEvent(HTTPDownload& download);
    // The stream's address expired on the way: its streams are read again and
    // the transfer goes on at the new address of the same format; at most
    // three times a job, then it fails with the server's answer.
    void downloadExpiredEvent(HTTPDownload& download);
    static constexpr int mostReextractions = 3;

    State state() const { return state_; }
    // Saves a sound track (else a video).
    virtual bool isAudio() const { return false; }
    std::shared_ptr<YouTubeVideo> video() const { return video_; }
    std::shared_ptr<YouTubeUrl> url() const { return url_; }
    QString downloadFolder() const { return downloadFolder_.get(); }
    // Another folder than the stored setting's, before the job starts.
    void setDownloadFolder(const QString& folder);
    QString tempfile() const { return tempfile_.get(); }
    // The Downloads folder, "/" and the title made safe for a path, without suffix.
    QString destinationfile() const { return destinationfile_.get(); }
    QString fileToPlay() const { return fileToPlay_.get(); }
    void setFileToPlay(const QString& path) { fileToPlay_.set(path); }
    QString statusString() const { return statusString_.get(); }
    // Why a failed job failed, for the user.
    QString failureReason() const { return failureReason_.get(); }
    // Bytes while downloading, seconds while converting, 1 of 1 when converted;
    // none before the first report and after a cancel.
    std::optional<qint64> progressMaxValue() const { return progressMaxValue_.get(); }
    std::optional<qint64> progressValue() const { return progressValue_.get(); }
    bool hasCancelButton() const { return hasCancelButton_; }
    bool hasPlayButton() const { return hasPlayButton_; }

    // (job) after every change
    platform::Event<DownloadItem&> newDataEvent;

    // The destination for a title under a Downloads folder: at most 1000
    // characters in all, each name within the file system's limit, never a
    // name that leaves the folder.
    static QString destinationFor(const QString& downloadFolder, const QString& title);

protected:
    DownloadItem(std::shared_ptr<YouTubeVideo> video, std::shared_ptr<YouTubeUrl> url);

    void setState(State state, const char* statusKey);
    void setProgress(std::optional<qint64> value, std::optional<qint64> maximum);
    void setProgressValue(std::optional<qint64> value) { progressValue_.set(value); }
    // The final state of a successful job.
    void finish();
    // The final state of a job that could not do its work: the reason is kept
    // and shown, the temporary file removed.
    void fail(const QString& reason);
    bool isCanceled() const { return state_ == State::Canceled; }
    // Let go of the temporary file, for another program's start-up wipe.
    void releaseTempfile();
    std::chrono::milliseconds transferTimeout() const { return transferTimeout_; }
    // The connections of the job's (picture's) transfer: all of them, but for
    // the one a joined video's sound takes.
    virtual int pictureConnections() const { return connections(); }
    // Stops the transfer under way, the state left as it is.
    void stopTransfer()
    {
        if (httpDownload_)
            httpDownload_->cancel();
    }
    // Every transfer of the job (a joined video has two).
    virtual void stopTransfers() { stopTransfer(); }
    // A paused job's transfers go; resume makes them anew.
    virtual void dropTransfers() { httpDownload_.reset(); }
    // The same streams in a later extraction (their addresses expire): false when gone.
    virtual bool takeStreams(const YouTubeVideo& again);
    // Goes on with what the partial files hold.
    bool resuming() const { return resume_; }
    // The stream a transfer of the job fetches.
    virtual std::shared_ptr<YouTubeUrl> streamOf(const HTTPDownload&) const { return url_; }
    // The status says when a piece of the transfer is being asked for again.
    void showRetrying(const HTTPDownload& download);
    // Its events, for a transfer of the job's own.
    void listenTo(HTTPDownload& download);
    // Fetches the cover and the subtitles the saved file takes, beside the transfer.
    void startExtras();
    // Runs next (on this thread) once they are there, at once when none are wanted.
    void whenExtrasReady(std::function<void()> next);
    // What ffmpeg writes into the file of this job: the tags when wanted, the
    // cover and the subtitles that came.
    FileTags fileTags() const;
    // The subtitles the saved video takes; none for sound.
    std::optional<YouTubeVideo::Subtitles> wantedSubtitles() const;

private:
    std::shared_ptr<HTTPDownload> httpDownload_;
    const std::shared_ptr<YouTubeVideo> video_;
    const std::shared_ptr<YouTubeUrl> url_;
    platform::Property<QString> downloadFolder_;
    platform::Property<QString> tempfile_;
    platform::Property<QString> destinationfile_;
    platform::Property<QString> fileToPlay_;
    platform::Property<QString> statusString_;
    platform::Property<QString> failureReason_;
    platform::Property<std::optional<qint64>> progressMaxValue_;
    platform::Property<std::optional<qint64>> progressValue_;
    std::atomic<bool> hasCancelButton_{true};
    std::atomic<bool> hasPlayButton_{false};
    std::atomic<State> state_{State::Waiting};
    int tempfileLock_ = -1;
    std::chrono::milliseconds transferTimeout_{60000};
    int connections_ = 0; // 0: the setting
    int reextractions_ = 0;
    bool resume_ = false;
    qint64 resumedEntry_ = 0;
    int retries_ = HTTPDownload::defaultRetries;
    SaveOptions options_ = SaveOptions::current();
    bool extrasStarted_ = false;
    std::optional<SaveExtras::Files> extras_;
    std::function<void()> afterExtras_;
    std::shared_ptr<platform::CancelToken> extrasCancel_;
    void dropExtras();
};

#pragma once

#include "catalogue/engine/Engine.h"
#include "downloads/SaveOptions.h"
#include "platform/ServiceEndpoints.h"

#include <QStringList>

#include <memory>
#include <optional>

class DownloadItem;
struct DownloadRecord;
struct PartialJob;
class YouTubeVideo;

// melodrift-cli: searches, lists streams and downloads with the same catalogue
// and download classes as the desktop program. Needs the application object.
class CliApplication {
public:
    explicit CliApplication(QStringList arguments);

    // The exit status: 0 for success, 1 for a failure, 2 for a misuse.
    int run();

private:
    int search(const QStringList& words);
    int history();
    int listTools(const QString& chosen);
    int updateTools(const QString& chosen);
    int streams(const QString& address);
    int download(const QString& address, bool audio);
    int resumeAll();
    int resume(const DownloadRecord& entry, const PartialJob& job, const QString& folder);
    // Follows the job to its end, written to the history when added and when ended.
    int record(const std::shared_ptr<DownloadItem>& job);

    // The video at a watch-page address with its streams, or nothing after
    // saying why.
    std::shared_ptr<YouTubeVideo> videoAt(const QString& address);
    int follow(const std::shared_ptr<DownloadItem>& job);

    static int usage(const QString& complaint);

    QStringList arguments_;
    platform::ServiceEndpoints endpoints_;
    std::shared_ptr<engine::Engine> engine_;
    bool verbose_ = false;
    QString output_; // --output: this run's Downloads folder
    std::optional<int> timeoutSeconds_;
    std::optional<int> connections_;
    std::optional<int> retries_;
    SaveOptions options_; // the settings, and what this run's options say instead
};

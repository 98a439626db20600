#include "service/CatalogueGenerator.h"

#include "service/Catalogue.h"
#include "service/DemoCatalogue.h"
#include "service/StreamFormat.h"
#include "service/Subtitles.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace service {

namespace {

constexpr const char* pictureSize = "640x360";
constexpr const char* frameRate = "15";

// Encoder arguments per format: modest sizes and rates keep generation short.
std::vector<std::string> encoderArguments(int itag)
{
    switch (itag) {
    case 22:
        return {"-c:v", "libx264", "-preset", "ultrafast", "-b:v", "600k", "-maxrate", "900k", "-bufsize", "1200k",
                "-g", "48", "-c:a", "aac", "-ar", "44100", "-ac", "2", "-b:a", "128k", "-movflags", "+faststart"};
    case 35:
        return {"-c:v", "libx264", "-preset", "ultrafast", "-b:v", "400k", "-g", "48",
                "-c:a", "aac",     "-ar",     "44100",     "-b:a", "96k"};
    case 43:
        return {"-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "8", "-b:v", "300k", "-g", "48",
                "-c:a", "libvorbis", "-ar", "44100", "-q:a", "2"};
    case 18:
        return {"-c:v", "libx264", "-preset", "ultrafast", "-profile:v", "baseline", "-b:v", "300k", "-g", "48",
                "-c:a", "aac", "-ar", "44100", "-ac", "2", "-b:a", "96k", "-movflags", "+faststart"};
    case 5:
        return {"-c:v", "flv", "-b:v", "200k", "-g", "48", "-c:a", "libmp3lame", "-ar", "22050", "-ac", "1", "-b:a",
                "64k"};
    case 36:
        return {"-c:v", "mpeg4", "-b:v", "150k", "-g", "48", "-c:a", "aac", "-ar", "22050", "-ac", "1", "-b:a", "32k"};
    case 17:
        return {"-c:v", "mpeg4", "-b:v", "80k", "-g", "48", "-c:a", "aac", "-ar", "22050", "-ac", "1", "-b:a", "24k"};
    default: throw std::logic_error("no encoder for format " + std::to_string(itag));
    }
}

std::string lavfiPicture(std::string_view picture, const std::string& size)
{
    // The source's own options follow its name after "=".
    const auto eq = picture.find('=');
    std::string source(picture.substr(0, eq));
    source += "=size=" + size + ":rate=" + frameRate;
    if (eq != std::string_view::npos)
        source += ":" + std::string(picture.substr(eq + 1));
    return source;
}

std::string ffmpegProgram()
{
    // Debian's own build when it is there; it has every encoder used here.
    return ::access("/usr/bin/ffmpeg", X_OK) == 0 ? "/usr/bin/ffmpeg" : "ffmpeg";
}

// The hostile subtitle track: more than a reader should take whole (5 MiB).
constexpr std::uint64_t hostileTrackBytes = 6 * 1024 * 1024;

std::string contents(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Written beside the file and renamed over it: a service may be reading the folder.
void writeWhole(const std::filesystem::path& path, const std::string& text)
{
    const auto part = path.string() + ".part";
    {
        std::ofstream out(part, std::ios::binary | std::ios::trunc);
        out << text;
        if (!out.flush())
            throw std::runtime_error(part + ": cannot be written");
    }
    std::filesystem::rename(part, path);
}

std::string uploadsList()
{
    std::string list;
    for (const auto& video : demoVideos())
        list += std::string(video.id) + '\t' + std::string(video.channel) + '\t' + isoDate(video.uploaded) + '\n';
    return list;
}

class FileLock {
public:
    explicit FileLock(const std::filesystem::path& path)
    {
        fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd_ < 0)
            throw std::runtime_error(path.string() + ": " + std::strerror(errno));
        while (::flock(fd_, LOCK_EX) != 0)
            if (errno != EINTR) {
                const int error = errno;
                ::close(fd_);
                throw std::runtime_error(path.string() + ": cannot lock: " + std::strerror(error));
            }
    }
    ~FileLock() { ::close(fd_); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int fd_ = -1;
};

} // namespace

CatalogueGenerator::CatalogueGenerator(std::filesystem::path dir, std::ostream& log)
    : dir_(std::move(dir)), log_(log), ffmpeg_(ffmpegProgram())
{
}

bool CatalogueGenerator::isComplete() const
{
    // A catalogue made by an older service may lack videos added since.
    const std::string text = contents(Catalogue::listPath(dir_));
    for (const auto& video : demoVideos())
        if (text.find(std::string(video.id) + '\t') == std::string::npos)
            return false;
    return true;
}

bool CatalogueGenerator::hasLaterFiles() const
{
    if (contents(Catalogue::uploadsPath(dir_)) != uploadsList())
        return false;
    for (const auto& video : demoVideos())
        if (!std::filesystem::exists(Catalogue::webpThumbnailPath(dir_, video.id)))
            return false;
    return true;
}

bool CatalogueGenerator::ensure()
{
    if (isComplete() && hasLaterFiles())
        return false;
    std::filesystem::create_directories(dir_);
    const FileLock lock(dir_ / ".lock");
    // Another service may have made them while this one waited for the lock.
    if (!isComplete()) {
        generate();
        return true;
    }
    if (hasLaterFiles())
        return false;
    addLaterFiles();
    return true;
}

void CatalogueGenerator::addLaterFiles()
{
    // Its streams stay: only what a catalogue made before these files lacks is made.
    say("melodrift-service: adding WebP thumbnails and uploads.tsv to the catalogue in " + dir_.string());
    for (const auto& video : demoVideos())
        if (!std::filesystem::exists(Catalogue::webpThumbnailPath(dir_, video.id)))
            makeWebpThumbnail(video);
    writeWhole(Catalogue::uploadsPath(dir_), uploadsList());
}

std::filesystem::path CatalogueGenerator::bombPicture() const
{
    const auto folder = dir_ / "hostile";
    const auto picture = folder / "bomb.png";
    if (std::filesystem::exists(picture))
        return picture;
    std::filesystem::create_directories(folder);
    // Made beside it and renamed into place: two services may make it at once.
    const auto part = folder / ("bomb." + std::to_string(::getpid()) + ".png");
    run({"-f", "lavfi", "-i", "color=c=black:s=5600x5600", "-frames:v", "1", "-compression_level", "9", part.string()});
    std::filesystem::rename(part, picture);
    return picture;
}

std::filesystem::path CatalogueGenerator::hostileSubtitles() const
{
    const auto folder = dir_ / "hostile";
    const auto track = folder / "subtitles.vtt";
    if (std::filesystem::exists(track))
        return track;
    std::filesystem::create_directories(folder);
    const auto part = folder / ("subtitles." + std::to_string(::getpid()) + ".vtt");
    {
        std::ofstream out(part, std::ios::binary | std::ios::trunc);
        writeHostileTrack(out, hostileTrackBytes);
        if (!out.flush())
            throw std::runtime_error(part.string() + ": cannot be written");
    }
    std::filesystem::rename(part, track);
    return track;
}

void CatalogueGenerator::generate()
{
    const auto started = std::chrono::steady_clock::now();
    std::filesystem::create_directories(dir_ / "media");
    std::filesystem::create_directories(dir_ / "thumbs");
    const auto videos = demoVideos();
    say("melodrift-service: generating the demo catalogue (" + std::to_string(videos.size()) + " videos) in " +
        dir_.string());

    // Two ffmpeg runs at a time; each one uses more than one core as it is.
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> done{0};
    std::exception_ptr failure;
    std::mutex failureMutex;
    const auto work = [&] {
        for (std::size_t i; (i = next++) < videos.size();) {
            try {
                {
                    std::lock_guard lock(failureMutex);
                    if (failure)
                        return;
                }
                makeStreams(videos[i]);
                makeThumbnail(videos[i]);
                makeWebpThumbnail(videos[i]);
                say("  [" + std::to_string(++done) + "/" + std::to_string(videos.size()) + "] " +
                    std::string(videos[i].title.substr(0, 60)) + (videos[i].title.size() > 60 ? "..." : ""));
            } catch (...) {
                std::lock_guard lock(failureMutex);
                if (!failure)
                    failure = std::current_exception();
            }
        }
    };
    const unsigned workers = std::clamp(std::thread::hardware_concurrency(), 1u, 2u);
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < workers; ++i)
        threads.emplace_back(work);
    work();
    for (auto& thread : threads)
        thread.join();
    if (failure)
        std::rethrow_exception(failure);

    writeLists();
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - started).count();
    say("melodrift-service: catalogue ready after " + std::to_string(seconds) + " s");
}

void CatalogueGenerator::makeStreams(const DemoVideo& video) const
{
    if (video.itags.empty())
        return;
    const std::string seconds = std::to_string(video.seconds);
    std::vector<std::string> arguments = {
        "-f", "lavfi", "-t", seconds, "-i", lavfiPicture(video.picture, pictureSize),
        "-f", "lavfi", "-t", seconds, "-i", "sine=frequency=" + std::to_string(video.tone) + ":sample_rate=44100",
    };
    std::string graph = "[0:v]split=" + std::to_string(video.itags.size());
    for (std::size_t i = 0; i < video.itags.size(); ++i)
        graph += "[s" + std::to_string(i) + "]";
    for (std::size_t i = 0; i < video.itags.size(); ++i) {
        const StreamFormat* format = findStreamFormat(video.itags[i]);
        graph += ";[s" + std::to_string(i) + "]scale=" + std::to_string(format->width) + ":" +
                 std::to_string(format->height) + ",setsar=1,format=yuv420p[v" + std::to_string(i) + "]";
    }
    arguments.insert(arguments.end(), {"-filter_complex", graph});
    for (std::size_t i = 0; i < video.itags.size(); ++i) {
        const StreamFormat* format = findStreamFormat(video.itags[i]);
        arguments.insert(arguments.end(), {"-map", "[v" + std::to_string(i) + "]", "-map", "1:a"});
        const auto encoder = encoderArguments(format->itag);
        arguments.insert(arguments.end(), encoder.begin(), encoder.end());
        arguments.push_back(Catalogue::mediaPath(dir_, video.id, *format).string());
    }
    run(arguments);
}

void CatalogueGenerator::makeThumbnail(const DemoVideo& video) const
{
    makePicture(video, 320, 180, {"-q:v", "4"}, Catalogue::thumbnailPath(dir_, video.id).string());
}

void CatalogueGenerator::makeWebpThumbnail(const DemoVideo& video) const
{
    const auto output = Catalogue::webpThumbnailPath(dir_, video.id);
    // Renamed into place: this may be added to a catalogue a service is serving.
    const auto part = output.string() + ".part";
    makePicture(video, 1280, 720, {"-c:v", "libwebp", "-quality", "80", "-f", "webp"}, part);
    std::filesystem::rename(part, output);
}

void CatalogueGenerator::makePicture(const DemoVideo& video, int width, int height,
                                     const std::vector<std::string>& encoder, const std::string& output) const
{
    std::vector<std::string> arguments;
    if (video.itags.empty()) {
        arguments = {"-f", "lavfi", "-i",
                     lavfiPicture(video.picture, std::to_string(width) + "x" + std::to_string(height))};
    } else {
        // A frame of the best stream, a little way in.
        const StreamFormat* format = findStreamFormat(video.itags.front());
        const std::string at = std::to_string(std::min(2u, video.seconds / 2));
        arguments = {"-ss", at,
                     "-i",  Catalogue::mediaPath(dir_, video.id, *format).string(),
                     "-vf", "scale=" + std::to_string(width) + ":" + std::to_string(height) + ",setsar=1"};
    }
    arguments.insert(arguments.end(), {"-frames:v", "1"});
    arguments.insert(arguments.end(), encoder.begin(), encoder.end());
    arguments.push_back(output);
    run(arguments);
}

void CatalogueGenerator::writeLists() const
{
    std::string list;
    std::string descriptions;
    for (const auto& video : demoVideos()) {
        list += std::string(video.id) + '\t' + std::to_string(video.seconds) + '\t' +
                std::string(kindName(video.kind)) + '\t' + std::string(video.title) + '\n';
        descriptions += std::string(video.id) + '\t' + std::string(video.description) + '\n';
    }
    writeWhole(Catalogue::descriptionsPath(dir_), descriptions);
    writeWhole(Catalogue::uploadsPath(dir_), uploadsList());
    // Last: its presence says the catalogue is complete.
    writeWhole(Catalogue::listPath(dir_), list);
}

void CatalogueGenerator::say(const std::string& line)
{
    std::lock_guard lock(logMutex_);
    log_ << line << std::endl;
}

void CatalogueGenerator::run(const std::vector<std::string>& arguments) const
{
    std::vector<std::string> all = {ffmpeg_, "-nostdin", "-hide_banner", "-loglevel", "error", "-y"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& argument : all)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int error = ::posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot start " + ffmpeg_ + ": " + std::strerror(error));

    int status = 0;
    while (::waitpid(pid, &status, 0) < 0)
        if (errno != EINTR)
            throw std::runtime_error("lost " + ffmpeg_ + ": " + std::strerror(errno));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(ffmpeg_ + " failed making " + all.back());
}

} // namespace service

#pragma once

#include <filesystem>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace service {

struct DemoVideo;

// Makes the demo catalogue in a data folder with ffmpeg's generated test
// pictures and tones: every stream of every video, a JPEG and a large WebP
// thumbnail per video, the descriptions and uploads, and catalogue.tsv last, so
// that a folder with catalogue.tsv is complete.
class CatalogueGenerator {
public:
    CatalogueGenerator(std::filesystem::path dir, std::ostream& log);

    // Generates unless catalogue.tsv lists every demo video; to a catalogue that
    // does, made by an older service, adds the WebP thumbnails and uploads.tsv
    // when they are missing or out of date. Holds an flock on DIR/.lock
    // meanwhile, so that of two services started at once only one generates.
    // True when it made anything. Throws std::runtime_error.
    bool ensure();
    // The hostile mode's thumbnail, made once in DIR/hostile: a PNG of a few
    // dozen kilobytes that declares 5600 x 5600 pixels. Throws std::runtime_error.
    std::filesystem::path bombPicture() const;
    // The hostile mode's subtitle track, made once in DIR/hostile: over 5 MiB of
    // cues full of control characters. Throws std::runtime_error.
    std::filesystem::path hostileSubtitles() const;

private:
    bool isComplete() const;
    bool hasLaterFiles() const;
    void generate();
    void addLaterFiles();
    void makeStreams(const DemoVideo& video) const;
    void makeThumbnail(const DemoVideo& video) const;
    void makeWebpThumbnail(const DemoVideo& video) const;
    void makePicture(const DemoVideo& video, int width, int height, const std::vector<std::string>& encoder,
                     const std::string& output) const;
    void writeLists() const;
    void say(const std::string& line);
    void run(const std::vector<std::string>& arguments) const;

    std::filesystem::path dir_;
    std::ostream& log_;
    std::mutex logMutex_;
    std::string ffmpeg_;
};

} // namespace service

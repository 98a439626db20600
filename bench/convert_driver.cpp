// Runs one conversion through FFmpeg, for bench/convert_vs_ffmpeg.sh.
//
//   convert_driver mp3 BITRATE SOURCE DESTINATION
//   convert_driver h264 SOURCE DESTINATION
//
// With --print-command first, prints the program and the argument list that
// the conversion would run, each followed by a NUL, and runs nothing.
// Otherwise prints on stdout the wall seconds spent inside the conversion call
// and the CPU seconds of this process itself (without ffmpeg's).
#include "downloads/FFmpeg.h"

#include <QCoreApplication>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/resource.h>

namespace {

int usage()
{
    std::fputs("usage: convert_driver [--print-command] (mp3 BITRATE | h264) SOURCE DESTINATION\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    int i = 1;
    const bool printOnly = i < argc && std::strcmp(argv[i], "--print-command") == 0;
    if (printOnly)
        ++i;
    if (i >= argc)
        return usage();
    const bool audio = std::strcmp(argv[i], "mp3") == 0;
    if (!audio && std::strcmp(argv[i], "h264") != 0)
        return usage();
    ++i;
    int bitrate = 0;
    if (audio) {
        if (i >= argc)
            return usage();
        bitrate = std::atoi(argv[i++]);
    }
    if (argc - i != 2)
        return usage();
    const QString source = QString::fromLocal8Bit(argv[i]);
    const QString destination = QString::fromLocal8Bit(argv[i + 1]);

    if (printOnly) {
        const QString program = FFmpeg::executable();
        if (program.isEmpty())
            return 1;
        QStringList command =
            audio ? FFmpeg::audioArguments(source, destination, bitrate) : FFmpeg::videoArguments(source, destination);
        command.prepend(program);
        for (const QString& word : command) {
            const QByteArray bytes = word.toLocal8Bit();
            std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
            std::fputc('\0', stdout);
        }
        return 0;
    }

    auto converter = FFmpeg::create(source, destination);
    const auto start = std::chrono::steady_clock::now();
    if (audio)
        converter->convertMP3(bitrate);
    else
        converter->convertH264Video();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (!converter->succeeded()) {
        std::fprintf(stderr, "convert_driver: %s\n", qPrintable(converter->failureReason()));
        return 1;
    }
    rusage self{};
    getrusage(RUSAGE_SELF, &self);
    const double cpu = static_cast<double>(self.ru_utime.tv_sec + self.ru_stime.tv_sec) +
                       static_cast<double>(self.ru_utime.tv_usec + self.ru_stime.tv_usec) / 1e6;
    std::printf("%.6f %.6f\n", took.count(), cpu);
    return 0;
}

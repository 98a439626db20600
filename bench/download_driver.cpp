// Downloads one URL into one file with HTTPDownload, as a download job does;
// for timing against other clients.
#include "downloads/HTTPDownload.h"

#include <QCoreApplication>
#include <QUrl>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
        return 2;
    }
    const auto download = HTTPDownload::init(QString::fromLocal8Bit(argv[2]), QUrl(QString::fromLocal8Bit(argv[1])));
    download->start();
    download->waitForFinish();
    if (const auto error = download->error()) {
        std::fprintf(stderr, "%s\n", qPrintable(error->description));
        return 1;
    }
    return 0;
}

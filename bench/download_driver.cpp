// Downloads one URL into one file with HTTPDownload, as a download job does;
// for timing against other clients.
#include "downloads/HTTPDownload.h"

#include <QCoreApplication>
#include <QUrl>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: %s URL FILE [CONNECTIONS]\n", argv[0]);
        return 2;
    }
    const auto download = HTTPDownload::init(QString::fromLocal8Bit(argv[2]), QUrl(QString::fromLocal8Bit(argv[1])));
    download->setConnections(argc == 4 ? std::atoi(argv[3]) : 1);
    download->start();
    download->waitForFinish();
    if (const auto error = download->error()) {
        std::fprintf(stderr, "%s\n", qPrintable(error->description));
        return 1;
    }
    return 0;
}

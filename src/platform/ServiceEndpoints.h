#pragma once

#include <QString>
#include <QUrl>

namespace platform {

// Where the video service is: its search feed, its domain (to tell its watch-page
// addresses) and the parser service. One base address moves all three, for the
// local stand-in of the service.
struct ServiceEndpoints {
    QUrl feed;          // scheme and host of "/feeds/api/videos"
    QString domain;     // host suffix of watch-page addresses
    QUrl parserService; // the whole address of "/cgi-bin/zor.parser"

    static constexpr const char* environmentVariable = "MELODRIFT_SERVICE";

    static ServiceEndpoints defaults();
    // All three on one base address such as "http://127.0.0.1:8080".
    static ServiceEndpoints at(const QUrl& base);
    // At base (the value of a program's --service option) when given, else at
    // the environment variable's address, else the defaults.
    static ServiceEndpoints fromEnvironment(const QString& base);

    // Pointed at a base address other than the real service's.
    bool isStandIn() const;
    // A watch page of the service: its host is the domain or ends with it.
    bool isWatchPage(const QUrl& url) const;
};

} // namespace platform

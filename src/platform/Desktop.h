#pragma once

#include <QString>
#include <QUrl>

namespace platform {

// The user's desktop: files opened in their default application.
class Desktop {
public:
    static bool openFile(const QString& path);
    // Web addresses (http and https) in the user's browser; any other kind is refused.
    static bool openUrl(const QUrl& url);
};

} // namespace platform

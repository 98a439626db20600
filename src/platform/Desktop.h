#pragma once

#include <QString>
#include <QUrl>

namespace platform {

// The user's desktop: files opened in their default application.
class Desktop {
public:
    static bool openFile(const QString& path);
    // The file's folder in the desktop's file manager, with the file selected
    // where the file manager offers that (org.freedesktop.FileManager1), else
    // the folder opened. Returns at once.
    static void showInFolder(const QString& path);
    // Web addresses (http and https) in the user's browser; any other kind is refused.
    static bool openUrl(const QUrl& url);
};

} // namespace platform

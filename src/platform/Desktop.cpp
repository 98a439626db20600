#include "platform/Desktop.h"

#include <QDesktopServices>
#include <QUrl>

namespace platform {

bool Desktop::openFile(const QString& path)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

} // namespace platform

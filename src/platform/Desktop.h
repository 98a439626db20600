#pragma once

#include <QString>

namespace platform {

// The user's desktop: files opened in their default application.
class Desktop {
public:
    static bool openFile(const QString& path);
};

} // namespace platform

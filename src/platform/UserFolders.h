#pragma once

#include <QString>

namespace platform {

// The user's folders the program writes to; each is created when missing.
class UserFolders {
public:
    static QString downloads();
    // The program's own cache folder, "Melodrift" in the user's cache folder.
    static QString cache();
};

} // namespace platform

#pragma once

#include <QString>

namespace platform {

// The user's folders the program writes to; each is created when missing.
class UserFolders {
public:
    static QString downloads();
    // The program's own cache folder, "Melodrift" in the user's cache folder.
    static QString cache();
    // Whether files can be made in the folder (made when missing): why not, or
    // nothing. Tried with a file, so that a read-only mount says no to root too.
    static QString whyNotWritable(const QString& folder);
};

} // namespace platform

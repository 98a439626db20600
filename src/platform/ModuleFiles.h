#pragma once

#include <QString>

class QLibrary;

namespace platform {

// The programs' own modules, looked for in order: the file that an environment
// variable names (the tests use it), beside the program (the build tree), in
// the program's library folder (once installed).
class ModuleFiles {
public:
    // The first that loads; none with the last reason in error. Kept here and
    // never unloaded: what a module made may be in use until the process ends.
    static QLibrary* load(const char* variable, const QString& fileName, QString& error);
};

} // namespace platform

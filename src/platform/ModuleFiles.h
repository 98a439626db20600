#pragma once

#include <QString>
#include <QStringList>

namespace platform {

// Where the programs' own modules are looked for, in order: the file that an
// environment variable names (the tests use it), beside the program (the build
// tree), in the program's library folder (once installed).
class ModuleFiles {
public:
    static QStringList candidates(const char* variable, const QString& fileName);
};

} // namespace platform

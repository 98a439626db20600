#pragma once

#include <QString>

#include <optional>

// Runs shell commands.
class Utils {
public:
    // The standard output of `/bin/bash -c command`, read to its end; nullopt
    // when bash cannot be run or the output is not UTF-8.
    static std::optional<QString> DoCmdWithResult(const QString& command);
};

#pragma once

#include <QString>

namespace platform {

// What went wrong, for the log and for the user: where (domain), a number, and a text.
struct Error {
    QString domain;
    qint64 code = 0;
    QString description;
};

} // namespace platform

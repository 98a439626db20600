#pragma once

#include <QLocale>
#include <QString>

namespace platform {

// Texts shown to the user, looked up by dotted key ("quality.small"). A key the
// tables do not know gives the empty string.
class Localization {
public:
    static QString string(const char* key);

    // Loads the tables for the locale (English when there are none for it).
    // Needs the application object; call once at start.
    static bool install(const QLocale& locale = QLocale());
};

} // namespace platform

#include "downloads/Settings.h"

#include <QSettings>

namespace {

const QString key = QStringLiteral("convertVideos");
constexpr bool defaultConvertVideos = true;

QSettings store()
{
    return QSettings(QStringLiteral("Melodrift"), QStringLiteral("Melodrift"));
}

} // namespace

void Settings::registerDefaults()
{
    // A registered default is not stored: it only answers while the user has not chosen.
}

bool Settings::convertVideos()
{
    return store().value(key, defaultConvertVideos).toBool();
}

void Settings::setConvertVideos(bool convert)
{
    QSettings settings = store();
    settings.setValue(key, convert);
    settings.sync();
}

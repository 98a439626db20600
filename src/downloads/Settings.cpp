#include "downloads/Settings.h"

#include <QSettings>

namespace {

const QString key = QStringLiteral("convertVideos");
const QString engineKey = QStringLiteral("engine");
const QString ytDlpKey = QStringLiteral("ytDlpPath");
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

engine::Choice Settings::engineChoice()
{
    const QSettings settings = store();
    engine::Choice choice;
    // A stored name this version does not know counts as none.
    choice.kind = engine::kindNamed(settings.value(engineKey).toString()).value_or(engine::Kind::classic);
    choice.ytDlp = settings.value(ytDlpKey).toString();
    return choice;
}

void Settings::setEngineChoice(const engine::Choice& choice)
{
    QSettings settings = store();
    settings.setValue(engineKey, engine::nameOf(choice.kind));
    if (choice.ytDlp.isEmpty())
        settings.remove(ytDlpKey);
    else
        settings.setValue(ytDlpKey, choice.ytDlp);
    settings.sync();
}

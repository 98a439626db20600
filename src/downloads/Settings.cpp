#include "downloads/Settings.h"

#include "platform/UserFolders.h"

#include <QSettings>

#include <algorithm>

namespace {

const QString key = QStringLiteral("convertVideos");
const QString engineKey = QStringLiteral("engine");
const QString ytDlpKey = QStringLiteral("ytDlpPath");
const QString folderKey = QStringLiteral("downloadFolder");
const QString signInKey = QStringLiteral("signInBrowser");
const QString keepToolsKey = QStringLiteral("keepToolsCurrent");
const QString connectionsKey = QStringLiteral("connectionsPerDownload");
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
    choice.kind = engine::kindNamed(settings.value(engineKey).toString()).value_or(engine::Kind::automatic);
    choice.ytDlp = settings.value(ytDlpKey).toString();
    const QString browser = settings.value(signInKey).toString();
    choice.signIn = engine::Choice::browsers().contains(browser) ? browser : QString();
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
    if (choice.signIn.isEmpty())
        settings.remove(signInKey);
    else
        settings.setValue(signInKey, choice.signIn);
    settings.sync();
}

QString Settings::downloadFolder()
{
    const QString folder = store().value(folderKey).toString();
    return folder.isEmpty() ? platform::UserFolders::downloads() : folder;
}

void Settings::setDownloadFolder(const QString& folder)
{
    QSettings settings = store();
    settings.setValue(folderKey, folder);
    settings.sync();
}

bool Settings::keepToolsCurrent()
{
    return store().value(keepToolsKey, true).toBool();
}

void Settings::setKeepToolsCurrent(bool keep)
{
    QSettings settings = store();
    settings.setValue(keepToolsKey, keep);
    settings.sync();
}

int Settings::connectionsPerDownload()
{
    return std::clamp(store().value(connectionsKey, 4).toInt(), 1, 8);
}

void Settings::setConnectionsPerDownload(int connections)
{
    QSettings settings = store();
    settings.setValue(connectionsKey, std::clamp(connections, 1, 8));
    settings.sync();
}

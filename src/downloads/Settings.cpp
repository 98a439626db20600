#include "downloads/Settings.h"

#include "platform/UserFolders.h"

#include <QLocale>
#include <QRegularExpression>
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
const QString qualityKey = QStringLiteral("videoQuality");
const QString soundKey = QStringLiteral("sound");
const QString tagKey = QStringLiteral("tagFiles");
const QString subtitlesKey = QStringLiteral("subtitles");
const QString automaticSubtitlesKey = QStringLiteral("automaticSubtitles");
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

namespace {

template <typename T>
void keep(const QString& name, const T& value)
{
    QSettings settings = store();
    settings.setValue(name, value);
    settings.sync();
}

} // namespace

int Settings::videoQuality()
{
    const int height = store().value(qualityKey, 0).toInt();
    return std::ranges::find(videoQualities, height) != std::end(videoQualities) ? height : 0;
}

void Settings::setVideoQuality(int height)
{
    keep(qualityKey, std::ranges::find(videoQualities, height) != std::end(videoQualities) ? height : 0);
}

Settings::Sound Settings::sound()
{
    return soundNamed(store().value(soundKey).toString()).value_or(Sound::MP3);
}

void Settings::setSound(Sound sound)
{
    keep(soundKey, sound == Sound::Original ? QStringLiteral("original") : QStringLiteral("mp3"));
}

std::optional<Settings::Sound> Settings::soundNamed(const QString& name)
{
    if (name == QLatin1String("mp3"))
        return Sound::MP3;
    if (name == QLatin1String("original"))
        return Sound::Original;
    return std::nullopt;
}

bool Settings::tagFiles()
{
    return store().value(tagKey, true).toBool();
}

void Settings::setTagFiles(bool tag)
{
    keep(tagKey, tag);
}

QString Settings::subtitles()
{
    const QString choice = store().value(subtitlesKey).toString();
    return choice == QLatin1String("system") || isLanguageCode(choice) ? choice : QString();
}

void Settings::setSubtitles(const QString& choice)
{
    keep(subtitlesKey, choice == QLatin1String("system") || isLanguageCode(choice) ? choice : QString());
}

QString Settings::subtitleLanguage()
{
    const QString choice = subtitles();
    if (choice != QLatin1String("system"))
        return choice;
    // "de_CH" names German; "C" names none.
    const QString language = QLocale::system().name().section(u'_', 0, 0);
    return isLanguageCode(language) ? language : QStringLiteral("en");
}

bool Settings::isLanguageCode(const QString& code)
{
    static const QRegularExpression pattern(QStringLiteral("^[a-z]{2,3}(-[A-Za-z0-9]{2,8})?$"));
    return pattern.match(code).hasMatch();
}

bool Settings::automaticSubtitles()
{
    return store().value(automaticSubtitlesKey, false).toBool();
}

void Settings::setAutomaticSubtitles(bool automatic)
{
    keep(automaticSubtitlesKey, automatic);
}

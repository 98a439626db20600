#include "platform/Localization.h"

#include <QCoreApplication>
#include <QDir>
#include <QTranslator>

#ifndef MELODRIFT_INSTALLED_TRANSLATIONS
#define MELODRIFT_INSTALLED_TRANSLATIONS "../share/melodrift/translations"
#endif

namespace platform {

QString Localization::string(const char* key)
{
    const QString text = qtTrId(key);
    // qtTrId answers an unknown key with the key itself.
    return text == QLatin1String(key) ? QString() : text;
}

bool Localization::install(const QLocale& locale)
{
    static QTranslator* installed = nullptr;
    auto* translator = new QTranslator(QCoreApplication::instance());
    const QString folder =
        QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral(MELODRIFT_INSTALLED_TRANSLATIONS));
    if (!translator->load(locale, QStringLiteral("melodrift"), QStringLiteral("_"), folder) &&
        !translator->load(locale, QStringLiteral("melodrift"), QStringLiteral("_"), QStringLiteral(":/i18n")) &&
        !translator->load(QStringLiteral(":/i18n/melodrift_en.qm"))) {
        delete translator;
        return false;
    }
    if (installed) {
        QCoreApplication::removeTranslator(installed);
        delete installed;
    }
    QCoreApplication::installTranslator(translator);
    installed = translator;
    return true;
}

} // namespace platform

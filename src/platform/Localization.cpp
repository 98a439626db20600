#include "platform/Localization.h"

#include <QCoreApplication>
#include <QTranslator>

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
    if (!translator->load(locale, QStringLiteral("melodrift"), QStringLiteral("_"), QStringLiteral(":/i18n")) &&
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

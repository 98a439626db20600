// melodrift-cli: the command-line front end.
#include "app/CliApplication.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/Version.h"

#include <QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Melodrift"));
    QCoreApplication::setApplicationName(QStringLiteral("Melodrift"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(platform::version));
    platform::Localization::install();
    Settings::registerDefaults();
    return CliApplication(QCoreApplication::arguments()).run();
}

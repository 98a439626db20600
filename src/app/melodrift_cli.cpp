// melodrift-cli: the command-line front end.
#include "app/CliApplication.h"
#include "downloads/Settings.h"
#include "platform/Localization.h"
#include "platform/Version.h"

#include <QCoreApplication>
#include <QEvent>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Melodrift"));
    QCoreApplication::setApplicationName(QStringLiteral("Melodrift"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(platform::version));
    platform::Localization::install();
    Settings::registerDefaults();
    const int status = CliApplication(QCoreApplication::arguments()).run();
    // What was let go of inside a signal waits for the loop that has ended:
    // transfers, and the network managers they had.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return status;
}

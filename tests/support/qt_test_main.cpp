// GoogleTest main for tests that need Qt's application object (event loops,
// network, image plugins) and the program's localized texts.
#include "platform/Localization.h"

#include <QCoreApplication>
#include <QLocale>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // No test reaches a real release server, whatever it runs: a test that
    // wants releases serves its own.
    for (const char* releases : {"MELODRIFT_YTDLP_RELEASES", "MELODRIFT_DENO_RELEASES"})
        if (!qEnvironmentVariableIsSet(releases))
            qputenv(releases, "http://127.0.0.1:9/");
    QCoreApplication app(argc, argv);
    platform::Localization::install(QLocale(QLocale::English));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

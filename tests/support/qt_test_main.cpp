// GoogleTest main for tests that need Qt's application object (event loops,
// network, image plugins) and the program's localized texts.
#include "platform/Localization.h"

#include <QCoreApplication>
#include <QLocale>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    platform::Localization::install(QLocale(QLocale::English));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#include "platform/Localization.h"
#include "platform/UserFolders.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using platform::Localization;

TEST(Localization, TablesFollowTheLanguageUnknownKeysGiveNothing)
{
    ASSERT_TRUE(Localization::install(QLocale(QLocale::German)));
    EXPECT_EQ(Localization::string("quality.large"), QString::fromUtf8("Gro\u00df"));
    ASSERT_TRUE(Localization::install(QLocale(QLocale::English)));
    EXPECT_EQ(Localization::string("quality.large"), "Large");
    EXPECT_EQ(Localization::string("no.such.key"), "");
}

TEST(UserFolders, MadeWhenMissing)
{
    QTemporaryDir home;
    const QByteArray savedCache = qgetenv("XDG_CACHE_HOME");
    const QByteArray savedHome = qgetenv("HOME");
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home.path() + "/cache"));
    qputenv("HOME", QFile::encodeName(home.path()));

    const QString cache = platform::UserFolders::cache();
    EXPECT_EQ(cache, home.path() + "/cache/Melodrift");
    EXPECT_TRUE(QDir(cache).exists());
    const QString downloads = platform::UserFolders::downloads();
    EXPECT_TRUE(downloads.startsWith(home.path())) << downloads.toStdString();
    EXPECT_TRUE(QDir(downloads).exists());

    qputenv("XDG_CACHE_HOME", savedCache);
    qputenv("HOME", savedHome);
}

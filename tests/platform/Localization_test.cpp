#include "platform/Localization.h"

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

#include "shell/language/translations.h"

#include <QtCore/QCoreApplication>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

QString refresh()
{
    return QCoreApplication::translate("gateway::shell::LogScreen", "Refresh");
}

} // namespace

TEST(Translations, ShowGermanToThoseWhoReadIt)
{
    const Translations german{QLocale(QLocale::German, QLocale::Austria)};

    EXPECT_TRUE(german.isTranslated());
    EXPECT_EQ(refresh(), QStringLiteral("Aktualisieren"));
}

TEST(Translations, LeaveEnglishAsItIs)
{
    const Translations english{QLocale(QLocale::English, QLocale::UnitedKingdom)};

    EXPECT_FALSE(english.isTranslated());
    EXPECT_EQ(refresh(), QStringLiteral("Refresh"));
}

TEST(Translations, StayEnglishInALanguageThatNobodyTranslated)
{
    const Translations welsh{QLocale(QLocale::Welsh)};

    EXPECT_FALSE(welsh.isTranslated());
    EXPECT_EQ(refresh(), QStringLiteral("Refresh"));
}

TEST(Translations, GoWithTheirObject)
{
    {
        const Translations german{QLocale(QLocale::German)};
    }

    EXPECT_EQ(refresh(), QStringLiteral("Refresh"));
}

} // namespace gateway::shell

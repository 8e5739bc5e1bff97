#include "shell/language/translations.h"

#include "platform/sentences/in_english.h"
#include "platform/sentences/sentence.h"

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

TEST(Translations, LeaveEnglishWhatIsAskedForInEnglish)
{
    const Translations german{QLocale(QLocale::German)};
    {
        const platform::InEnglish english;
        const platform::InEnglish again;
        EXPECT_EQ(refresh(), QStringLiteral("Refresh"));
    }
    EXPECT_EQ(refresh(), QStringLiteral("Aktualisieren"));
}

TEST(Translations, SayASentenceInTheLanguageAndInEnglish)
{
    const Translations german{QLocale(QLocale::German)};
    const platform::Sentence taken(
        "Listener",
        QT_TRANSLATE_NOOP("Listener", "Port %1 is already in use by another program."),
        {u"104"_qs});

    EXPECT_EQ(taken.inLanguage(), u"Port 104 wird bereits von einem anderen Programm verwendet."_qs);
    EXPECT_EQ(taken.inEnglish(), u"Port 104 is already in use by another program."_qs);
}

} // namespace gateway::shell

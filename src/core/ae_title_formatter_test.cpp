#include "core/ae_title_formatter.h"

#include <gtest/gtest.h>

namespace gateway::core {

namespace {

QString format(const char16_t *text)
{
    return AETitleFormatter::format(QString::fromUtf16(text));
}

} // namespace

TEST(AETitleFormatter, LeavesALegalTitleAlone)
{
    EXPECT_EQ(format(u"GATEWAY_1"), QStringLiteral("GATEWAY_1"));
    EXPECT_EQ(format(u"CT Room 2.b~!@"), QStringLiteral("CT Room 2.b~!@"));
    EXPECT_EQ(format(u"ABCDEFGHIJKLMNOP"), QStringLiteral("ABCDEFGHIJKLMNOP"));
}

TEST(AETitleFormatter, KeepsAtMostSixteenCharacters)
{
    EXPECT_EQ(format(u"ABCDEFGHIJKLMNOPQ"), QStringLiteral("ABCDEFGHIJKLMNOP"));
}

TEST(AETitleFormatter, TrimsSpacesAlsoWhereTheCutLeavesOne)
{
    EXPECT_EQ(format(u"  GATEWAY  "), QStringLiteral("GATEWAY"));
    EXPECT_EQ(format(u"ABCDEFGHIJKLMNO PQ"), QStringLiteral("ABCDEFGHIJKLMNO"));
}

TEST(AETitleFormatter, DropsBackslashesControlCharactersAndForeignLetters)
{
    EXPECT_EQ(format(u"A\\B\tC\nD\u001b\u007fE"), QStringLiteral("ABCDE"));
    EXPECT_EQ(format(u"Radiologie Köln"), QStringLiteral("Radiologie Kln"));
    EXPECT_EQ(format(u"\u00a0X\u2003\U0001F600"), QStringLiteral("X"));
}

TEST(AETitleFormatter, GivesNothingWithoutALetterOrDigit)
{
    EXPECT_EQ(format(u""), QString());
    EXPECT_EQ(format(u"   "), QString());
    EXPECT_EQ(format(u"--_\\."), QString());
    EXPECT_EQ(format(u"東京"), QString());
}

TEST(AETitleFormatter, FormatsItsOwnResultToItself)
{
    for (const char16_t *text : {u"  a\\b  ", u"ABCDEFGHIJKLMNO PQ", u"Größe 12", u"1"}) {
        EXPECT_EQ(AETitleFormatter::format(format(text)), format(text));
    }
}

} // namespace gateway::core

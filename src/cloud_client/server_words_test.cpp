#include "cloud_client/server_words.h"

#include <gtest/gtest.h>

namespace gateway::cloud_client {

TEST(ServerWords, LoseWhatATerminalWouldObey)
{
    EXPECT_EQ(cleanServerWords(QStringLiteral("\x1b[2J\x1b[31mNo\x1b[0m room")), QStringLiteral("No room"));
    EXPECT_EQ(cleanServerWords(QStringLiteral("\x1b]0;title\x07No room")), QStringLiteral("No room"));
    EXPECT_EQ(cleanServerWords(QStringLiteral("\x1b]8;;http://x\x1b\\No\x1b]8;;\x1b\\ room")),
              QStringLiteral("No room"));
    EXPECT_EQ(cleanServerWords(QString(QChar(0x9b)) + QStringLiteral("31mNo room")),
              QStringLiteral("No room"));
    EXPECT_EQ(cleanServerWords(QStringLiteral("No\bxx\x7f\x1b"
                                              "c room\x1b")),
              QStringLiteral("Noxx room"));
}

TEST(ServerWords, StayInOneLineAndInTheirDirection)
{
    EXPECT_EQ(cleanServerWords(QStringLiteral(" No\r\n\r\n room\tleft\u2028here\u2029 ")),
              QStringLiteral("No room left here"));
    EXPECT_EQ(cleanServerWords(QStringLiteral("\u202Emoor oN\u202C \u2066a\u2069\u200F\uFEFF")),
              QStringLiteral("moor oN a"));
}

TEST(ServerWords, KeepTheLettersOfAllScripts)
{
    const QString words = QStringLiteral("Kein Platz: größer, 空きがありません, نمی\u200Cشود, 🩻");

    EXPECT_EQ(cleanServerWords(words), words);
}

TEST(ServerWords, AreCutAtALimitWithoutHalvingACharacter)
{
    const QString cut = cleanServerWords(QString(QStringLiteral("🩻")).repeated(1000), 10);

    EXPECT_EQ(cut.toStdU32String().size(), 10u);
    EXPECT_EQ(cut, QString(QStringLiteral("🩻")).repeated(9) + u'…');
    EXPECT_EQ(cleanServerWords(QString(9'000'000, u'x')).size(), 300);
}

TEST(ServerWords, AreToldWithoutWhatIsSecret)
{
    EXPECT_EQ(withoutSecrets(QStringLiteral("key=s3cret; Bearer tok1; s3cret"), {"s3cret", "", "tok1"}),
              QStringLiteral("key=…; Bearer …; …"));
}

TEST(ServerText, KeepsItsLinesAndItsLength)
{
    EXPECT_EQ(cleanServerText(QStringLiteral("1. Terms\r\n\x1b[1m2. More\x1b[0m\n")),
              QStringLiteral("1. Terms\n2. More\n"));
    EXPECT_EQ(cleanServerText(QString(100'000, u'x')).size(), 100'000);
}

} // namespace gateway::cloud_client

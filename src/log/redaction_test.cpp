#include "log/redaction.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::log {

TEST(HashedIdentifier, IsTheFirstSixteenDigitsOfTheSha256OfTheText)
{
    // SHA-256 of "abc" as FIPS 180-2 gives it begins so.
    EXPECT_EQ(hashedIdentifier(QStringLiteral("abc")), QStringLiteral("ba7816bf8f01cfea"));
}

TEST(HashedIdentifier, OfBlankTextIsAbsent)
{
    EXPECT_EQ(hashedIdentifier(std::nullopt), std::nullopt);
    EXPECT_EQ(hashedIdentifier(QString()), std::nullopt);
    EXPECT_EQ(hashedIdentifier(QStringLiteral(" \t\r\n ")), std::nullopt);
}

TEST(HashedIdentifier, IsNotChangedBySurroundingBlanks)
{
    EXPECT_EQ(hashedIdentifier(QStringLiteral(" \nabc\t ")), hashedIdentifier(QStringLiteral("abc")));
    EXPECT_NE(hashedIdentifier(QStringLiteral("a bc")), hashedIdentifier(QStringLiteral("abc")));
}

TEST(HashedIdentifier, HashesTheUtf8OfTheText)
{
    // printf 'Müller' | sha256sum
    EXPECT_EQ(hashedIdentifier(QStringLiteral("Müller")), QStringLiteral("a78429899bb825ce"));
}

TEST(HashedFileURL, OfAPathWithARedundantComponentIsTheSame)
{
    const auto plain = hashedFileURL(QUrl::fromLocalFile(QStringLiteral("/store/00/12.dcm")));

    EXPECT_EQ(plain, hashedIdentifier(QStringLiteral("/store/00/12.dcm")));
    EXPECT_EQ(hashedFileURL(QUrl::fromLocalFile(QStringLiteral("/store/./00/x/../12.dcm"))), plain);
    EXPECT_NE(hashedFileURL(QUrl::fromLocalFile(QStringLiteral("/store/00/13.dcm"))), plain);
    EXPECT_EQ(hashedFileURL(std::nullopt), std::nullopt);
}

TEST(HashedFileURL, FollowsNoLink)
{
    QTemporaryDir folder;
    const QString link = folder.filePath(QStringLiteral("link"));
    ASSERT_TRUE(QFile::link(folder.path(), link));

    EXPECT_EQ(hashedFileURL(QUrl::fromLocalFile(link)), hashedIdentifier(link));
}

TEST(FileSizeBytes, IsTheSizeOfTheFileOrAbsent)
{
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("f")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("12345");
    file.close();

    EXPECT_EQ(fileSizeBytes(QUrl::fromLocalFile(file.fileName())), 5);
    EXPECT_EQ(fileSizeBytes(QUrl::fromLocalFile(folder.filePath(QStringLiteral("none")))), std::nullopt);
    EXPECT_EQ(fileSizeBytes(std::nullopt), std::nullopt);
}

TEST(RedactedError, KeepsDomainAndCodeAndHashesTheDescription)
{
    const GatewayLogError error = redactedError(QStringLiteral("AFError"), 13, QStringLiteral("abc"));

    EXPECT_EQ(error.domain, QStringLiteral("AFError"));
    EXPECT_EQ(error.code, 13);
    EXPECT_EQ(error.message, QStringLiteral("redacted_message_hash=ba7816bf8f01cfea"));
}

TEST(RedactedError, OfAnErrorWithAnEmptyDescriptionSaysUnknown)
{
    const QString unknown = QStringLiteral("redacted_message_hash=unknown");

    EXPECT_EQ(redactedError(QStringLiteral("D"), 1, QString()).message, unknown);
    EXPECT_EQ(redactedError(QStringLiteral("D"), 1, QStringLiteral(" \n")).message, unknown);
}

TEST(UuidText, IsFreshAndUpperCase)
{
    const QString first = newUuidText();

    EXPECT_EQ(first.size(), 36);
    EXPECT_EQ(first, first.toUpper());
    EXPECT_NE(first, newUuidText());
}

} // namespace gateway::log

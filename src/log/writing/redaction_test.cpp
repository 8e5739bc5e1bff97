#include "log/writing/redaction.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <set>
#include <vector>

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

TEST(UuidText, IsARandomUuidInUpperCase)
{
    const QRegularExpression shape(
        QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"));

    EXPECT_TRUE(shape.match(newUuidText()).hasMatch()) << newUuidText().toStdString();
}

TEST(UuidText, IsFreshOnEveryThread)
{
    constexpr int kThreads = 4;
    constexpr int kEach = 2'000;
    std::vector<std::future<std::vector<QString>>> makers;
    makers.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        makers.push_back(std::async(std::launch::async, [] {
            std::vector<QString> made(kEach);
            std::ranges::generate(made, &newUuidText);
            return made;
        }));
    }

    std::set<QString> all;
    for (auto &maker : makers) {
        const std::vector<QString> made = maker.get();
        all.insert(made.begin(), made.end());
    }
    EXPECT_EQ(all.size(), static_cast<std::size_t>(kThreads * kEach));
}

} // namespace gateway::log

#include "cloud_client/token_file.h"

#include "cloud_client/quorin_error.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <atomic>
#include <latch>
#include <thread>

namespace gateway::cloud_client {

namespace {

struct TokenFileTest : ::testing::Test
{
    /// A share that answers when it is told to; held by the reading itself, which may end after the test.
    struct Share
    {
        std::latch answers{1};
        std::atomic<int> readings = 0;
    };

    ~TokenFileTest() override { share->answers.count_down(); }

    TokenFile onShare()
    {
        return {QStringLiteral("/srv/token"), clock, [share = share](const QString &) {
                    ++share->readings;
                    share->readings.notify_all();
                    share->answers.wait();
                    return std::optional(QByteArray("abc\n"));
                }};
    }

    /// What is said where no token can be had; empty where one was.
    static QString refusal(TokenFile &file)
    {
        try {
            file.token();
        } catch (const AFError &error) {
            EXPECT_EQ(error.noAnswer, NoAnswer::signInUnavailable);
            return QString::fromUtf8(error.what());
        }
        return {};
    }

    /// The same of a share that keeps silent for as long as it is waited for.
    QString refusalOfSilence(TokenFile &file)
    {
        std::thread time([this] {
            share->readings.wait(0);
            clock.waitForSleepers(1);
            clock.advance(TokenFile::kPatience);
        });
        const QString said = refusal(file);
        time.join();
        return said;
    }

    platform::testing::ManualClock clock;
    std::shared_ptr<Share> share = std::make_shared<Share>();
};

} // namespace

TEST_F(TokenFileTest, IsReadAnewEachTime)
{
    int number = 0;
    TokenFile file(QStringLiteral("/srv/token"), clock, [&number](const QString &) {
        return std::optional(QByteArray::number(++number) + "\n");
    });

    EXPECT_EQ(file.token(), "1");
    EXPECT_EQ(file.token(), "2");
}

TEST_F(TokenFileTest, IsNotWaitedForWithoutEnd)
{
    TokenFile file = onShare();

    EXPECT_TRUE(refusalOfSilence(file).contains(QStringLiteral("doesn't answer")));
}

TEST_F(TokenFileTest, LeavesOneThreadBehindHoweverManyCome)
{
    TokenFile file = onShare();

    refusalOfSilence(file);
    refusalOfSilence(file);

    EXPECT_EQ(share->readings, 1);
}

TEST_F(TokenFileTest, IsReadAgainOnceItsShareAnswers)
{
    TokenFile file = onShare();
    refusalOfSilence(file);

    share->answers.count_down();

    EXPECT_EQ(file.token(), "abc");
    EXPECT_EQ(file.token(), "abc");
    EXPECT_GE(share->readings, 2) << "not by the one that was left behind alone";
    share = std::make_shared<Share>();
}

TEST_F(TokenFileTest, SaysWhatIsNoToken)
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(QStringLiteral("pipe"));
    ASSERT_EQ(::mkfifo(pipe.toUtf8().constData(), 0600), 0);
    TokenFile absent(folder.filePath(QStringLiteral("none")), clock);
    TokenFile noFile(pipe, clock);
    TokenFile words(QStringLiteral("/srv/token"), clock, [](const QString &) {
        return std::optional(QByteArray("two words"));
    });

    EXPECT_TRUE(refusal(absent).contains(QStringLiteral("isn't there")));
    EXPECT_TRUE(refusal(noFile).contains(QStringLiteral("no ordinary file")));
    EXPECT_TRUE(refusal(words).contains(QStringLiteral("no token of one word")));
}

} // namespace gateway::cloud_client

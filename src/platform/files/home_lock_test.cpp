#include "platform/files/home_lock.h"

#include "platform/files/file_error.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace gateway::platform {

namespace {

/// A process that took the lock and waits to be killed.
class OtherOwner
{
public:
    explicit OtherOwner(const QString &path)
    {
        std::array<int, 2> pipe{};
        EXPECT_EQ(::pipe(pipe.data()), 0);
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL); // also when the test itself dies
            const auto lock = HomeLock::tryLock(path);
            const char answer = lock ? 'y' : 'n';
            static_cast<void>(::write(pipe[1], &answer, 1));
            for (;;) {
                ::pause();
            }
        }
        char answer = '?';
        EXPECT_EQ(::read(pipe[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        ::close(pipe[0]);
        ::close(pipe[1]);
    }

    ~OtherOwner() { kill(); }

    OtherOwner(const OtherOwner &) = delete;
    OtherOwner &operator=(const OtherOwner &) = delete;

    pid_t pid() const { return m_pid; }

    void kill()
    {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            ::waitpid(m_pid, nullptr, 0);
            m_pid = 0;
        }
    }

private:
    pid_t m_pid = 0;
};

} // namespace

TEST(HomeLock, OnlyOneMayHoldItAndTheOthersLearnWho)
{
    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("lock"));

    const auto first = HomeLock::tryLock(path);
    const auto second = HomeLock::tryLock(path);

    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
    EXPECT_EQ(HomeLock::owner(path), ::getpid());
}

TEST(HomeLock, IsFreeAgainWhenItsHolderDies)
{
    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("lock"));
    {
        const auto first = HomeLock::tryLock(path);
        ASSERT_TRUE(first);
    }

    EXPECT_FALSE(HomeLock::owner(path));
    EXPECT_TRUE(HomeLock::tryLock(path));
}

TEST(HomeLock, IsFreeAgainWhenItsProcessIsKilled)
{
    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("lock"));
    OtherOwner other(path);

    EXPECT_FALSE(HomeLock::tryLock(path));
    EXPECT_EQ(HomeLock::owner(path), other.pid());
    other.kill();

    EXPECT_TRUE(HomeLock::tryLock(path));
}

TEST(HomeLock, AnImpossiblePlaceIsAnErrorAndHasNoOwner)
{
    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("missing/lock"));

    EXPECT_THROW(HomeLock::tryLock(path), FileError);
    EXPECT_FALSE(HomeLock::owner(path));
}

} // namespace gateway::platform

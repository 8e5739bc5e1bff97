#include "platform/defaults/user_defaults.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>
#include <vector>

namespace gateway::platform {

namespace {

/// A process of its own that runs `body` and ends with its result.
pid_t startProcess(const std::function<int()> &body)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL); // also when the test itself dies
        int result = 99;
        try {
            result = body();
        } catch (const std::exception &) {
            result = 98;
        }
        ::_exit(result);
    }
    return pid;
}

int resultOf(pid_t pid)
{
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(UserDefaultsOfSeveralProcesses, AllOpenANewFileAtOnceAndLoseNothing)
{
    const QTemporaryDir home;
    for (int round = 0; round < 10; ++round) {
        const QString path = home.filePath(QStringLiteral("%1/defaults.sqlite").arg(round));
        std::vector<pid_t> processes;
        processes.reserve(4);
        for (int p = 0; p < 4; ++p) {
            processes.push_back(startProcess([path, p] {
                UserDefaults defaults(path);
                int lost = 0;
                for (int i = 0; i < 10; ++i) {
                    lost += defaults.setObject(QStringLiteral("%1/%2").arg(p).arg(i), i) ? 0 : 1;
                }
                return lost;
            }));
        }
        for (const pid_t pid : processes) {
            EXPECT_EQ(resultOf(pid), 0) << "in round " << round;
        }

        EXPECT_EQ(UserDefaults(path).keys().size(), 40) << "in round " << round;
    }
}

TEST(UserDefaultsOfSeveralProcesses, OneSeesAtOnceWhatAnotherHasStored)
{
    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("defaults.sqlite"));
    const UserDefaults mine(path);

    const pid_t other =
        startProcess([path] { return UserDefaults(path).setObject(QStringLiteral("key"), 42) ? 0 : 1; });
    ASSERT_EQ(resultOf(other), 0);

    EXPECT_EQ(mine.object(QStringLiteral("key")), QVariant(42LL));
}

TEST(UserDefaultsOfSeveralProcesses, TheyAgreeOnAValueThatEachWouldMake)
{
    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("defaults.sqlite"));
    UserDefaults mine(path);
    std::vector<pid_t> processes;
    processes.reserve(4);

    for (int p = 1; p <= 4; ++p) {
        processes.push_back(startProcess(
            [path, p] { return UserDefaults(path).setObjectIfMissing(QStringLiteral("key"), p).toInt(); }));
    }
    const int stands = mine.setObjectIfMissing(QStringLiteral("key"), 5).toInt();

    for (const pid_t pid : processes) {
        EXPECT_EQ(resultOf(pid), stands);
    }
}

TEST(UserDefaultsOfSeveralProcesses, WhatWasAcknowledgedSurvivesAKill)
{
    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("defaults.sqlite"));
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);

    const pid_t writer = startProcess([&path, &pipe] {
        UserDefaults defaults(path);
        for (int i = 0;; ++i) {
            if (!defaults.setObject(QStringLiteral("counter"), i) ||
                ::write(pipe[1], &i, sizeof i) != sizeof i) {
                return 1;
            }
        }
    });
    int acknowledged = 0;
    while (acknowledged < 50) {
        ASSERT_EQ(::read(pipe[0], &acknowledged, sizeof acknowledged), ssize_t{sizeof acknowledged});
    }
    ::kill(writer, SIGKILL);
    resultOf(writer);
    ::close(pipe[0]);
    ::close(pipe[1]);

    const UserDefaults defaults(path);
    EXPECT_GE(defaults.object(QStringLiteral("counter")).value_or(-1).toInt(), acknowledged);
}

} // namespace gateway::platform

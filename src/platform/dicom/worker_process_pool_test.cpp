#include "platform/dicom/worker_process_pool.h"

#include "platform/dicom/testing/running_store_scp.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <set>
#include <string>

namespace gateway::platform {

using dicom_protocol::Record;
using Outcome = WorkerProcessPool::Outcome;

namespace {

constexpr std::chrono::milliseconds kForEver(-1);

QString scriptedWorker()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/scripted_worker");
}

Record job(const std::string &word)
{
    return {word, {}};
}

std::string pidOf(const WorkerProcessPool::Result &result)
{
    return std::string(result.answer.text("pid"));
}

/// The only process of a pool, once it has been started.
pid_t awaitProcess(const WorkerProcessPool &pool)
{
    std::vector<pid_t> ids;
    while (ids.empty()) {
        std::this_thread::yield();
        ids = pool.processIds();
    }
    return ids.front();
}

} // namespace

TEST(WorkerProcessPool, StartsNoProcessBeforeTheFirstJobAndKeepsItForTheNext)
{
    WorkerProcessPool pool(2, scriptedWorker());
    EXPECT_TRUE(pool.processIds().empty());

    const auto first = pool.run({"work", {{"echo", "a"}}}, kForEver);
    const auto second = pool.run(job("work"), kForEver);

    ASSERT_EQ(first.outcome, Outcome::answered);
    EXPECT_EQ(first.answer.text("echo"), "a");
    EXPECT_EQ(pidOf(first), pidOf(second));
    EXPECT_EQ(pool.processIds().size(), 1U);
}

TEST(WorkerProcessPool, ACrashFailsThatJobOnly)
{
    WorkerProcessPool pool(1, scriptedWorker());
    ASSERT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::answered);

    EXPECT_EQ(pool.run(job("crash"), kForEver).outcome, Outcome::died);

    EXPECT_TRUE(pool.processIds().empty());
    EXPECT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::answered);
}

TEST(WorkerProcessPool, AKillInTheMiddleOfAJobFailsThatJobOnly)
{
    WorkerProcessPool pool(2, scriptedWorker());
    std::atomic<Outcome> outcome = Outcome::answered;
    std::thread caller([&] { outcome = pool.run(job("hang"), kForEver).outcome; });

    ::kill(awaitProcess(pool), SIGKILL);
    caller.join();

    EXPECT_EQ(outcome, Outcome::died);
    EXPECT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::answered);
}

TEST(WorkerProcessPool, ATimeOutKillsTheProcessAndFailsThatJobOnly)
{
    WorkerProcessPool pool(1, scriptedWorker());
    const auto before = pool.run(job("work"), kForEver);

    EXPECT_EQ(pool.run(job("hang"), std::chrono::milliseconds(1)).outcome, Outcome::timedOut);

    EXPECT_TRUE(pool.processIds().empty());
    EXPECT_EQ(::kill(std::stoi(pidOf(before)), 0), -1);
    EXPECT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::answered);
}

TEST(WorkerProcessPool, ReplacesAProcessAfterItsShareOfJobs)
{
    WorkerProcessPool pool(1, scriptedWorker(), 2);

    const std::string first = pidOf(pool.run(job("work"), kForEver));
    const std::string second = pidOf(pool.run(job("work"), kForEver));
    const std::string third = pidOf(pool.run(job("work"), kForEver));

    EXPECT_EQ(first, second);
    EXPECT_NE(second, third);
}

TEST(WorkerProcessPool, AnIdleProcessThatEndedIsNoFailure)
{
    WorkerProcessPool pool(1, scriptedWorker());
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(pool.run(job("answer and leave"), kForEver).outcome, Outcome::answered);
    }
}

TEST(WorkerProcessPool, AnIdleProcessThatEndedIsReapedAtOnce)
{
    WorkerProcessPool pool(1, scriptedWorker());
    const pid_t pid = std::stoi(pidOf(pool.run(job("answer and leave"), kForEver)));

    while (::kill(pid, 0) == 0) { // a process that nobody reaped is there for ever
        std::this_thread::yield();
    }

    EXPECT_EQ(errno, ESRCH);
    EXPECT_TRUE(pool.processIds().empty());
}

TEST(WorkerProcessPool, AnIdleProcessThatIsKilledIsReapedAndReplaced)
{
    WorkerProcessPool pool(2, scriptedWorker());
    const pid_t pid = std::stoi(pidOf(pool.run(job("work"), kForEver)));

    ::kill(pid, SIGKILL);
    while (::kill(pid, 0) == 0) { // the pool lets go of it first, and reaps it then
        std::this_thread::yield();
    }

    EXPECT_TRUE(pool.processIds().empty());
    EXPECT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::answered);
}

TEST(WorkerProcessPool, AProcessThatEndsForIdlenessJustAsAJobComesIsNoFailure)
{
    WorkerProcessPool pool(1, scriptedWorker());
    const std::string before = pidOf(pool.run(job("work"), kForEver));

    const auto result = pool.run(job("leave unless new"), kForEver);

    EXPECT_EQ(result.outcome, Outcome::answered);
    EXPECT_NE(pidOf(result), before);
}

TEST(WorkerProcessPool, ANewProcessThatLeavesIsAFailure)
{
    WorkerProcessPool pool(1, scriptedWorker());

    EXPECT_EQ(pool.run(job("leave"), kForEver).outcome, Outcome::died);
    EXPECT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::answered);
    EXPECT_EQ(pool.run(job("leave"), kForEver).outcome, Outcome::died);
}

TEST(WorkerProcessPool, AProgramThatIsNotThereIsNotStarted)
{
    WorkerProcessPool pool(1, QStringLiteral("/nowhere/quorin-dicom"));

    EXPECT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::notStarted);
    EXPECT_EQ(pool.run(job("work"), kForEver).outcome, Outcome::notStarted);
}

TEST(WorkerProcessPool, ARealWorkerIsConfinedAndMakesWayForAJobThatNeedsAnotherFolder)
{
    const QTemporaryDir one;
    const QTemporaryDir other;
    const std::string missing = one.filePath(QStringLiteral("missing")).toStdString();
    WorkerProcessPool pool(1, helperProgramPath());
    const auto convertInto = [&](const QTemporaryDir &folder) {
        const std::string output = folder.filePath(QStringLiteral("output")).toStdString();
        return pool.run({"convert", {{"path", missing}, {"output", output}}}, kForEver).outcome;
    };

    EXPECT_EQ(convertInto(one), Outcome::answered);
    const pid_t first = pool.processIds().at(0);
    const QByteArray status = testing::procFile(first, "status");
    EXPECT_TRUE(status.contains("NoNewPrivs:\t1"));
    EXPECT_TRUE(status.contains("Seccomp:\t2"));
    EXPECT_EQ(pool.run({"parse", {{"path", missing}}}, kForEver).outcome, Outcome::answered);
    EXPECT_EQ(pool.processIds().at(0), first);

    EXPECT_EQ(convertInto(other), Outcome::answered);
    EXPECT_NE(pool.processIds().at(0), first);
}

TEST(WorkerProcessPool, ManyCallersShareAsManyProcessesAsItIsWide)
{
    WorkerProcessPool pool(3, scriptedWorker());
    std::vector<std::thread> callers;
    callers.reserve(8);
    std::atomic<int> answered = 0;

    for (int caller = 0; caller < 8; ++caller) {
        callers.emplace_back([&, caller] {
            for (int i = 0; i < 25; ++i) {
                const std::string echo = std::to_string(caller) + '/' + std::to_string(i);
                const auto result = pool.run({"work", {{"echo", echo}}}, kForEver);
                answered += result.answer.text("echo") == echo ? 1 : 0;
            }
        });
    }
    for (std::thread &caller : callers) {
        caller.join();
    }

    EXPECT_EQ(answered, 200);
    EXPECT_LE(pool.processIds().size(), 3U);
}

} // namespace gateway::platform

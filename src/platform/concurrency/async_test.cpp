#include "platform/concurrency/async.h"

#include <QtCore/QEventLoop>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>

namespace gateway::platform {

namespace {

struct Outcome
{
    QStringList names;
    QString error;
    bool workedElsewhere = false;
    bool resumedOnMain = false;
};

QCoro::Task<> collect(MainExecutor &main, WorkerPool &pool, Outcome &outcome, QEventLoop &loop)
{
    auto names = co_await onPool(main, pool, [&main, &outcome] {
        outcome.workedElsewhere = !main.isCurrent();
        return std::make_unique<QStringList>(QStringLiteral("a b").split(u' '));
    });
    outcome.resumedOnMain = main.isCurrent();
    outcome.names = *names;
    co_await onPool(main, pool, [&outcome] { outcome.names.append(QStringLiteral("c")); });
    loop.quit();
}

QCoro::Task<> fail(MainExecutor &main, WorkerPool &pool, Outcome &outcome, QEventLoop &loop)
{
    try {
        co_await onPool(main, pool, []() -> int { throw std::runtime_error("the share is away"); });
    } catch (const std::runtime_error &error) {
        outcome.error = QString::fromUtf8(error.what());
    }
    outcome.resumedOnMain = main.isCurrent();
    loop.quit();
}

} // namespace

TEST(OnPool, WorksOnThePoolAndResumesOnTheMainThreadWithTheResult)
{
    MainExecutor main;
    WorkerPool pool(QStringLiteral("test"), 1);
    QEventLoop loop;
    Outcome outcome;

    const QCoro::Task<> task = collect(main, pool, outcome, loop);
    loop.exec();

    EXPECT_TRUE(outcome.workedElsewhere);
    EXPECT_TRUE(outcome.resumedOnMain);
    EXPECT_EQ(outcome.names, QStringLiteral("a b c").split(u' '));
    EXPECT_TRUE(task.isReady());
}

TEST(OnPool, HandsTheExceptionOfTheWorkToTheAwaitingCoroutine)
{
    MainExecutor main;
    WorkerPool pool(QStringLiteral("test"), 1);
    QEventLoop loop;
    Outcome outcome;

    const QCoro::Task<> task = fail(main, pool, outcome, loop);
    loop.exec();

    EXPECT_EQ(outcome.error, QStringLiteral("the share is away"));
    EXPECT_TRUE(outcome.resumedOnMain);
}

} // namespace gateway::platform

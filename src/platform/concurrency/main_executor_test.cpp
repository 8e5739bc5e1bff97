#include "platform/concurrency/main_executor.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace gateway::platform {

TEST(MainExecutor, RunsBlocksOfOtherThreadsOnTheMainThreadInOrder)
{
    MainExecutor main;
    QEventLoop loop;
    std::vector<int> order;
    bool everywhereMain = true;

    std::thread poster([&] {
        for (int i = 0; i < 1000; ++i) {
            main.post([&, i] {
                everywhereMain = everywhereMain && main.isCurrent();
                order.push_back(i);
            });
        }
        main.post([&] { loop.quit(); });
    });
    loop.exec();
    poster.join();

    EXPECT_TRUE(everywhereMain);
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(MainExecutor, TakesPostsFromManyThreadsWhileTheLoopRuns)
{
    MainExecutor main;
    QEventLoop loop;
    int ran = 0;
    std::vector<std::thread> posters;
    posters.reserve(4);

    for (int t = 0; t < 4; ++t) {
        posters.emplace_back([&] {
            for (int i = 0; i < 250; ++i) {
                main.post([&, text = QStringLiteral("text of another thread")] {
                    ran += text.isEmpty() ? 0 : 1;
                    if (ran == 1000) {
                        loop.quit();
                    }
                });
            }
        });
    }
    loop.exec();
    for (std::thread &poster : posters) {
        poster.join();
    }

    EXPECT_EQ(ran, 1000);
}

TEST(MainExecutor, ABlockIsDroppedWhenItsContextHasDied)
{
    MainExecutor main;
    const auto alive = std::make_shared<int>(1);
    auto dead = std::make_shared<int>(2);
    std::vector<int> ran;

    main.post(alive, [&] { ran.push_back(1); });
    main.post(dead, [&] { ran.push_back(2); });
    dead.reset();
    main.drain();

    EXPECT_EQ(ran, (std::vector<int>{1}));
}

TEST(MainExecutor, ANestedEventLoopGoesOnWithTheRestInOrder)
{
    MainExecutor main;
    QEventLoop outer;
    std::vector<int> order;

    main.post([&] {
        QEventLoop nested;
        main.post([&] {
            order.push_back(3);
            nested.quit();
        });
        nested.exec();
        order.push_back(4);
        outer.quit();
    });
    main.post([&] { order.push_back(1); });
    main.post([&] { order.push_back(2); });
    outer.exec();

    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST(MainExecutor, ABlockThatPostsItselfLeavesRoomForOtherEvents)
{
    MainExecutor main;
    int rounds = 0;
    std::function<void()> again = [&] {
        ++rounds;
        main.post(again);
    };

    main.post(again);
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();

    EXPECT_EQ(rounds, 2);
}

TEST(MainExecutor, WhatIsQueuedAtItsEndIsDroppedAndLetGo)
{
    const auto held = std::make_shared<int>(1);
    bool ran = false;
    {
        std::optional<MainExecutor> main(std::in_place);
        main->post([held, &ran] { ran = true; });
    }

    EXPECT_FALSE(ran);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(MainExecutor, OnlyTheMainThreadIsCurrent)
{
    MainExecutor main;
    bool elsewhere = true;

    std::thread([&] { elsewhere = main.isCurrent(); }).join();

    EXPECT_TRUE(main.isCurrent());
    EXPECT_FALSE(elsewhere);
}

} // namespace gateway::platform

#include "platform/notifications/notification_center.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace gateway::platform {

namespace {
const QString kName = QStringLiteral("Test.name");
}

TEST(NotificationCenter, RunsTheHandlersOfANameInOrderOnThePostingThread)
{
    NotificationCenter center;
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    const auto note = [&](int value) {
        order.push_back(value);
        threads.push_back(std::this_thread::get_id());
    };
    const auto first = center.observe(kName, [&](const QVariantMap &) { note(1); });
    const auto other = center.observe(QStringLiteral("Test.other"), [&](const QVariantMap &) { note(9); });
    const auto second = center.observe(kName, [&](const QVariantMap &) { note(2); });

    std::thread poster([&] { center.post(kName); });
    const auto posterId = poster.get_id();
    poster.join();

    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(threads, (std::vector<std::thread::id>{posterId, posterId}));
}

TEST(NotificationCenter, HandsOverTheUserInformation)
{
    NotificationCenter center;
    QVariant message;
    const auto token = center.observe(
        kName, [&](const QVariantMap &info) { message = info.value(QStringLiteral("message")); });

    center.post(kName, {{QStringLiteral("message"), QStringLiteral("port in use")}});

    EXPECT_EQ(message.toString(), QStringLiteral("port in use"));
}

TEST(NotificationCenter, ADeadTokenHearsNothingMore)
{
    NotificationCenter center;
    int heard = 0;
    std::optional token = center.observe(kName, [&](const QVariantMap &) { ++heard; });

    center.post(kName);
    token.reset();
    center.post(kName);

    EXPECT_EQ(heard, 1);
}

TEST(NotificationCenter, AMovedTokenKeepsTheObservation)
{
    NotificationCenter center;
    int heard = 0;
    NotificationCenter::Token kept;
    {
        NotificationCenter::Token made = center.observe(kName, [&](const QVariantMap &) { ++heard; });
        kept = std::move(made);
    }

    center.post(kName);
    kept.reset();
    center.post(kName);

    EXPECT_EQ(heard, 1);
}

TEST(NotificationCenter, AHandlerMayUnsubscribeTheNextOneObserveAndPost)
{
    NotificationCenter center;
    int nested = 0;
    int late = 0;
    NotificationCenter::Token next;
    NotificationCenter::Token added;
    const auto inner = center.observe(QStringLiteral("Test.inner"), [&](const QVariantMap &) { ++nested; });
    const auto first = center.observe(kName, [&](const QVariantMap &) {
        next.reset();
        added = center.observe(kName, [&](const QVariantMap &) { ++late; });
        center.post(QStringLiteral("Test.inner"));
    });
    next = center.observe(kName, [&](const QVariantMap &) { FAIL() << "was unsubscribed"; });

    center.post(kName);

    EXPECT_EQ(nested, 1);
    EXPECT_EQ(late, 0) << "an observer hears posts that begin after its registration";
}

TEST(NotificationCenter, ATokenMayOutliveItsCentre)
{
    const auto held = std::make_shared<int>(1);
    std::optional<NotificationCenter> center(std::in_place);
    NotificationCenter::Token token = center->observe(kName, [held](const QVariantMap &) {});

    center.reset();
    token.reset();

    EXPECT_EQ(held.use_count(), 1);
}

TEST(NotificationCenter, TakesPostsAndObserversOfManyThreadsAtOnce)
{
    NotificationCenter center;
    std::atomic<int> heard = 0;
    const auto steady = center.observe(kName, [&](const QVariantMap &) { ++heard; });
    std::vector<std::thread> threads;
    threads.reserve(4);

    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i) {
                const auto passing = center.observe(kName, [](const QVariantMap &) {});
                center.post(kName, {{QStringLiteral("i"), i}});
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(heard, 400);
}

} // namespace gateway::platform

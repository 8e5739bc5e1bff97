#include "platform/defaults/published.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace gateway::platform {

namespace {

const QString kKey = QStringLiteral("key");

class APublishedValue : public ::testing::Test
{
protected:
    template <typename T>
    void expectRoundTrip(const T &defaultValue, const T &value)
    {
        Published<T> published(defaults, kKey, defaultValue);
        EXPECT_EQ(published.get(), defaultValue);

        EXPECT_TRUE(published.set(value));
        EXPECT_EQ(published.get(), value);
        EXPECT_EQ(Published<T>(defaults, kKey, defaultValue).get(), value);
        defaults.removeObject(kKey);
    }

private:
    QTemporaryDir m_home;

protected:
    UserDefaults defaults{m_home.filePath(QStringLiteral("defaults.sqlite"))};
};

} // namespace

TEST_F(APublishedValue, ReadsAsItsDefaultAndThenAsTheValueLastSet)
{
    const QDateTime date(QDate(2026, 1, 2), QTime(3, 4, 5, 678), Qt::UTC);

    expectRoundTrip<int>(2, -7);
    expectRoundTrip<qint64>(0, Q_INT64_C(1) << 40);
    expectRoundTrip<bool>(true, false);
    expectRoundTrip<double>(0, 0.1);
    expectRoundTrip<QString>(QStringLiteral("default"), QString());
    expectRoundTrip<QByteArray>({}, QByteArray("a\0b", 3));
    expectRoundTrip<QDateTime>({}, date);
    expectRoundTrip<std::optional<int>>({}, 0);
    expectRoundTrip<std::optional<QString>>({}, QString());
    expectRoundTrip<std::optional<QByteArray>>({}, QByteArray());
    expectRoundTrip<std::optional<QDateTime>>({}, date);
    expectRoundTrip<std::optional<bool>>(true, false);
}

TEST_F(APublishedValue, SetToNothingLosesItsKey)
{
    Published<std::optional<QString>> published(defaults, kKey, std::nullopt);
    published.set(QStringLiteral("folder"));

    published.set(std::nullopt);

    EXPECT_EQ(published.get(), std::nullopt);
    EXPECT_FALSE(defaults.object(kKey));
}

TEST_F(APublishedValue, OfAnotherTypeOrRangeReadsAsTheDefault)
{
    const Published<int> number(defaults, kKey, 2);

    defaults.setObject(kKey, QStringLiteral("7"));
    EXPECT_EQ(number.get(), 2);
    defaults.setObject(kKey, Q_INT64_C(1) << 40);
    EXPECT_EQ(number.get(), 2);
    defaults.setObject(kKey, 7);
    EXPECT_EQ(number.get(), 7);
    EXPECT_TRUE(Published<bool>(defaults, kKey, true).get());
}

TEST_F(APublishedValue, TellsItsObserversOfEachSetAfterTheValueStands)
{
    Published<int> published(defaults, kKey, 0);
    QList<int> seen;
    {
        const auto token = published.onChange([&] { seen.append(published.get()); });
        published.set(1);
        published.set(2);
    }
    published.set(3);

    EXPECT_EQ(seen, (QList<int>{1, 2}));
}

TEST_F(APublishedValue, MayBeReadWrittenAndObservedByManyThreads)
{
    Published<int> published(defaults, kKey, 0);
    std::atomic<int> told = 0;
    const auto token = published.onChange([&] { ++told; });

    std::thread reader([&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_GE(published.get(), 0);
        }
    });
    for (int i = 0; i < 50; ++i) {
        published.set(i);
    }
    reader.join();

    EXPECT_EQ(told, 50);
    EXPECT_EQ(published.get(), 49);
}

} // namespace gateway::platform

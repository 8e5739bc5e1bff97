#include "core/retention_policy.h"

#include "core/settings.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace gateway::core {

namespace {

class ARetentionPolicy : public ::testing::Test
{
private:
    QTemporaryDir m_home;
    platform::UserDefaults m_defaults{m_home.filePath(QStringLiteral("defaults.sqlite"))};

protected:
    RetentionPolicy effective(GatewayAutoDeleteMode mode, std::optional<int> value)
    {
        settings.gatewayAutoDeleteMode.set(mode);
        settings.gatewayAutoDeleteValue.set(value);
        return effectiveRetentionPolicy(settings);
    }

    Settings settings{m_defaults};
};

const RetentionPolicy kNever;

} // namespace

TEST_F(ARetentionPolicy, OfDaysHoldsFromOneTo3650)
{
    using enum GatewayAutoDeleteMode;
    EXPECT_EQ(effective(days, 1), (RetentionPolicy{days, 1}));
    EXPECT_EQ(effective(days, 3650), (RetentionPolicy{days, 3650}));
}

TEST_F(ARetentionPolicy, OfDaysWithABadOrAbsentValueIsNever)
{
    using enum GatewayAutoDeleteMode;
    EXPECT_EQ(effective(days, 3651), kNever);
    EXPECT_EQ(effective(days, 0), kNever);
    EXPECT_EQ(effective(days, -1), kNever);
    EXPECT_EQ(effective(days, std::nullopt), kNever);
}

TEST_F(ARetentionPolicy, OfMonthsHoldsFromOneTo120)
{
    using enum GatewayAutoDeleteMode;
    EXPECT_EQ(effective(months, 1), (RetentionPolicy{months, 1}));
    EXPECT_EQ(effective(months, 120), (RetentionPolicy{months, 120}));
    EXPECT_EQ(effective(months, 121), kNever);
    EXPECT_EQ(effective(months, 0), kNever);
    EXPECT_EQ(effective(months, std::nullopt), kNever);
}

TEST_F(ARetentionPolicy, OfNeverIsNeverWhateverTheValue)
{
    EXPECT_EQ(effective(GatewayAutoDeleteMode::never, 30), kNever);
    EXPECT_EQ(kNever.mode, GatewayAutoDeleteMode::never);
}

TEST_F(ARetentionPolicy, ABadAmountHasItsMessage)
{
    EXPECT_EQ(autoDeleteValueMessage(GatewayAutoDeleteMode::days),
              QStringLiteral("Auto-delete in days must be a number between 1 and 3650."));
    EXPECT_EQ(autoDeleteValueMessage(GatewayAutoDeleteMode::months),
              QStringLiteral("Auto-delete in months must be a number between 1 and 120."));
    EXPECT_TRUE(autoDeleteValueMessage(GatewayAutoDeleteMode::never).isEmpty());
}

TEST_F(ARetentionPolicy, IsStoredWhole)
{
    using enum GatewayAutoDeleteMode;
    for (const RetentionPolicy &policy :
         {RetentionPolicy{months, 6}, RetentionPolicy{days, 30}, RetentionPolicy{days, 7}, kNever}) {
        EXPECT_TRUE(storeRetentionPolicy(settings, policy));
        EXPECT_EQ(effectiveRetentionPolicy(settings), policy);
    }
    EXPECT_EQ(settings.gatewayAutoDeleteValue.get(), std::nullopt);
}

TEST_F(ARetentionPolicy, NeverStandsWithTheUnitOfAnotherWhileItChanges)
{
    using enum GatewayAutoDeleteMode;
    storeRetentionPolicy(settings, {months, 6});
    std::vector<RetentionPolicy> seen;
    const auto look = [&] { seen.push_back(effectiveRetentionPolicy(settings)); };
    const auto mode = settings.gatewayAutoDeleteMode.onChange(look);
    const auto value = settings.gatewayAutoDeleteValue.onChange(look);

    storeRetentionPolicy(settings, {days, 30});

    EXPECT_EQ(seen, (std::vector<RetentionPolicy>{kNever, kNever, {days, 30}}));
}

TEST_F(ARetentionPolicy, ReadWhileItChangesIsTheOneBeforeTheOneAfterOrNone)
{
    using enum GatewayAutoDeleteMode;
    const std::vector<RetentionPolicy> real{{months, 6}, {days, 30}, kNever};
    int odd = 0;
    for (int round = 0; round < 30; ++round) {
        storeRetentionPolicy(settings, real[0]);
        std::atomic<bool> changing = true;
        std::thread writer([&] {
            storeRetentionPolicy(settings, real[1]);
            changing = false;
        });
        while (changing) {
            odd += std::count(real.begin(), real.end(), effectiveRetentionPolicy(settings)) == 1 ? 0 : 1;
        }
        writer.join();
    }

    EXPECT_EQ(odd, 0);
}

} // namespace gateway::core

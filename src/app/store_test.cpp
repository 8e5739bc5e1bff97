#include "app/store.h"

#include "app/testing/app_world.h"
#include "core/store_errors.h"

#include <QCoro/QCoroTask>

#include <gtest/gtest.h>

namespace gateway::app {
namespace {

using testing::AppWorld;

class GatewayStore : public ::testing::Test
{
protected:
    /// What became of a wait for the listener.
    struct Wait
    {
        bool hasEnded = false;
        std::optional<QString> error;
    };

    static QCoro::Task<void> watch(Store &store, std::chrono::nanoseconds wait, double seconds, Wait &result)
    {
        try {
            co_await store.waitForListenerStart(wait, seconds);
        } catch (const core::StoreStartupError &error) {
            result.error = error.message;
        }
        result.hasEnded = true;
    }

    /// Waits out the whole time on the manual clock.
    void passTime(std::chrono::nanoseconds wait, Wait &result)
    {
        m_world.receive.clock.waitForSleepers(1);
        m_world.receive.clock.advance(wait);
        m_world.receive.waitUntil([&] { return result.hasEnded; });
    }

    AppWorld m_world;
    Wait m_result;
};

TEST_F(GatewayStore, AsksForNoUploadBeforeSetup)
{
    m_world.store->requestUpload(u"app_launch"_qs);
    EXPECT_FALSE(m_world.wasUploadRequested(u"app_launch"_qs));

    m_world.finishSetup();
    m_world.store->requestUpload(u"app_launch"_qs);
    EXPECT_TRUE(m_world.wasUploadRequested(u"app_launch"_qs));
}

TEST_F(GatewayStore, FindsAListenerThatStillStandsAfterTheWait)
{
    m_world.receive.service->startListener();

    const auto task = watch(*m_world.store, std::chrono::seconds(2), 2.0, m_result);
    passTime(std::chrono::seconds(2), m_result);

    EXPECT_FALSE(m_result.error.has_value());
}

TEST_F(GatewayStore, ReportsTheListenersErrorAtOnce)
{
    m_world.receive.service->startListener();

    const auto task = watch(*m_world.store, std::chrono::hours(1), 3600, m_result);
    m_world.receive.scps.front()->end(1);
    m_world.receive.waitUntil([this] { return m_result.hasEnded; });

    ASSERT_TRUE(m_result.error.has_value());
    EXPECT_TRUE(m_result.error->startsWith(u"Failed to start DIMSE listener on port "_qs));
}

TEST_F(GatewayStore, HasWordsOfItsOwnForAnErrorWithoutAMessage)
{
    const auto task = watch(*m_world.store, std::chrono::hours(1), 3600, m_result);
    m_world.receive.notifications.post(core::kStoreListenerError);
    m_world.receive.waitUntil([this] { return m_result.hasEnded; });

    EXPECT_EQ(m_result.error, u"Failed to start DIMSE listener."_qs);
}

TEST_F(GatewayStore, TellsHowLongItWaitedForAListenerThatNeverCame)
{
    const auto task = watch(*m_world.store, std::chrono::seconds(2), 2.0, m_result);
    passTime(std::chrono::seconds(2), m_result);

    EXPECT_EQ(m_result.error, u"DIMSE listener did not start within 2 seconds."_qs);
}

TEST_F(GatewayStore, CutsAShortWaitToNoughtSecondsInItsText)
{
    const auto task = watch(*m_world.store, std::chrono::milliseconds(50), 0.05, m_result);
    passTime(std::chrono::milliseconds(50), m_result);

    EXPECT_EQ(m_result.error, u"DIMSE listener did not start within 0 seconds."_qs);
}

} // namespace
} // namespace gateway::app

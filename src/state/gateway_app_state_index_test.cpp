// The live figures over a real index and file store.

#include "state/gateway_app_state.h"

#include "index/figure_index.h"
#include "index/testing/temporary_index.h"
#include "platform/concurrency/worker_pool.h"

#include <QtCore/QCoreApplication>

#include <gtest/gtest.h>

#include <thread>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;
using index::testing::TemporaryIndex;

class AppStateOnIndex : public ::testing::Test
{
protected:
    QString import(const QString &uid, int frames = 1)
    {
        return m_home.import(TemporaryIndex::image(uid, {{QStringLiteral("numberOfFrames"), frames}}));
    }

    template <typename Condition>
    static void runUntil(const Condition &condition)
    {
        while (!condition()) {
            QCoreApplication::processEvents();
            std::this_thread::yield();
        }
    }

    TemporaryIndex m_home;
    platform::WorkerPool m_pool{QStringLiteral("test"), 1};
    GatewayAppState m_state{{m_home.index(), m_home.notifications, m_home.main, m_pool, m_home.clock, [] {
                                 return QTimeZone::utc();
                             }}};
    const GatewayFigures &m_figures = m_state.figures();
};

} // namespace

TEST_F(AppStateOnIndex, FollowsAnUploadByItsNotification)
{
    const QString stored = import(QStringLiteral("9.1"), 2);
    m_home.clock.advance(1h);
    m_home.index().recordUploadResult({}, stored, true);

    runUntil([this] { return m_figures.syncedImagesCount == 2; });

    EXPECT_EQ(m_figures.notSyncedImagesCount, 0);
    EXPECT_EQ(m_figures.notSyncedStudiesCount, 0);
    EXPECT_EQ(m_figures.receivedImagesCount, 2);
    EXPECT_EQ(m_figures.receivedStudiesCount, 1);
    EXPECT_EQ(m_figures.transferReceivedSeries[22], 2);
    EXPECT_EQ(m_figures.transferSentSeries[23], 2);
}

TEST_F(AppStateOnIndex, CountsAReceivedFileAtOnceAndByItsRowsLater)
{
    m_state.recordReceivedItem();
    EXPECT_EQ(m_figures.transferReceivedSeries.back(), 1);
    import(QStringLiteral("9.1"), 3);
    m_state.refreshCounters();
    EXPECT_EQ(m_figures.receivedImagesCount, 3);
    EXPECT_EQ(m_figures.transferReceivedSeries.back(), 1);

    m_state.refreshTransferSeries();

    EXPECT_EQ(m_figures.transferReceivedSeries.back(), 3);
}

TEST_F(AppStateOnIndex, HealsStoredStatesOnceAtLaunch)
{
    import(QStringLiteral("9.1"));
    m_home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 1, uploadDate = createDate"));
    m_home.reopen();

    const GatewayAppState again({m_home.index(), m_home.notifications, m_home.main, m_pool, m_home.clock, [] {
                                     return QTimeZone::utc();
                                 }});

    EXPECT_EQ(again.figures().notSyncedStudiesCount, 0);
    EXPECT_EQ(m_home.number(QStringLiteral("SELECT syncState FROM Study")), 1);
}

TEST_F(AppStateOnIndex, MeasuresTheRealFileStore)
{
    import(QStringLiteral("9.1"));

    bool isMeasured = false;
    m_state.whenStorageIsMeasured([&] { isMeasured = true; });
    runUntil([&] { return isMeasured; });
    m_home.clock.advance(1s);
    m_state.refreshStorageUsage();
    runUntil([this] { return m_figures.receivedStorageUsage.usedBytes > 0; });

    EXPECT_GT(m_figures.receivedStorageUsage.availableBytes, 0);
}

} // namespace gateway::state

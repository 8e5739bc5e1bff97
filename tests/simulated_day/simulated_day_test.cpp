#include "tests/simulated_day/naive_gateway.h"
#include "tests/simulated_day/simulated_gateway.h"

#include <gtest/gtest.h>

#include <random>

namespace gateway::tests {

namespace {

using namespace std::chrono_literals;
using index::testing::TemporaryIndex;
using state::TransferTimeframe;

const QTimeZone kBerlin("Europe/Berlin");

// The clock is set back on the 25th at 01:00 UTC.
const QDateTime kStart(QDate(2026, 10, 24), QTime(6, 0, 13), Qt::UTC);
const QDateTime kEnd(QDate(2026, 10, 26), QTime(12, 0), Qt::UTC);

// No part of an hour or a day: so that no step, a day or a day of 25 hours later, falls on another.
constexpr auto kStep = 1511s;

constexpr int kStepsOfACleanup = 3; // about an hour

/// The two gateways, and the random numbers by which the same happens to both.
class SimulatedDay : public ::testing::Test
{
protected:
    SimulatedDay()
    {
        m_real.pass(std::chrono::seconds(m_real.now().secsTo(kStart)));
        m_real.state().refreshTransferSeries();
        RecordProperty("seed", static_cast<int>(kSeed));
    }

    static constexpr quint32 kSeed = 20261025;

    bool chance(int percent) { return static_cast<int>(m_random() % 100) < percent; }
    int upTo(int most) { return static_cast<int>(m_random() % static_cast<quint32>(most + 1)); }

    void receiveOne()
    {
        const bool isNew = m_received.isEmpty() || !chance(10);
        const int number = isNew ? static_cast<int>(m_received.size())
                                 : static_cast<int>(m_random() % static_cast<quint32>(m_received.size()));
        const QString uid = QStringLiteral("1.9.%1").arg(number);
        NaiveGateway::Image image;
        image.study = number / 12;
        image.series = number / 6 % 2;
        image.frames = 1 + number % 3;
        image.storedName = m_real.receive(
            TemporaryIndex::image(uid,
                                  {{QStringLiteral("studyID"), QStringLiteral("1.2.%1").arg(image.study)},
                                   {QStringLiteral("studyNumber"), QStringLiteral("P%1").arg(image.study)},
                                   {QStringLiteral("seriesID"), QStringLiteral("1.3.%1").arg(image.series)},
                                   {QStringLiteral("numberOfFrames"), image.frames}}));
        image.createDate = m_real.now();
        m_naive.receive(uid, image);
        m_received.insert(uid);
        if (chance(12)) {
            m_real.cloud.refuse(image.storedName);
            m_refused.insert(image.storedName);
        }
    }

    /// The cloud and the account have their moods.
    void changeTheWeather()
    {
        m_isCloudDown = m_isCloudDown ? !chance(30) : chance(5);
        m_real.cloud.answerWith(m_isCloudDown ? 500 : 0);
        m_isSignedIn = m_isSignedIn ? !chance(5) : chance(40);
        m_real.session.signIn(m_isSignedIn);
        if (chance(5)) {
            for (const QString &name : std::exchange(m_refused, {})) {
                m_real.cloud.accept(name);
            }
        }
    }

    void upload()
    {
        m_real.upload();
        const bool any = m_isSignedIn && m_naive.tryAll(m_real.now(), [this](const QString &name) {
            return !m_isCloudDown && !m_refused.contains(name);
        });
        if (any) {
            m_naive.letGo(m_real.now());
            ++m_runsWithSuccess;
        }
    }

    void cleanUp()
    {
        m_real.cleanUp();
        m_naive.letGo(m_real.now());
    }

    void compareCounters()
    {
        const index::IndexCounts expected = m_naive.counts();
        const state::GatewayFigures &figures = m_real.figures();
        ASSERT_EQ(figures.receivedStudiesCount, expected.total.studies);
        ASSERT_EQ(figures.receivedSeriesCount, expected.total.series);
        ASSERT_EQ(figures.receivedImagesCount, expected.total.images);
        ASSERT_EQ(figures.notSyncedStudiesCount, expected.notSynced.studies);
        ASSERT_EQ(figures.notSyncedSeriesCount, expected.notSynced.series);
        ASSERT_EQ(figures.notSyncedImagesCount, expected.notSynced.images);
        ASSERT_EQ(figures.syncedImagesCount, expected.syncedImages);
        ASSERT_EQ(figures.failedImagesCount, expected.failedImages);
        ASSERT_FALSE(figures.isReceivingNow);
    }

    void compareActivity()
    {
        const state::GatewayFigures &figures = m_real.figures();
        const NaiveGateway::Activity expected =
            m_naive.activity(m_real.now(), figures.transferTimeframe, figures.transferVisibleBucketCount);
        ASSERT_EQ(figures.transferWindowStart, expected.start);
        ASSERT_EQ(figures.transferReceivedSeries, expected.received);
        ASSERT_EQ(figures.transferSentSeries, expected.sent);
    }

    void compareEveryTimeframe()
    {
        for (const TransferTimeframe timeframe : state::kTransferTimeframes) {
            m_real.state().setTransferTimeframe(timeframe);
            m_real.state().applyTransferZoom(-8.0 * upTo(6));
            ASSERT_NO_FATAL_FAILURE(compareActivity()) << state::rawValue(timeframe).toStdString();
        }
        m_real.state().setTransferTimeframe(TransferTimeframe::oneDay);
    }

    /// Files come and are counted in place: what was there before, moved on, and the new ones at the end.
    void receiveSome()
    {
        const state::GatewayFigures before = m_real.figures();
        const int files = chance(60) ? upTo(4) : 0;
        for (int i = 0; i < files; ++i) {
            receiveOne();
        }
        if (files > 0) {
            const state::GatewayFigures &after = m_real.figures();
            const auto hours = before.transferWindowStart.secsTo(after.transferWindowStart) / 3600;
            std::vector<std::int64_t> expected(before.transferReceivedSeries.begin() + hours,
                                               before.transferReceivedSeries.end());
            expected.resize(before.transferReceivedSeries.size());
            expected.back() += files;
            ASSERT_EQ(after.transferReceivedSeries, expected);
        }
    }

    SimulatedGateway m_real{kBerlin};
    NaiveGateway m_naive{kBerlin};
    std::mt19937 m_random{kSeed};
    QSet<QString> m_received;
    QSet<QString> m_refused;
    bool m_isCloudDown = false;
    bool m_isSignedIn = true;
    int m_runsWithSuccess = 0;
};

} // namespace

TEST_F(SimulatedDay, AgreesWithANaiveReckoningAfterEveryStepThroughTheNightOnWhichTheClockIsSetBack)
{
    for (int step = 0; m_real.now() < kEnd; ++step) {
        SCOPED_TRACE(m_real.now().toString(Qt::ISODateWithMs).toStdString());
        m_real.pass(kStep);
        changeTheWeather();

        ASSERT_NO_FATAL_FAILURE(receiveSome());
        ASSERT_NO_FATAL_FAILURE(compareCounters()) << "after receiving";
        upload();
        if (step % kStepsOfACleanup == 0) {
            cleanUp();
        }

        ASSERT_NO_FATAL_FAILURE(compareCounters()) << "after a run";
        m_real.state().refreshTransferSeries();
        ASSERT_NO_FATAL_FAILURE(compareActivity());
        if (step % kStepsOfACleanup == 0) {
            ASSERT_NO_FATAL_FAILURE(compareEveryTimeframe());
        }
    }

    EXPECT_GT(m_received.size(), 100);
    EXPECT_GT(m_runsWithSuccess, 30);
    EXPECT_LT(m_naive.counts().total.images, m_received.size() * 2) << "images were let go";
    EXPECT_TRUE(m_real.storageIsRight());
}

TEST_F(SimulatedDay, ShowsNobodyReceivingOnceTheListenerHasStopped)
{
    m_real.state().beginReceiveAssociation(QStringLiteral("a"));
    m_real.stopListener();
    EXPECT_FALSE(m_real.figures().isReceivingNow);
    EXPECT_FALSE(m_real.figures().isDimseListening);

    m_real.startListener();
    receiveOne();

    EXPECT_TRUE(m_real.figures().isDimseListening);
    compareCounters();
}

} // namespace gateway::tests

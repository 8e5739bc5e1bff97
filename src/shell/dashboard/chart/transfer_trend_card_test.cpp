#include "shell/dashboard/chart/transfer_trend_card.h"

#include "shell/dashboard/chart/summary_pill.h"
#include "shell/dashboard/chart/time_range_button.h"
#include "shell/dashboard/chart/transfer_line_chart.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"
#include "shell/testing/wheel.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using state::TransferTimeframe;
using testing::ThemedWindow;

TransferTrend trendOf(std::int64_t zoomRevision)
{
    return {{1, 1200, 3},
            {0, 2, 0},
            TransferTimeframe::oneDay,
            QStringLiteral("Last 1d"),
            zoomRevision,
            QDateTime(QDate(2026, 1, 1), QTime(8, 0), Qt::UTC),
            1h};
}

/// A card in a window.
class Trend : public ::testing::Test
{
protected:
    void SetUp() override
    {
        card = &window.add(new TransferTrendCard(window.theme(), [] { return QTimeZone::utc(); }));
        card->setTrend(trendOf(4));
    }

    QList<QAction *> timeframes() const { return card->timeRange().menu()->actions(); }

    ThemedWindow window;
    TransferTrendCard *card = nullptr;
};

TEST_F(Trend, ShowsTheSumsOfWhatIsVisible)
{
    EXPECT_EQ(card->pills()[0]->pill(),
              (state::SummaryPill{QStringLiteral("Received"), 1204, state::ChartColor::blue}));
    EXPECT_EQ(card->pills()[1]->pill(),
              (state::SummaryPill{QStringLiteral("Sent"), 2, state::ChartColor::green}));
    EXPECT_EQ(card->pills()[0]->accessibleWords(),
              QStringLiteral("Received: %1").arg(QLocale().toString(1204)));
}

TEST_F(Trend, HasTheTitleAndTheTimeRange)
{
    EXPECT_EQ(card->findChild<QLabel *>()->text(), QStringLiteral("Transfer Activity"));
    EXPECT_EQ(card->timeRange().text(), QStringLiteral("Time Range"));
    EXPECT_EQ(card->timeRange().rangeTitle(), QStringLiteral("Last 1d"));
    EXPECT_EQ(card->timeRange().accessibleDescription(), QStringLiteral("Last 1d"));
}

TEST_F(Trend, ListsTheTimeframesWithAMarkOnThePresentOne)
{
    QStringList titles;
    QStringList marked;
    for (const QAction *action : timeframes()) {
        titles << action->text();
        EXPECT_EQ(action->icon().isNull(), !action->isChecked());
        if (action->isChecked()) {
            marked << action->text();
        }
    }

    EXPECT_EQ(titles,
              (QStringList{QStringLiteral("Last 1 hour"),
                           QStringLiteral("Last 4 hours"),
                           QStringLiteral("Last 24 hours"),
                           QStringLiteral("Last 7 days"),
                           QStringLiteral("Last 30 days")}));
    EXPECT_EQ(marked, QStringList(QStringLiteral("Last 24 hours")));
}

TEST_F(Trend, TellsTheTimeframeChosenByKeys)
{
    ASSERT_TRUE(window.show());
    QSignalSpy changes(card, &TransferTrendCard::onTimeframeChange);
    QMenu *menu = card->timeRange().menu();
    menu->popup(card->timeRange().mapToGlobal(QPoint(0, 40)));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(menu, 30'000));

    menu->setActiveAction(timeframes()[2]);
    QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);

    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes[0][0].value<TransferTimeframe>(), TransferTimeframe::oneWeek);
}

TEST_F(Trend, TellsThePresentTimeframeToo)
{
    QSignalSpy changes(card, &TransferTrendCard::onTimeframeChange);

    timeframes()[2]->trigger();

    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes[0][0].value<TransferTimeframe>(), TransferTimeframe::oneDay);
    EXPECT_TRUE(timeframes()[2]->isChecked());
}

TEST_F(Trend, TellsAScrollOverTheChart)
{
    ASSERT_TRUE(window.show());
    QSignalSpy zooms(card, &TransferTrendCard::onRangeZoom);

    testing::turnWheelOver(card->chart(), {0, 120});

    ASSERT_EQ(zooms.count(), 1);
    EXPECT_EQ(zooms[0][0].toDouble(), 10);
}

TEST_F(Trend, TheChartComesBackWithinTheTimeOfAFlicker)
{
    EXPECT_DOUBLE_EQ(TransferTrendCard::opacityAfterZoom(0ms), 0.82);
    EXPECT_DOUBLE_EQ(TransferTrendCard::opacityAfterZoom(160ms), 1);
    EXPECT_DOUBLE_EQ(TransferTrendCard::opacityAfterZoom(10s), 1);
    const double half = TransferTrendCard::opacityAfterZoom(80ms);
    EXPECT_GT(half, 0.91); // most of the way lies in the first half
    EXPECT_LT(half, 1);
}

TEST_F(Trend, FlickersAfterAZoomStepAndOnlyThen)
{
    window.theme().setReducedMotion(false);
    ASSERT_TRUE(window.show());
    EXPECT_EQ(card->zoomTransitionOpacity(), 1);

    card->setTrend(trendOf(4));
    EXPECT_EQ(card->zoomTransitionOpacity(), 1);
    card->setTrend(trendOf(5));
    EXPECT_EQ(card->zoomTransitionOpacity(), 0.82);

    EXPECT_TRUE(QTest::qWaitFor([this] { return card->zoomTransitionOpacity() == 1; }, 30'000));
}

TEST_F(Trend, DoesNotFlickerUnseenOrWhereLessMotionIsAskedFor)
{
    card->setTrend(trendOf(5));
    EXPECT_EQ(card->zoomTransitionOpacity(), 1);
    ASSERT_TRUE(window.show());

    card->setTrend(trendOf(6));

    EXPECT_EQ(card->zoomTransitionOpacity(), 1);
}

TEST(TransferTrendCard, ClipsNoWordsThatAreFortyPercentLonger)
{
    testing::PseudoLocale locale;
    QCoreApplication::installTranslator(&locale);
    {
        ThemedWindow window;
        auto &card = window.add(new TransferTrendCard(window.theme(), [] { return QTimeZone::utc(); }));
        card.setTrend(trendOf(0));
        ASSERT_TRUE(window.show());

        EXPECT_NE(card.timeRange().text(), QStringLiteral("Time Range"));
        EXPECT_EQ(testing::clippedIn(card), QStringList());
        for (const SummaryPill *pill : card.pills()) {
            EXPECT_GE(pill->width(), pill->sizeHint().width());
        }
        EXPECT_TRUE(card.rect().contains(card.timeRange().geometry()));
    }
    QCoreApplication::removeTranslator(&locale);
}

} // namespace
} // namespace gateway::shell

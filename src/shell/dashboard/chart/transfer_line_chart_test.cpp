#include "shell/dashboard/chart/transfer_line_chart.h"

#include "shell/testing/themed_window.h"
#include "shell/testing/wheel.h"

#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using testing::ThemedWindow;
using Counts = std::vector<std::int64_t>;

/// A chart in a shown window that gets real events.
class Chart : public ::testing::Test
{
protected:
    void SetUp() override
    {
        chart = &window.add(new TransferLineChart(window.theme(), [] { return QTimeZone::utc(); }));
        show({0, 10, 20, 5}, {1, 2, 3, 4});
        ASSERT_TRUE(window.show());
    }

    void show(const Counts &received, const Counts &sent)
    {
        chart->setChart({received,
                         sent,
                         state::TransferTimeframe::oneDay,
                         QDateTime(QDate(2026, 1, 1), QTime(8, 0), Qt::UTC),
                         1h,
                         [this](double delta) { scrolled.push_back(delta); }});
    }

    /// Where a value of a series lies in the widget.
    QPointF placeOf(std::size_t index, std::int64_t value, std::size_t count, std::int64_t scale) const
    {
        const QRectF plot = chart->plot();
        return plot.topLeft() + QPointF(state::xOfValue(index, count, plot.width()),
                                        state::yOfValue(value, scale, plot.height()));
    }

    void pointAt(QPointF place)
    {
        QTest::mouseMove(chart, QPoint(1, 1));
        QTest::mouseMove(chart, place.toPoint());
        QCoreApplication::processEvents();
    }

    void wheel(QPoint angle, QPoint pixels = {}) { testing::turnWheelOver(*chart, angle, pixels); }

    QString hoveredId() const { return chart->hovered() ? chart->hovered()->id : QString(); }

    ThemedWindow window;
    TransferLineChart *chart = nullptr;
    std::vector<double> scrolled;
};

// --- Wheel -------------------------------------------------------------------------------------------

TEST_F(Chart, CountsANotchOfAPlainWheelTenfold)
{
    wheel({0, 120});
    wheel({0, -240});

    EXPECT_EQ(scrolled, (std::vector<double>{10, -20}));
}

TEST_F(Chart, TakesThePreciseDeltaOfATouchpadAsItIs)
{
    wheel({0, 120}, {0, 7});

    EXPECT_EQ(scrolled, (std::vector<double>{7}));
}

TEST_F(Chart, LeavesAMainlyHorizontalGestureAlone)
{
    wheel({0, 120}, {9, 7});
    wheel({0, 120}, {7, 7});
    EXPECT_TRUE(scrolled.empty());

    wheel({0, 120}, {-6, 7});
    EXPECT_EQ(scrolled, (std::vector<double>{7}));
}

TEST_F(Chart, PassesTheWheelOnToWhatItLiesIn)
{
    QWheelEvent event({50, 50}, chart->mapToGlobal(QPointF(50, 50)), {}, {0, 120}, {}, {}, {}, false);

    QCoreApplication::sendEvent(chart, &event);

    EXPECT_FALSE(event.isAccepted());
    EXPECT_EQ(scrolled.size(), 1u);
}

TEST_F(Chart, IgnoresAWheelBesideIt)
{
    QWheelEvent event({-5, 50}, chart->mapToGlobal(QPointF(-5, 50)), {}, {0, 120}, {}, {}, {}, false);

    QCoreApplication::sendEvent(chart, &event);

    EXPECT_TRUE(scrolled.empty());
}

TEST_F(Chart, ZoomsByKeysAsByANotchOfTheWheel)
{
    QTest::keyClick(chart, Qt::Key_Plus);
    QTest::keyClick(chart, Qt::Key_Minus);
    QTest::keyClick(chart, Qt::Key_Equal);

    EXPECT_EQ(scrolled, (std::vector<double>{10, -10, 10}));
}

// --- Hover -------------------------------------------------------------------------------------------

TEST_F(Chart, ShowsThePointUnderTheMouseUntilItLeaves)
{
    pointAt(placeOf(1, 10, 4, 20));

    ASSERT_TRUE(chart->hovered());
    EXPECT_EQ(hoveredId(), QStringLiteral("received-1"));
    EXPECT_EQ(chart->accessibleDescription(), QStringLiteral("Received: 10 items, 09:00"));

    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(chart, &leave);
    EXPECT_FALSE(chart->hovered());
    EXPECT_EQ(chart->accessibleDescription(), QString());
}

TEST_F(Chart, HoverExactlyTwelveAwaySelectsThePointAndALittleMoreSelectsNone)
{
    const QPointF place = placeOf(0, 1, 4, 20);
    const auto moveTo = [this](QPointF at) {
        QMouseEvent move(
            QEvent::MouseMove, at, chart->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(chart, &move);
    };

    moveTo(place - QPointF(12, 0));
    EXPECT_EQ(hoveredId(), QStringLiteral("sent-0"));
    moveTo(place - QPointF(12.01, 0));
    EXPECT_EQ(hoveredId(), QString());
}

TEST_F(Chart, KeepsToThePointerWhenTheFiguresMove)
{
    pointAt(placeOf(2, 20, 4, 20));
    ASSERT_EQ(hoveredId(), QStringLiteral("received-2"));

    show({0, 10, 1, 20}, {1, 2, 3, 4});

    EXPECT_FALSE(chart->hovered());
}

// --- Keys --------------------------------------------------------------------------------------------

TEST_F(Chart, TheArrowKeysGoFromPointToPoint)
{
    chart->setFocus(Qt::TabFocusReason);

    QTest::keyClick(chart, Qt::Key_Left);
    EXPECT_EQ(hoveredId(), QStringLiteral("received-3"));
    QTest::keyClick(chart, Qt::Key_Left);
    EXPECT_EQ(hoveredId(), QStringLiteral("received-2"));
    QTest::keyClick(chart, Qt::Key_Down);
    EXPECT_EQ(hoveredId(), QStringLiteral("sent-2"));
    EXPECT_EQ(chart->accessibleDescription(), QStringLiteral("Sent: 3 items, 10:00"));
    QTest::keyClick(chart, Qt::Key_Right);
    QTest::keyClick(chart, Qt::Key_Right);
    EXPECT_EQ(hoveredId(), QStringLiteral("sent-3")); // the last one stays
    QTest::keyClick(chart, Qt::Key_Home);
    EXPECT_EQ(hoveredId(), QStringLiteral("sent-0"));
    QTest::keyClick(chart, Qt::Key_Up);
    EXPECT_EQ(hoveredId(), QStringLiteral("received-0"));
    QTest::keyClick(chart, Qt::Key_End);
    EXPECT_EQ(hoveredId(), QStringLiteral("received-3"));
    QTest::keyClick(chart, Qt::Key_Escape);
    EXPECT_FALSE(chart->hovered());
}

TEST_F(Chart, KeepsThePointOfTheKeysWhenTheFiguresMove)
{
    chart->setFocus(Qt::TabFocusReason);
    QTest::keyClick(chart, Qt::Key_End);

    show({0, 10, 20, 7}, {1, 2, 3, 4});

    ASSERT_EQ(hoveredId(), QStringLiteral("received-3"));
    EXPECT_EQ(chart->hovered()->value, 7);
    show({0, 10}, {1, 2});
    EXPECT_FALSE(chart->hovered());
}

TEST_F(Chart, LetsThePointGoWithTheFocus)
{
    chart->setFocus(Qt::TabFocusReason);
    QTest::keyClick(chart, Qt::Key_End);
    ASSERT_TRUE(chart->hovered());

    chart->clearFocus();

    EXPECT_FALSE(chart->hovered());
}

TEST_F(Chart, BearsKeysWithoutAPoint)
{
    show({}, {});

    QTest::keyClick(chart, Qt::Key_Left);

    EXPECT_FALSE(chart->hovered());
    EXPECT_FALSE(chart->grab().isNull());
}

// --- Paint -------------------------------------------------------------------------------------------

TEST_F(Chart, PaintsTheDotsWhereTheValuesAre)
{
    const QImage picture = chart->grab().toImage();

    EXPECT_NEAR(picture.pixelColor(placeOf(2, 20, 4, 20).toPoint()).hue(),
                window.theme().color(Color::blue).hue(),
                3);
    EXPECT_NEAR(picture.pixelColor(placeOf(1, 2, 4, 20).toPoint()).hue(),
                window.theme().color(Color::green).hue(),
                3);
}

TEST_F(Chart, WithOneValueThePointLiesAtTheLeftEdge)
{
    show({5}, {0});

    const QImage picture = chart->grab().toImage();

    const QPoint place = chart->plot().topLeft().toPoint();
    EXPECT_NEAR(picture.pixelColor(place).hue(), window.theme().color(Color::blue).hue(), 3);
}

TEST_F(Chart, FadesAsMuchAsItIsTold)
{
    const QImage whole = chart->grab().toImage();
    chart->setOpacity(0.82);
    const QImage faded = chart->grab().toImage();
    chart->setOpacity(1);

    EXPECT_NE(faded, whole);
    EXPECT_EQ(chart->grab().toImage(), whole);
}

TEST_F(Chart, SaysSoWhenNothingCameOrWentAndHoldsStill)
{
    show({0, 0, 0}, {0, 0, 0});
    const QImage words = chart->grab().toImage();
    const QPointF middle = chart->plot().center();
    const QRect where(QPointF(middle.x() - 100, middle.y() + 8).toPoint(), QSize(200, 14));
    show({0, 0, 1}, {0, 0, 0});

    EXPECT_NE(words.copy(where), chart->grab().toImage().copy(where));
}

TEST_F(Chart, IsAChartToAssistiveTools)
{
    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(chart);

    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->role(), QAccessible::Chart);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Received and sent images over time"));
}

} // namespace
} // namespace gateway::shell

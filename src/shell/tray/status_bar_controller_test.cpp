#include "shell/tray/status_bar_controller.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/symbols.h"

#include <QtGui/QScreen>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

/// A tray that shows the item, or a desktop without one.
class FakeStatusItem final : public StatusItem
{
public:
    bool show(const Content &given) override
    {
        content = given;
        return isThere;
    }

    QRect geometry() const override { return isThere ? QRect(700, 0, 24, 24) : QRect(); }

    bool isThere = true;
    Content content;
};

class StatusBar : public ::testing::Test
{
protected:
    StatusBar() { m_window.show(); }

    StatusBarController &controller()
    {
        if (m_controller == nullptr) {
            m_controller = std::make_unique<StatusBarController>(
                StatusBarController::Parts{m_window.theme(), m_clock, m_item, [] {}, [] {}},
                std::make_unique<QLabel>(QStringLiteral("panel")));
        }
        return *m_controller;
    }

    /// Takes the activation from the open panel, with the pointer there, and waits until it is gone.
    void turnElsewhere(QPoint pointer)
    {
        ASSERT_TRUE(QTest::qWaitForWindowActive(const_cast<QWidget *>(&controller().popover()), 30'000));
        QCursor::setPos(pointer);
        m_window.window().activateWindow();
        ASSERT_TRUE(QTest::qWaitFor([this] { return !controller().popover().isVisible(); }, 30'000));
    }

    testing::ThemedWindow m_window;
    platform::testing::ManualClock m_clock;
    FakeStatusItem m_item;
    std::unique_ptr<StatusBarController> m_controller;
};

TEST(StatusItemSymbol, IsTheApplicationsOwnSign)
{
    EXPECT_EQ(applicationSymbol(kApplicationSymbol), QStringLiteral("quorinGatewayCloud.fill"));
}

TEST(StatusItemSymbol, FallsBackToACloudWhereTheAssetIsMissing)
{
    EXPECT_EQ(applicationSymbol(u"quorinGatewayNothing.fill"), QStringLiteral("cloud.fill"));
    EXPECT_FALSE(symbolFile(applicationSymbol(u"quorinGatewayNothing.fill")).isEmpty());
}

TEST_F(StatusBar, ShowsOneColourAndItsName)
{
    EXPECT_TRUE(controller().hasStatusItem());

    EXPECT_EQ(m_item.content.description, QStringLiteral("Quorin Gateway"));
    const QImage image = m_item.content.icon.pixmap(32).toImage();
    ASSERT_FALSE(image.isNull());
    const QColor wanted = m_window.theme().color(Color::blue);
    int painted = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() == 255) {
                ++painted;
                EXPECT_EQ(pixel.rgb(), wanted.rgb());
            }
        }
    }
    EXPECT_GT(painted, 20);
}

TEST_F(StatusBar, AClickOpensThePanelBelowTheItem)
{
    controller();

    m_item.content.clicked();

    EXPECT_TRUE(controller().popover().isVisible());
    EXPECT_GE(controller().popover().y(), 24);
}

TEST_F(StatusBar, APanelThatIsHigherThanTheScreenScrollsToItsEnd)
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    auto panel = std::make_unique<QWidget>();
    panel->setFixedSize(340, screen.height() + 200);
    auto *last = new QPushButton(QStringLiteral("Quit"), panel.get());
    last->move(10, screen.height() + 150);
    StatusBarController high({m_window.theme(), m_clock, m_item, [] {}, [] {}}, std::move(panel));

    m_item.content.clicked();

    EXPECT_TRUE(screen.contains(high.popover().geometry()));
    auto *area = high.popover().findChild<QScrollArea *>();
    ASSERT_NE(area, nullptr);
    EXPECT_GE(area->viewport()->width(), 340) << "nothing is cut at the side";
    EXPECT_TRUE(last->visibleRegion().isEmpty());
    area->verticalScrollBar()->setValue(area->verticalScrollBar()->maximum());
    EXPECT_FALSE(last->visibleRegion().isEmpty());
}

TEST_F(StatusBar, ASecondClickClosesThePanel)
{
    controller();
    m_item.content.clicked();

    m_item.content.clicked();

    EXPECT_FALSE(controller().popover().isVisible());
}

TEST_F(StatusBar, TheClickThatTookTheActivationFromThePanelDoesNotOpenItAgain)
{
    controller();
    m_item.content.clicked();
    turnElsewhere(m_item.geometry().center());

    m_clock.advance(std::chrono::milliseconds(600)); // a busy machine
    m_item.content.clicked();
    EXPECT_FALSE(controller().popover().isVisible());

    m_clock.advance(std::chrono::seconds(1));
    m_item.content.clicked();
    EXPECT_TRUE(controller().popover().isVisible());
}

TEST_F(StatusBar, AClickOnTheItemRightAfterOneElsewhereOpensThePanel)
{
    controller();
    m_item.content.clicked();
    turnElsewhere(QPoint(100, 300));

    m_item.content.clicked();

    EXPECT_TRUE(controller().popover().isVisible());
}

TEST_F(StatusBar, AClickOnAnItemWithoutAPlaceDoesNotOpenThePanelAgainForAMoment)
{
    controller();
    m_item.isThere = false;
    controller().togglePopover();
    turnElsewhere(QPoint(100, 300));

    controller().togglePopover();
    EXPECT_FALSE(controller().popover().isVisible());

    m_clock.advance(std::chrono::milliseconds(300));
    controller().togglePopover();
    EXPECT_TRUE(controller().popover().isVisible());
}

TEST_F(StatusBar, EscapeClosesThePanel)
{
    controller();
    m_item.content.clicked();

    QTest::keyClick(const_cast<QWidget *>(&controller().popover()), Qt::Key_Escape);

    EXPECT_FALSE(controller().popover().isVisible());
}

TEST_F(StatusBar, OpensThePanelWithoutATrayToo)
{
    m_item.isThere = false;
    EXPECT_FALSE(controller().hasStatusItem());

    controller().togglePopover();

    EXPECT_TRUE(controller().popover().isVisible());
    EXPECT_TRUE(controller().popover().windowFlags().testFlag(Qt::FramelessWindowHint));
}

TEST_F(StatusBar, BuildsThePanelOnce)
{
    controller();
    const auto *panel = controller().popover().findChild<QLabel *>();
    ASSERT_NE(panel, nullptr);

    for (int click = 0; click < 4; ++click) {
        m_item.content.clicked();
    }

    EXPECT_EQ(controller().popover().findChildren<QLabel *>(), QList<QLabel *>{const_cast<QLabel *>(panel)});
}

} // namespace
} // namespace gateway::shell

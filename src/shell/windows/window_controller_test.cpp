#include "shell/windows/window_controller.h"

#include "platform/defaults/user_defaults.h"
#include "shell/testing/themed_window.h"
#include "shell/windows/screen_room.h"
#include "shell/windows/shell_window.h"

#include <QtCore/QTemporaryDir>
#include <QtGui/QScreen>
#include <QtTest/QTest>
#include <QtWidgets/QLineEdit>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

const QString kGeometryKey = QStringLiteral("QuorinGateway.window.test.geometry");

class Windows : public ::testing::Test
{
protected:
    WindowController::Frame frame(QSize size = {500, 400}) const
    {
        return {QStringLiteral("test"), QStringLiteral("A window"), size, {300, 200}};
    }

    WindowController::MakeContent makeContent()
    {
        return [this] {
            ++contents;
            content = new QLineEdit;
            return content;
        };
    }

    Theme theme;
    QTemporaryDir folder;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
    int contents = 0;
    QLineEdit *content = nullptr;
};

TEST_F(Windows, ComeCentredAtTheirSizeWhenFirstShown)
{
    WindowController controller(defaults, frame(), makeContent());
    EXPECT_EQ(controller.window(), nullptr);

    controller.show();

    ASSERT_NE(controller.window(), nullptr);
    EXPECT_EQ(controller.window()->windowTitle(), QStringLiteral("A window"));
    EXPECT_EQ(controller.window()->size(), QSize(500, 400));
    EXPECT_EQ(controller.window()->geometry().center(), roomForContent().center());
}

TEST_F(Windows, ShowingAWindowThatIsAlreadyVisibleCreatesNoSecondOne)
{
    WindowController controller(defaults, frame(), makeContent());
    controller.show();
    const QWidget *first = controller.window();

    controller.show();

    EXPECT_EQ(controller.window(), first);
    EXPECT_EQ(contents, 1);
    EXPECT_TRUE(first->isVisible());
}

TEST_F(Windows, ComeBackFromTheTaskBarWhenTheyAreShown)
{
    WindowController controller(defaults, frame(), makeContent());
    controller.show();
    controller.window()->showMinimized();

    controller.show();

    EXPECT_FALSE(controller.window()->isMinimized());
    EXPECT_TRUE(QTest::qWaitForWindowActive(controller.window(), 30'000));
}

TEST_F(Windows, KeepTheirContentWhenTheyAreClosed)
{
    WindowController controller(defaults, frame(), makeContent());
    controller.show();
    content->setText(QStringLiteral("kept"));
    controller.window()->close();
    EXPECT_FALSE(controller.window()->isVisible());

    controller.show();

    EXPECT_TRUE(controller.window()->isVisible());
    EXPECT_EQ(contents, 1);
    EXPECT_EQ(content->text(), QStringLiteral("kept"));
}

TEST_F(Windows, FitASmallerScreenWithTheirFrame)
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    WindowController controller(defaults, frame(screen.size() * 2), makeContent());

    controller.show();

    const QRect inside = controller.window()->geometry();
    EXPECT_EQ(inside, roomForContent());
    EXPECT_GE(inside.top(), screen.top() + 40) << "room for a title";
    EXPECT_TRUE(screen.contains(inside));
}

TEST_F(Windows, ComeBackWhereTheyWereLeft)
{
    const QRect left(30, 40, 444, 333);
    {
        WindowController controller(defaults, frame(), makeContent());
        controller.show();
        controller.window()->setGeometry(left);
        controller.window()->close();
    }

    WindowController controller(defaults, frame(), makeContent());
    controller.show();

    EXPECT_EQ(controller.window()->geometry(), left);
}

TEST_F(Windows, KnowTheirPlaceAlsoWhenTheProgramEndsUnderThem)
{
    const QRect left(20, 50, 400, 300);
    {
        WindowController controller(defaults, frame(), makeContent());
        controller.show();
        controller.window()->setGeometry(left);
    }

    WindowController controller(defaults, frame(), makeContent());
    controller.show();

    EXPECT_EQ(controller.window()->geometry(), left);
}

TEST_F(Windows, AreCentredWhereTheStoredPlaceCannotBeRead)
{
    defaults.setObject(kGeometryKey, QByteArrayLiteral("no geometry"));
    WindowController controller(defaults, frame(), makeContent());

    controller.show();

    EXPECT_EQ(controller.window()->size(), QSize(500, 400));
}

TEST_F(Windows, CloseByEscapeAndByTheDesktopsKey)
{
    WindowController controller(defaults, frame(), makeContent());
    controller.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(controller.window(), 30'000));

    QTest::keyClick(content, Qt::Key_Escape);
    EXPECT_FALSE(controller.window()->isVisible());

    controller.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(controller.window(), 30'000));
    QTest::keyClick(content, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(controller.window()->isVisible());
}

} // namespace
} // namespace gateway::shell

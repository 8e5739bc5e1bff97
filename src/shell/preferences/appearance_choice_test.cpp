#include "shell/preferences/appearance_choice.h"

#include "core/notification_names.h"
#include "platform/defaults/user_defaults.h"
#include "shell/testing/fake_portal.h"
#include "shell/theme/desktop_preferences.h"
#include "shell/theme/theme.h"
#include "tests/support/private_bus.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using core::Appearance;

/// A desktop that prefers light screens.
struct Appearances : ::testing::Test
{
    Appearances()
    {
        EXPECT_TRUE(portal.serve(theirs));
        portal.set(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"), 2U);
    }

    ~Appearances() override
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
        QDBusConnection::disconnectFromBus(QStringLiteral("program"));
    }

    bool becomes(Variant variant)
    {
        return QTest::qWaitFor([&] { return theme.variant() == variant; }, 30'000);
    }

    QTemporaryDir home;
    platform::UserDefaults defaults{home.filePath(QStringLiteral("defaults.sqlite"))};
    gateway::testing::PrivateBus bus;
    QDBusConnection theirs = QDBusConnection::connectToBus(bus.address(), QStringLiteral("desktop"));
    QDBusConnection ours = QDBusConnection::connectToBus(bus.address(), QStringLiteral("program"));
    testing::FakePortal portal;
    platform::NotificationCenter notifications;
    Theme theme;
    DesktopPreferences desktop{theme, ours};
};

TEST_F(Appearances, AreDarkUntilSomebodyChooses)
{
    const AppearanceChoice choice(theme, desktop, defaults, notifications);

    EXPECT_EQ(choice.current(), Appearance::dark);
    EXPECT_EQ(theme.variant(), Variant::dark);
}

TEST_F(Appearances, AreAppliedAndOutliveTheProgram)
{
    {
        AppearanceChoice choice(theme, desktop, defaults, notifications);
        choice.choose(Appearance::light);
        EXPECT_EQ(theme.variant(), Variant::light);
    }
    theme.setVariant(Variant::dark);

    const AppearanceChoice again(theme, desktop, defaults, notifications);

    EXPECT_EQ(again.current(), Appearance::light);
    EXPECT_EQ(theme.variant(), Variant::light);
}

TEST_F(Appearances, AreTheDesktopsWhereThatIsChosenAndNoLonger)
{
    AppearanceChoice choice(theme, desktop, defaults, notifications);

    choice.choose(Appearance::desktop);
    EXPECT_TRUE(becomes(Variant::light));
    choice.choose(Appearance::dark);
    EXPECT_EQ(theme.variant(), Variant::dark);
}

TEST_F(Appearances, FollowWhatIsChosenElsewhere)
{
    AppearanceChoice choice(theme, desktop, defaults, notifications);
    QSignalSpy changes(&choice, &AppearanceChoice::changed);

    defaults.setObject(core::kAppearanceKey, QStringLiteral("light"));
    choice.follow();
    EXPECT_EQ(choice.current(), Appearance::light);
    EXPECT_EQ(changes.count(), 1);

    defaults.setObject(core::kAppearanceKey, QStringLiteral("dark"));
    notifications.post(core::kSettingsChanged); // as after a command
    EXPECT_EQ(choice.current(), Appearance::dark);
    EXPECT_EQ(theme.variant(), Variant::dark);

    defaults.setObject(core::kAppearanceKey, QStringLiteral("light"));
    choice.follow();
    defaults.setObject(core::kAppearanceKey, QStringLiteral("pink"));
    choice.follow();
    EXPECT_EQ(choice.current(), Appearance::dark);
}

} // namespace
} // namespace gateway::shell

#include "shell/theme/desktop_preferences.h"

#include "shell/testing/fake_portal.h"
#include "shell/theme/theme.h"
#include "tests/support/private_bus.h"

#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kColorScheme = QStringLiteral("color-scheme");
const QString kInterface = QStringLiteral("org.gnome.desktop.interface");
const QString kAnimations = QStringLiteral("enable-animations");

/// A bus with a desktop on it, and a connection of ours to it.
class Desktop
{
public:
    Desktop()
        : m_theirs(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("desktop"))),
          m_ours(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("program")))
    {
        EXPECT_TRUE(portal.serve(m_theirs));
    }

    ~Desktop()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
        QDBusConnection::disconnectFromBus(QStringLiteral("program"));
    }

    const QDBusConnection &connection() const { return m_ours; }

    testing::FakePortal portal;

private:
    gateway::testing::PrivateBus m_bus;
    QDBusConnection m_theirs;
    QDBusConnection m_ours;
};

template <typename Condition>
bool comesTrue(Condition condition)
{
    return QTest::qWaitFor(condition, 30'000);
}

TEST(DesktopPreferences, ReduceMotionFromTheStartAndLater)
{
    Desktop desktop;
    desktop.portal.set(kInterface, kAnimations, false);
    Theme theme;

    const DesktopPreferences preferences(theme, desktop.connection());

    EXPECT_TRUE(comesTrue([&] { return theme.reducedMotion(); }));
    desktop.portal.set(kInterface, kAnimations, true);
    EXPECT_TRUE(comesTrue([&] { return !theme.reducedMotion(); }));
}

TEST(DesktopPreferences, ChangeTheVariantWhenItFollows)
{
    Desktop desktop;
    desktop.portal.set(kAppearance, kColorScheme, 2U);
    Theme theme;
    DesktopPreferences preferences(theme, desktop.connection());

    preferences.setVariantFollows(true);

    EXPECT_TRUE(comesTrue([&] { return theme.variant() == Variant::light; }));
    desktop.portal.set(kAppearance, kColorScheme, 1U);
    EXPECT_TRUE(comesTrue([&] { return theme.variant() == Variant::dark; }));
}

TEST(DesktopPreferences, LeaveTheVariantAloneUnlessAsked)
{
    Desktop desktop;
    Theme theme;
    const DesktopPreferences preferences(theme, desktop.connection());

    desktop.portal.set(kAppearance, kColorScheme, 2U);
    desktop.portal.set(kInterface, kAnimations, false);
    ASSERT_TRUE(comesTrue([&] { return theme.reducedMotion(); })); // told after the scheme

    EXPECT_EQ(theme.variant(), Variant::dark);
}

TEST(DesktopPreferences, AreDarkWhereTheDesktopHasNone)
{
    Desktop desktop;
    Theme theme;
    theme.setVariant(Variant::light);
    DesktopPreferences preferences(theme, desktop.connection());

    preferences.setVariantFollows(true);

    EXPECT_EQ(theme.variant(), Variant::dark);
}

TEST(DesktopPreferences, TakeNothingFromValuesOfAnotherKind)
{
    Desktop desktop;
    Theme theme;
    const DesktopPreferences preferences(theme, desktop.connection());

    desktop.portal.set(kInterface, kAnimations, QStringLiteral("no"));
    desktop.portal.set(kInterface, QStringLiteral("cursor-size"), 24);
    desktop.portal.set(kAppearance, kAnimations, false);
    desktop.portal.set(kAppearance, kColorScheme, QStringLiteral("night"));
    DesktopPreferences(theme, desktop.connection()).setVariantFollows(true);

    EXPECT_FALSE(theme.reducedMotion());
    EXPECT_EQ(theme.variant(), Variant::dark);
}

TEST(DesktopPreferences, DoWithoutABus)
{
    Theme theme;

    DesktopPreferences preferences(theme, QDBusConnection(QStringLiteral("nowhere")));
    preferences.setVariantFollows(true);

    EXPECT_FALSE(theme.reducedMotion());
    EXPECT_EQ(theme.variant(), Variant::dark);
}

} // namespace
} // namespace gateway::shell

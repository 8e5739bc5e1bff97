#include "shell/notifying/attention.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "shell/notifying/freedesktop_messages.h"
#include "tests/support/private_bus.h"

#include <QtCore/QStringList>
#include <QtCore/QVariantMap>
#include <QtTest/QTest>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;

constexpr AttentionCause kAllCauses[] = {AttentionCause::listenerFailed,
                                         AttentionCause::signInNeeded,
                                         AttentionCause::termsNeeded,
                                         AttentionCause::allowanceUsedUp,
                                         AttentionCause::diskNearlyFull};

class RecordingMessages final : public DesktopMessages
{
public:
    void show(const QString &title, const QString &body) override
    {
        titles += title;
        bodies += body;
    }

    QStringList titles;
    QStringList bodies;
};

struct Calls : ::testing::Test
{
    RecordingMessages messages;
    platform::testing::ManualClock clock;
    Attention attention{messages, clock};
};

TEST_F(Calls, AreMadeOnceInTenMinutesForOneCause)
{
    attention.call(AttentionCause::listenerFailed);
    clock.advance(10min - 1ns);
    attention.call(AttentionCause::listenerFailed);
    EXPECT_EQ(messages.titles.size(), 1);

    clock.advance(1ns);
    attention.call(AttentionCause::listenerFailed);
    EXPECT_EQ(messages.titles.size(), 2);
}

TEST_F(Calls, OfDifferentCausesDoNotHoldEachOtherBack)
{
    for (const AttentionCause cause : kAllCauses) {
        attention.call(cause);
    }

    EXPECT_EQ(messages.titles.size(), 5);
    messages.titles.removeDuplicates();
    EXPECT_EQ(messages.titles.size(), 5);
}

TEST_F(Calls, ThatAreHeldBackDoNotPutTheNextOneOff)
{
    attention.call(AttentionCause::diskNearlyFull);
    for (int minute = 0; minute < 10; ++minute) {
        clock.advance(1min);
        attention.call(AttentionCause::diskNearlyFull);
    }

    EXPECT_EQ(messages.titles.size(), 2);
}

TEST_F(Calls, SayWhatStillWorks)
{
    attention.call(AttentionCause::signInNeeded);

    EXPECT_TRUE(messages.bodies.first().contains(QStringLiteral("still received")));
}

/// A desktop that shows messages, on a bus.
class FakeDesktop : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    bool serve(QDBusConnection bus)
    {
        return bus.registerObject(
                   QStringLiteral("/org/freedesktop/Notifications"), this, QDBusConnection::ExportAllSlots) &&
               bus.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }

    QStringList shown;

public Q_SLOTS:
    uint Notify(const QString &program,
                uint /*replaces*/,
                const QString & /*icon*/,
                const QString &title,
                const QString &body,
                const QStringList & /*actions*/,
                const QVariantMap & /*hints*/,
                int /*lifetime*/)
    {
        shown += program + u'|' + title + u'|' + body;
        return 1;
    }
};

TEST(FreedesktopMessages, ReachTheDesktopsServiceWithoutMarkup)
{
    gateway::testing::PrivateBus bus;
    const QDBusConnection theirs = QDBusConnection::connectToBus(bus.address(), QStringLiteral("desktop"));
    const QDBusConnection ours = QDBusConnection::connectToBus(bus.address(), QStringLiteral("program"));
    FakeDesktop desktop;
    ASSERT_TRUE(desktop.serve(theirs));

    FreedesktopMessages(ours).show(QStringLiteral("Title"), QStringLiteral("a <b> c"));

    EXPECT_TRUE(QTest::qWaitFor([&] { return !desktop.shown.isEmpty(); }, 30'000));
    EXPECT_EQ(desktop.shown, QStringList{QStringLiteral("Quorin Gateway|Title|a &lt;b&gt; c")});
    QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
    QDBusConnection::disconnectFromBus(QStringLiteral("program"));
}

TEST(FreedesktopMessages, AreShownByNobodyWithoutABus)
{
    FreedesktopMessages messages(QDBusConnection(QStringLiteral("no such bus")));

    EXPECT_NO_FATAL_FAILURE(messages.show(QStringLiteral("Title"), QStringLiteral("Body")));
}

} // namespace
} // namespace gateway::shell

#include "attention_test.moc"

// The gateway beside a desktop's keyring that doesn't answer.

#include "platform/sockets/testing/loopback_port.h"
#include "tests/support/gateway_process.h"
#include "tests/support/private_bus.h"

#include <QtCore/QDir>
#include <QtCore/QJsonObject>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusVirtualObject>

#include <gtest/gtest.h>

namespace gateway::testing {

namespace {

/// A secret service that takes every question and answers none, as one that waits for its user to unlock it.
class MuteSecretService final : public QDBusVirtualObject
{
public:
    explicit MuteSecretService(const QString &bus)
        : m_connection(QDBusConnection::connectToBus(bus, QStringLiteral("mute")))
    {
        m_connection.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        EXPECT_TRUE(m_connection.registerService(QStringLiteral("org.freedesktop.secrets")));
    }

    ~MuteSecretService() override { QDBusConnection::disconnectFromBus(m_connection.name()); }

    MuteSecretService(const MuteSecretService &) = delete;
    MuteSecretService &operator=(const MuteSecretService &) = delete;

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &, const QDBusConnection &) override { return true; }

private:
    QDBusConnection m_connection;
};

} // namespace

TEST(MuteKeyring, HoldsNeitherTheStartNorTheListener)
{
    GatewayHome home;
    const PrivateBus bus;
    const MuteSecretService keyring(bus.address());
    const int port = platform::testing::freeLoopbackPort();
    ASSERT_EQ(home.run({QStringLiteral("setup"),
                        QStringLiteral("--ae-title"),
                        QStringLiteral("QUORIN"),
                        QStringLiteral("--port"),
                        QString::number(port)})
                  .exitCode,
              0);
    home.environment().insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());

    RunningGateway gateway(home);
    QJsonObject status = home.status();
    while (status[u"listener"][u"state"].toString() != QStringLiteral("listening") && !status.isEmpty()) {
        status = home.status();
    }

    EXPECT_EQ(status[u"listener"][u"port"].toInt(), port);
    EXPECT_EQ(status[u"session"][u"state"].toString(), QStringLiteral("notKnownYet"));
    EXPECT_FALSE(status[u"session"][u"signedIn"].toBool(true));
    EXPECT_TRUE(QDir(home.path()).entryList({QStringLiteral("*.token")}, QDir::Files).isEmpty());
}

} // namespace gateway::testing

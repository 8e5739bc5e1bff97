#include "platform/net_service/net_service.h"

#include "platform/system_log/system_log.h"
#include "tests/support/private_bus.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <optional>

namespace gateway::platform {

namespace {

using gateway::testing::PrivateBus;

const QString kAnnounced = QStringLiteral("The listener is announced on the network.");

const char *const kDaemonConfiguration = R"([server]
host-name=quorin-test
allow-interfaces=lo
use-ipv6=no
[wide-area]
enable-wide-area=no
[publish]
publish-hinfo=no
publish-workstation=no
)";

/// Notes what is written and wakes whoever waits for it.
class NotingSystemLog final : public SystemLog
{
public:
    void write(SystemLogLevel level, QString, QString, QString message) override
    {
        m_notes.append({level, message});
        m_loop.quit();
    }

    bool enabled(SystemLogLevel) const override { return true; }

    /// Runs the event loop until a message comes that hasn't been taken yet.
    std::pair<SystemLogLevel, QString> takeNext()
    {
        while (m_notes.isEmpty()) {
            m_loop.exec();
        }
        return m_notes.takeFirst();
    }

private:
    QList<std::pair<SystemLogLevel, QString>> m_notes;
    QEventLoop m_loop;
};

/// Gives the calling process a network of its own that has loopback alone, and a /run of its own for the
/// daemon's process id file: nothing of the machine is touched or told. Safe after a fork.
void enterEmptyMachine()
{
    const int socket = ::unshare(CLONE_NEWNET | CLONE_NEWNS) == 0 ? ::socket(AF_INET, SOCK_DGRAM, 0) : -1;
    ifreq loopback{};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool entered = socket >= 0 && ::ioctl(socket, SIOCSIFFLAGS, &loopback) == 0 &&
                         ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         ::mount("none", "/run", "tmpfs", 0, nullptr) == 0;
    if (!entered) {
        constexpr char kComplaint[] = "needs the right to make namespaces\n";
        static_cast<void>(::write(STDERR_FILENO, kComplaint, sizeof kComplaint - 1));
        ::_exit(99);
    }
}

/// A real Avahi daemon on a private bus and a private network.
class AvahiDaemon
{
public:
    explicit AvahiDaemon(const PrivateBus &bus)
    {
        const QString configuration = bus.folder() + QStringLiteral("/avahi.conf");
        QFile file(configuration);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(kDaemonConfiguration);
        file.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
        m_daemon.setProcessEnvironment(environment);
        m_daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        gateway::testing::startTethered(m_daemon,
                                        QStringLiteral("avahi-daemon"),
                                        {QStringLiteral("--file=") + configuration,
                                         QStringLiteral("--no-drop-root"),
                                         QStringLiteral("--no-chroot"),
                                         QStringLiteral("--no-rlimits")},
                                        enterEmptyMachine);
    }

    ~AvahiDaemon() { gateway::testing::endProcess(m_daemon); }

    AvahiDaemon(const AvahiDaemon &) = delete;
    AvahiDaemon &operator=(const AvahiDaemon &) = delete;

private:
    QProcess m_daemon;
};

class ANetService : public ::testing::Test
{
protected:
    ANetService() : busConnection(QDBusConnection::connectToBus(bus.address(), connectionName()))
    {
        EXPECT_TRUE(busConnection.isConnected());
    }

    void TearDown() override { QDBusConnection::disconnectFromBus(connectionName()); }

    /// The lines of `avahi-browse` about resolved DICOM services; browsing ends by itself.
    QStringList browse() const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
        process.setProcessEnvironment(environment);
        gateway::testing::startTethered(process,
                                        QStringLiteral("avahi-browse"),
                                        {QStringLiteral("-rptk"), QStringLiteral("_dicom._tcp")});
        EXPECT_TRUE(process.waitForFinished());
        QStringList lines = QString::fromUtf8(process.readAllStandardOutput()).split(u'\n');
        lines.removeIf([](const QString &line) { return !line.startsWith(u'='); });
        lines.sort();
        return lines;
    }

    /// Browses until `count` services are seen: a browser learns of a change by packets, a second later or
    /// so.
    QStringList browseFor(qsizetype count) const
    {
        constexpr int kMostTries = 30;
        QStringList lines = browse();
        for (int tries = 1; lines.size() != count && tries < kMostTries; ++tries) {
            QCoreApplication::processEvents();
            lines = browse();
        }
        return lines;
    }

    static NetServiceDescription description()
    {
        return {QStringLiteral("GATEWAY"),
                QStringLiteral("_dicom._tcp."),
                11112,
                {{QStringLiteral("AETitle"), "GATEWAY"}, {QStringLiteral("isQueryable"), "0"}}};
    }

    PrivateBus bus;
    QDBusConnection busConnection;
    NotingSystemLog log;

private:
    static QString connectionName() { return QStringLiteral("net service test"); }
};

} // namespace

TEST_F(ANetService, IsSeenByBrowsersUntilItsPublicationDies)
{
    const AvahiDaemon daemon(bus);
    AvahiPublishing publishing(log, busConnection);

    auto publication = publishing.publish(description());
    while (log.takeNext().second != kAnnounced) {
    }
    const QStringList lines = browseFor(1);
    ASSERT_EQ(lines.size(), 1);
    const QStringList fields = lines.front().split(u';');
    EXPECT_EQ(fields.value(1), QStringLiteral("lo"));
    EXPECT_EQ(fields.value(3), QStringLiteral("GATEWAY"));
    EXPECT_EQ(fields.value(4), QStringLiteral("_dicom._tcp"));
    EXPECT_EQ(fields.value(8), QStringLiteral("11112"));
    EXPECT_TRUE(fields.value(9).contains(QStringLiteral("\"AETitle=GATEWAY\"")))
        << fields.value(9).toStdString();
    EXPECT_TRUE(fields.value(9).contains(QStringLiteral("\"isQueryable=0\"")));

    publication.reset();
    EXPECT_TRUE(browseFor(0).isEmpty());
}

TEST_F(ANetService, TakesAnotherNameWhereItsOwnIsTaken)
{
    const AvahiDaemon daemon(bus);
    AvahiPublishing publishing(log, busConnection);

    const auto first = publishing.publish(description());
    while (log.takeNext().second != kAnnounced) {
    }
    NetServiceDescription other = description();
    other.port = 11113; // the very same record twice would be no collision
    const auto second = publishing.publish(other);
    const QStringList lines = browseFor(2);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0].split(u';').value(3), QStringLiteral("GATEWAY"));
    EXPECT_EQ(lines[1].split(u';').value(3), QStringLiteral("GATEWAY\\032\\0352"));
}

TEST_F(ANetService, WarnsWhereNoDaemonAnswersAndAnnouncesWhenOneComesAndComesBack)
{
    AvahiPublishing publishing(log, busConnection);

    const auto publication = publishing.publish(description());
    const auto [level, message] = log.takeNext();
    EXPECT_EQ(level, SystemLogLevel::error);
    EXPECT_TRUE(message.startsWith(QStringLiteral("The listener is not announced on the network: ")));

    for (int daemonNumber = 1; daemonNumber <= 2; ++daemonNumber) {
        const AvahiDaemon daemon(bus);
        while (log.takeNext().second != kAnnounced) {
        }
        EXPECT_EQ(browseFor(1).size(), 1) << "daemon " << daemonNumber;
    }
}

TEST_F(ANetService, WarnsWhereThereIsNoBus)
{
    AvahiPublishing publishing(log, QDBusConnection(QStringLiteral("no such connection")));

    const auto publication = publishing.publish(description());

    EXPECT_EQ(log.takeNext().second,
              QStringLiteral("The listener is not announced on the network: there is no system bus"));
}

} // namespace gateway::platform

#include "platform/keychain/secret_service_token_store.h"

#include "tests/support/private_bus.h"

#include <QtCore/QDir>
#include <QtCore/QEventLoop>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusServiceWatcher>
#include <QtDBus/QDBusVirtualObject>

#include <gtest/gtest.h>

#include <optional>
#include <thread>

namespace gateway::platform {

namespace {

using gateway::testing::PrivateBus;

const QString kHome = QStringLiteral("/homes/one");
const QString kKey = QStringLiteral("token");
const QString kSecretsName = QStringLiteral("org.freedesktop.secrets");

/// The session's bus of this whole program; set before anybody asks for it.
class SessionBus final : public ::testing::Environment
{
public:
    void SetUp() override
    {
        m_bus.emplace();
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().toUtf8());
    }

    void TearDown() override { m_bus.reset(); }

    const PrivateBus &bus() const { return *m_bus; }

private:
    std::optional<PrivateBus> m_bus;
};

const SessionBus *const session =
    dynamic_cast<SessionBus *>(::testing::AddGlobalTestEnvironment(new SessionBus)); // gtest owns it

/// A real keyring with an unlocked, empty collection in a throw-away home.
class Keyring
{
public:
    Keyring()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name :
             {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
            environment.insert(QString::fromLatin1(name), m_home.path());
        }
        m_daemon.setProcessEnvironment(environment);
        QDBusServiceWatcher watcher(
            kSecretsName, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForRegistration);
        QEventLoop loop;
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &loop, &QEventLoop::quit);
        gateway::testing::startTethered(m_daemon,
                                        QStringLiteral("gnome-keyring-daemon"),
                                        {QStringLiteral("--foreground"),
                                         QStringLiteral("--unlock"),
                                         QStringLiteral("--components=secrets"),
                                         QStringLiteral("--control-directory=") + m_home.path()});
        m_daemon.write("password of the keyring");
        m_daemon.closeWriteChannel();
        loop.exec();
    }

    ~Keyring() { gateway::testing::endProcess(m_daemon); }

    Keyring(const Keyring &) = delete;
    Keyring &operator=(const Keyring &) = delete;

    /// Everything that the keyring has written to the disk.
    QByteArray stored() const
    {
        QByteArray bytes;
        for (const QFileInfo &info :
             QDir(m_home.filePath(QStringLiteral("keyrings"))).entryInfoList(QDir::Files)) {
            QFile file(info.filePath());
            if (file.open(QIODevice::ReadOnly)) {
                bytes += file.readAll();
            }
        }
        return bytes;
    }

private:
    QTemporaryDir m_home;
    QProcess m_daemon;
};

} // namespace

TEST(TokenStoreWithoutASecretService, KeepsFiles)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("tokens"));

    ASSERT_EQ(SecretServiceTokenStore::presence(), SecretServiceTokenStore::Presence::none);
    const auto store = makeTokenStore(folder);

    EXPECT_TRUE(store->write(kKey, "secret"));
    EXPECT_EQ(store->read(kKey), TokenAnswer::found("secret"));
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 1);
}

/// A secret service that doesn't get round to answering: the bus says so for it.
class SilentService final : public QDBusVirtualObject
{
public:
    SilentService()
    {
        m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        m_bus.registerService(kSecretsName);
    }

    ~SilentService() override
    {
        m_bus.unregisterService(kSecretsName);
        QDBusConnection::disconnectFromBus(m_bus.name());
    }

    SilentService(const SilentService &) = delete;
    SilentService &operator=(const SilentService &) = delete;

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        return connection.send(message.createErrorReply(QDBusError::NoReply, QStringLiteral("No reply.")));
    }

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(session->bus().address(), QStringLiteral("silent"));
};

TEST(TokenStoreWithASilentSecretService, KeepsNothingInFilesAndGoesOnOnceItAnswers)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("tokens"));
    const auto store = makeTokenStore(folder);
    {
        const SilentService silent;
        QEventLoop loop;
        std::thread asker([&] {
            EXPECT_EQ(SecretServiceTokenStore::presence(), SecretServiceTokenStore::Presence::silent);
            EXPECT_EQ(store->read(kKey), TokenAnswer::notReached());
            EXPECT_FALSE(store->write(kKey, "secret"));
            QMetaObject::invokeMethod(&loop, &QEventLoop::quit);
        });
        loop.exec();
        asker.join();
        EXPECT_FALSE(QFileInfo::exists(folder));
    }

    const Keyring keyring;
    EXPECT_TRUE(store->write(kKey, "secret"));
    EXPECT_EQ(store->read(kKey), TokenAnswer::found("secret"));
    EXPECT_FALSE(QFileInfo::exists(folder));
}

TEST(SecretServiceTokenStore, RefusesWhenNoServiceAnswers)
{
    SecretServiceTokenStore store(kHome);

    EXPECT_EQ(store.read(kKey), TokenAnswer::notReached());
    EXPECT_FALSE(store.write(kKey, "secret"));
}

TEST(SecretServiceTokenStore, KeepsSecretsInARealKeyring)
{
    const Keyring keyring;
    const QByteArray secret("to\0ken\xff", 7);
    ASSERT_EQ(SecretServiceTokenStore::presence(), SecretServiceTokenStore::Presence::answers);
    {
        SecretServiceTokenStore store(kHome);
        EXPECT_EQ(store.read(kKey), TokenAnswer::absent());
        EXPECT_TRUE(store.write(kKey, "older"));
        EXPECT_TRUE(store.write(kKey, secret));
    }

    SecretServiceTokenStore next(kHome);
    EXPECT_EQ(next.read(kKey), TokenAnswer::found(secret));
    EXPECT_EQ(SecretServiceTokenStore(QStringLiteral("/homes/two")).read(kKey), TokenAnswer::absent());
    EXPECT_FALSE(keyring.stored().isEmpty());
    EXPECT_TRUE(next.remove(kKey));
    EXPECT_TRUE(next.remove(kKey)) << "a missing secret is no failure";
    EXPECT_EQ(next.read(kKey), TokenAnswer::absent());
}

TEST(SecretServiceTokenStore, FindsTheServiceAgainAfterItsRestartAndFromAnyThread)
{
    SecretServiceTokenStore store(kHome);
    {
        const Keyring keyring;
        EXPECT_TRUE(store.write(kKey, "gone with its keyring"));
    }
    EXPECT_EQ(store.read(kKey), TokenAnswer::notReached());
    EXPECT_FALSE(store.remove(kKey)) << "it may still be there";
    const Keyring keyring;

    std::thread([&] { EXPECT_TRUE(store.write(kKey, "secret")); }).join();
    std::thread([&] { EXPECT_EQ(store.read(kKey), TokenAnswer::found("secret")); }).join();
}

TEST(TokenStoreWithASecretService, KeepsNoFiles)
{
    const Keyring keyring;
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("tokens"));

    const auto store = makeTokenStore(folder);

    EXPECT_TRUE(store->write(kKey, "secret"));
    EXPECT_EQ(makeTokenStore(folder)->read(kKey), TokenAnswer::found("secret"));
    EXPECT_FALSE(QFileInfo::exists(folder));
}

} // namespace gateway::platform

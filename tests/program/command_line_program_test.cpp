#include "tests/support/gateway_process.h"

#include "platform/files/home_lock.h"
#include "platform/sockets/testing/loopback_port.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <csignal>
#include <optional>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace gateway::testing {
namespace {

using platform::testing::freeLoopbackPort;
using platform::testing::LoopbackPort;

/// This process as the owner of somebody's home.
class OtherOwner
{
public:
    explicit OtherOwner(const QString &lockFile)
    {
        EXPECT_TRUE(QDir().mkpath(QFileInfo(lockFile).absolutePath()));
        m_lock = platform::HomeLock::tryLock(lockFile);
        EXPECT_TRUE(m_lock.has_value());
    }

private:
    std::optional<platform::HomeLock> m_lock;
};

class Program : public ::testing::Test
{
protected:
    /// Setup on a free port; taken again should somebody else be quicker.
    ProgramResult setUp()
    {
        ProgramResult result;
        for (int attempt = 0; attempt < 5 && result.exitCode != 0; ++attempt) {
            result = m_home.run({u"setup"_qs,
                                 u"--ae-title"_qs,
                                 u"GATE"_qs,
                                 u"--port"_qs,
                                 QString::number(freeLoopbackPort()),
                                 u"--no-bonjour"_qs});
        }
        return result;
    }

    /// The status once the listener isn't only about to listen.
    QJsonObject onceListening()
    {
        QJsonObject status = m_home.status();
        while (status[u"listener"][u"state"].toString() == u"starting"_qs) {
            status = m_home.status();
        }
        return status;
    }

    /// Waits until an instance answers; false when none ever does.
    bool answers() const
    {
        for (int attempt = 0; attempt < 1'000; ++attempt) {
            if (!m_home.status().isEmpty()) {
                return true;
            }
        }
        return false;
    }

    static void expectOneSentence(const QString &text)
    {
        EXPECT_EQ(text.trimmed().count(u'\n'), 0) << text.toStdString();
        EXPECT_TRUE(text.trimmed().endsWith(u'.')) << text.toStdString();
    }

    QByteArray contentOf(const QString &name) const
    {
        QFile file(m_home.path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    void writeFile(const QString &name, const QByteArray &content) const
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(m_home.path(name)).absolutePath()));
        QFile file(m_home.path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    GatewayHome m_home;
};

TEST_F(Program, PrintsItsVersion)
{
    const ProgramResult result = m_home.run({u"--version"_qs});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, u"quorin-gateway " QUORIN_VERSION "\n"_qs);
}

TEST_F(Program, SaysThatThereIsNoDisplayAndWhatToDoThen)
{
    const ProgramResult result = m_home.run({});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_TRUE(result.error.contains(u"--headless"_qs));
    expectOneSentence(result.error);
}

TEST_F(Program, SaysThatTheDisplayCannotBeOpened)
{
    m_home.environment().insert(u"DISPLAY"_qs, u"nowhere:0"_qs);

    const ProgramResult result = m_home.run({});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.error.contains(u"--headless"_qs));
    expectOneSentence(result.error);
}

TEST_F(Program, SaysThatItsWindowsAreNotInstalled)
{
    const QString alone = m_home.path(u"quorin-gateway"_qs);
    ASSERT_TRUE(QFile::copy(GatewayHome::program(), alone));
    m_home.environment().insert(u"QT_QPA_PLATFORM"_qs, u"offscreen"_qs);

    const ProgramResult result = m_home.run(alone, {});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.error.contains(u"--headless"_qs));
    expectOneSentence(result.error);
}

TEST_F(Program, RunsWithItsWindowsUntilItIsToldToQuit)
{
    m_home.environment().insert(u"QT_QPA_PLATFORM"_qs, u"offscreen"_qs);
    for (const bool isSetUp : {false, true}) {
        if (isSetUp) {
            ASSERT_EQ(setUp().exitCode, 0);
        }
        RunningCommand desktop(m_home, {});
        ASSERT_TRUE(answers());
        EXPECT_EQ(m_home.status()[u"setup"][u"required"].toBool(), !isSetUp);

        const ProgramResult second = m_home.run({});
        EXPECT_EQ(second.exitCode, 0);
        EXPECT_TRUE(second.out.startsWith(u"The gateway runs already"_qs)) << second.error.toStdString();

        desktop.signal(SIGTERM); // not even a setup that can't be left holds it back
        EXPECT_EQ(desktop.result().exitCode, 0);
    }
}

TEST_F(Program, SaysThatNoInstanceRuns)
{
    for (const QStringList &command :
         {QStringList{u"status"_qs}, QStringList{u"upload"_qs}, QStringList{u"sign-out"_qs}}) {
        const ProgramResult result = m_home.run(command);
        EXPECT_EQ(result.exitCode, 3) << command.front().toStdString();
        EXPECT_TRUE(result.error.startsWith(u"No gateway runs"_qs));
    }
    EXPECT_EQ(m_home.run({u"sign-in"_qs, u"--email"_qs, u"a@b.example"_qs}, "secret\n").exitCode, 3);
}

TEST_F(Program, KeepsSettingsWithoutAnInstance)
{
    EXPECT_EQ(m_home.run({u"settings"_qs, u"set"_qs, u"wadoLimit"_qs, u"6"_qs}).exitCode, 0);

    EXPECT_EQ(m_home.run({u"settings"_qs, u"get"_qs, u"wadoLimit"_qs}).out, u"6\n"_qs);
    EXPECT_TRUE(m_home.run({u"settings"_qs, u"list"_qs}).out.contains(u"wadoLimit = 6\n"_qs));
}

TEST_F(Program, RefusesASettingThatNoScreenWouldTake)
{
    const ProgramResult refused =
        m_home.run({u"settings"_qs, u"set"_qs, u"ListenerSettings.port"_qs, u"70000"_qs});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.error, u"Port must be a number between 1 and 65535.\n"_qs);

    EXPECT_EQ(m_home.run({u"settings"_qs, u"get"_qs, u"nonsense"_qs}).exitCode, 2);
}

TEST_F(Program, SetsUpWithoutAnInstance)
{
    const ProgramResult result = setUp();

    EXPECT_EQ(result.exitCode, 0) << result.error.toStdString();
    EXPECT_EQ(m_home.run({u"settings"_qs, u"get"_qs, u"GatewaySetupVersion"_qs}).out, u"1\n"_qs);
    EXPECT_EQ(m_home.run({u"settings"_qs, u"get"_qs, u"ListenerSettings.aeTitle"_qs}).out, u"GATE\n"_qs);
}

TEST_F(Program, KeepsWhatASetupIsNotTold)
{
    const QString inbox = m_home.path(u"in box"_qs);
    ASSERT_TRUE(QDir().mkpath(inbox));
    for (const bool isRunning : {false, true}) {
        std::optional<RunningGateway> gateway;
        if (isRunning) {
            gateway.emplace(m_home);
        }
        ASSERT_EQ(setUp().exitCode, 0);
        EXPECT_EQ(m_home.run({u"settings"_qs, u"set"_qs, u"GatewayAutoDelete"_qs, u"30-days"_qs}).exitCode,
                  0);
        EXPECT_EQ(m_home.run({u"settings"_qs, u"set"_qs, u"ListenerDestinationFolder"_qs, inbox}).exitCode,
                  0);

        ASSERT_EQ(setUp().exitCode, 0);

        EXPECT_EQ(m_home.run({u"settings"_qs, u"get"_qs, u"GatewayAutoDelete"_qs}).out, u"30-days\n"_qs);
        EXPECT_EQ(m_home.run({u"settings"_qs, u"get"_qs, u"ListenerDestinationFolder"_qs}).out,
                  inbox + u'\n');
    }
}

TEST_F(Program, TakesAPortOnlyAsItIsTyped)
{
    const ProgramResult result =
        m_home.run({u"setup"_qs, u"--ae-title"_qs, u"G"_qs, u"--port"_qs, u"11a12"_qs});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error, u"Port must be a number between 1 and 65535.\n"_qs);
}

TEST_F(Program, RefusesASetupOnAPortInUse)
{
    const LoopbackPort occupied(LoopbackPort::Use::listening);

    const ProgramResult result = m_home.run(
        {u"setup"_qs, u"--ae-title"_qs, u"GATE"_qs, u"--port"_qs, QString::number(occupied.port())});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.error,
              u"Port %1 is already in use by another process.\n"_qs.arg(QString::number(occupied.port())));
    EXPECT_EQ(m_home.run({u"settings"_qs, u"get"_qs, u"GatewaySetupCompleted"_qs}).out, u"false\n"_qs);
}

TEST_F(Program, RefusesARetentionOfNoKnownForm)
{
    EXPECT_EQ(m_home
                  .run({u"setup"_qs,
                        u"--ae-title"_qs,
                        u"G"_qs,
                        u"--port"_qs,
                        u"11112"_qs,
                        u"--auto-delete"_qs,
                        u"sometime"_qs})
                  .exitCode,
              2);
}

TEST_F(Program, SaysWhatToDoBeforeSetupAndNeitherReceivesNorSends)
{
    RunningGateway gateway(m_home);

    const QJsonObject status = m_home.status();
    EXPECT_EQ(status[u"setup"][u"required"].toBool(), true);
    EXPECT_EQ(status[u"listener"][u"state"].toString(), u"stopped"_qs);
    const ProgramResult upload = m_home.run({u"upload"_qs});
    EXPECT_EQ(upload.exitCode, 1);
    expectOneSentence(upload.error);
    const ProgramResult ended = gateway.end(SIGTERM);
    EXPECT_TRUE(ended.error.contains(u" setup --ae-title"_qs)) << ended.error.toStdString();
}

TEST_F(Program, SetsUpTheRunningInstanceAndListens)
{
    const RunningGateway gateway(m_home);

    const ProgramResult result = setUp();

    EXPECT_EQ(result.exitCode, 0) << result.error.toStdString();
    const QJsonObject status = onceListening();
    EXPECT_EQ(status[u"setup"][u"required"].toBool(true), false);
    EXPECT_EQ(status[u"listener"][u"state"].toString(), u"listening"_qs);
    EXPECT_EQ(status[u"listener"][u"aeTitle"].toString(), u"GATE"_qs);
    EXPECT_TRUE(status[u"listener"][u"address"].toString().startsWith(u"127.0.0.1:"_qs));
}

TEST_F(Program, ListensAtItsNextStart)
{
    ASSERT_EQ(setUp().exitCode, 0);

    const RunningGateway gateway(m_home);

    EXPECT_EQ(onceListening()[u"listener"][u"state"].toString(), u"listening"_qs);
}

TEST_F(Program, StaysUpWhenItsPortIsTakenAndSaysSo)
{
    const LoopbackPort occupied(LoopbackPort::Use::listening);
    ASSERT_EQ(setUp().exitCode, 0);
    ASSERT_EQ(
        m_home.run({u"settings"_qs, u"set"_qs, u"ListenerSettings.port"_qs, QString::number(occupied.port())})
            .exitCode,
        0);

    RunningGateway gateway(m_home);
    while (m_home.status()[u"listener"][u"error"].isNull()) {
    }

    EXPECT_EQ(m_home.status()[u"listener"][u"state"].toString(), u"failed"_qs);
    const ProgramResult ended = gateway.end(SIGTERM);
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_TRUE(ended.error.contains(u"DIMSE Listener Error: Failed to start DIMSE listener on port "_qs));
}

TEST_F(Program, HandsASecondStartToTheFirst)
{
    const RunningGateway gateway(m_home);

    const ProgramResult second = m_home.run({u"--headless"_qs});

    EXPECT_EQ(second.exitCode, 0);
    EXPECT_TRUE(second.out.contains(QString::number(gateway.processId())));
    EXPECT_FALSE(m_home.status().isEmpty());
}

TEST_F(Program, SaysWhoUsesItsHomeWithoutAnswering)
{
    const OtherOwner owner(m_home.path(u"run/instance.lock"_qs));

    const ProgramResult start = m_home.run({u"--headless"_qs});

    EXPECT_EQ(start.exitCode, 1);
    expectOneSentence(start.error);
    EXPECT_TRUE(start.error.contains(QString::number(::getpid()))) << start.error.toStdString();
}

TEST_F(Program, QuitsOnBothSignals)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        RunningGateway gateway(m_home);

        EXPECT_EQ(gateway.end(signal).exitCode, 0);
        EXPECT_EQ(m_home.run({u"status"_qs}).exitCode, 3);
    }
}

TEST_F(Program, ComesUpAgainAfterItWasKilled)
{
    ASSERT_EQ(setUp().exitCode, 0);
    {
        RunningGateway gateway(m_home);
        gateway.end(SIGKILL);
    }

    const RunningGateway gateway(m_home);

    EXPECT_EQ(m_home.status()[u"listener"][u"aeTitle"].toString(), u"GATE"_qs);
}

TEST_F(Program, KeepsWhatItCannotReadOfItsInbox)
{
    ASSERT_EQ(setUp().exitCode, 0);
    const QString name = u"quorin-%1-1.dcm"_qs.arg(QString(32, u'a'));
    writeFile(u"Documents/Import/"_qs + name, "acknowledged, and no image");
    writeFile(u"Documents/Import/holiday.jpg"_qs, "somebody's own");

    const RunningGateway gateway(m_home);
    const QDir aside(m_home.path(u"Documents/Import/.rejected"_qs));
    while (aside.entryList(QDir::Files).isEmpty()) {
        ASSERT_FALSE(m_home.status().isEmpty());
    }

    EXPECT_EQ(contentOf(u"Documents/Import/.rejected/"_qs + aside.entryList(QDir::Files).front()),
              "acknowledged, and no image");
    EXPECT_EQ(contentOf(u"Documents/Import/holiday.jpg"_qs), "somebody's own");
}

TEST_F(Program, RefusesCorruptDefaultsAndLeavesThemAlone)
{
    const QByteArray garbage(5000, 'x');
    writeFile(u"defaults.sqlite"_qs, garbage);

    const ProgramResult start = m_home.run({u"--headless"_qs});

    EXPECT_EQ(start.exitCode, 1);
    expectOneSentence(start.error);
    EXPECT_EQ(m_home.run({u"settings"_qs, u"list"_qs}).exitCode, 1);
    EXPECT_EQ(contentOf(u"defaults.sqlite"_qs), garbage);
}

TEST_F(Program, RefusesACorruptIndexAndLeavesItAlone)
{
    const QByteArray garbage(5000, 'x');
    writeFile(u"index/QuorinGateway.sqlite"_qs, garbage);

    const ProgramResult start = m_home.run({u"--headless"_qs});

    EXPECT_EQ(start.exitCode, 1);
    expectOneSentence(start.error);
    EXPECT_EQ(contentOf(u"index/QuorinGateway.sqlite"_qs), garbage);
}

TEST_F(Program, RefusesAHomeThatCannotBeWritten)
{
    writeFile(u"occupied"_qs, "a file");

    const ProgramResult start = m_home.run({u"--home"_qs, m_home.path(u"occupied"_qs), u"--headless"_qs});

    EXPECT_EQ(start.exitCode, 1);
    expectOneSentence(start.error);
    EXPECT_EQ(contentOf(u"occupied"_qs), "a file");
}

TEST_F(Program, SignsInAndOut)
{
    const RunningCloud cloud(m_home);
    m_home.environment().insert(u"QUORIN_CLOUD_URL"_qs, cloud.address());
    const RunningGateway gateway(m_home);
    const QStringList signIn{u"sign-in"_qs, u"--email"_qs, u"demo@quorin.example"_qs};

    const ProgramResult refused = m_home.run(signIn, "wrong\n");
    EXPECT_EQ(refused.exitCode, 1);
    expectOneSentence(refused.error);
    EXPECT_FALSE(m_home.status()[u"session"][u"signedIn"].toBool());

    const ProgramResult accepted = m_home.run(signIn, "demo-password\n");
    EXPECT_EQ(accepted.exitCode, 0) << accepted.error.toStdString();
    EXPECT_TRUE(m_home.status()[u"session"][u"signedIn"].toBool());

    EXPECT_EQ(m_home.run({u"sign-out"_qs}).exitCode, 0);
    EXPECT_FALSE(m_home.status()[u"session"][u"signedIn"].toBool());
}

TEST_F(Program, SaysThatTheCloudIsAway)
{
    const RunningGateway gateway(m_home);

    const ProgramResult result = m_home.run({u"sign-in"_qs, u"--email"_qs, u"a@b.example"_qs}, "secret\n");

    EXPECT_EQ(result.exitCode, 1);
    expectOneSentence(result.error);
}

TEST_F(Program, TellsItsServiceManagerHowItDoes)
{
    ASSERT_EQ(setUp().exitCode, 0);
    const QString path = m_home.path(u"notify"_qs);
    const int manager = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(path);
    ASSERT_LT(name.size(), static_cast<qsizetype>(sizeof(address.sun_path)));
    std::copy(name.begin(), name.end(), address.sun_path);
    ASSERT_EQ(::bind(manager, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
    QByteArrayList statusLines;
    const auto heard = [manager, &statusLines] {
        char text[1024];
        QByteArray word;
        do {
            const ssize_t count = ::recv(manager, text, sizeof(text), 0);
            word = QByteArray(text, std::max<ssize_t>(count, 0));
            if (word.startsWith("STATUS=")) {
                statusLines.append(word);
            }
        } while (word.startsWith("STATUS="));
        return word;
    };
    m_home.environment().insert(u"NOTIFY_SOCKET"_qs, path);
    m_home.environment().insert(u"WATCHDOG_USEC"_qs, u"200000"_qs);

    RunningGateway gateway(m_home);

    QByteArray word = heard();
    EXPECT_EQ(word, "READY=1");
    EXPECT_EQ(heard(), "WATCHDOG=1");
    while (statusLines.isEmpty() || !statusLines.back().startsWith("STATUS=Listening as GATE on port ")) {
        EXPECT_EQ(heard(), "WATCHDOG=1");
    }
    EXPECT_TRUE(statusLines.back().endsWith("; all images sent; signed out")) << statusLines.back().data();
    gateway.end(SIGTERM);
    do {
        word = heard();
    } while (word == "WATCHDOG=1");
    EXPECT_EQ(word, "STOPPING=1");
    ::close(manager);
}

} // namespace
} // namespace gateway::testing

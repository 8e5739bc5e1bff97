#include "tests/support/private_bus.h"

#include <QtCore/QFile>

#include <sys/prctl.h>

#include <csignal>

namespace gateway::testing {

namespace {

const char *const kConfiguration = R"(<busconfig>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_type="*"/>
    <allow send_destination="*"/>
    <allow receive_type="*"/>
  </policy>
</busconfig>
)";

} // namespace

void startTethered(QProcess &process,
                   const QString &program,
                   const QStringList &arguments,
                   std::function<void()> setUp)
{
    process.setChildProcessModifier([setUp = std::move(setUp)] {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        setUp();
    });
    process.start(program, arguments);
    if (!process.waitForStarted()) {
        qFatal("%s didn't start", qPrintable(program));
    }
}

void endProcess(QProcess &process)
{
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
}

PrivateBus::PrivateBus()
{
    QFile configuration(m_folder.filePath(QStringLiteral("bus.conf")));
    if (!configuration.open(QIODevice::WriteOnly)) {
        qFatal("the bus's configuration can't be written");
    }
    configuration.write(QString::fromLatin1(kConfiguration).arg(m_folder.path()).toUtf8());
    configuration.close();

    startTethered(m_daemon,
                  QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--config-file=") + configuration.fileName(),
                   QStringLiteral("--nofork"),
                   QStringLiteral("--nopidfile"),
                   QStringLiteral("--print-address=1")});
    while (!m_daemon.canReadLine()) {
        if (!m_daemon.waitForReadyRead()) {
            qFatal("the bus didn't come up: %s", m_daemon.readAllStandardError().constData());
        }
    }
    m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
}

PrivateBus::~PrivateBus()
{
    endProcess(m_daemon);
}

} // namespace gateway::testing

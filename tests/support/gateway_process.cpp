#include "tests/support/gateway_process.h"

#include <QtCore/QJsonDocument>

#include <csignal>

#include <gtest/gtest.h>

namespace gateway::testing {

namespace {

/// Far longer than anything takes; a test that gets there has failed.
constexpr int kPatienceMilliseconds = 90'000;

ProgramResult resultOf(QProcess &process)
{
    if (!process.waitForFinished(kPatienceMilliseconds)) {
        process.kill();
        process.waitForFinished(kPatienceMilliseconds);
        ADD_FAILURE() << "the program didn't end";
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

GatewayHome::GatewayHome()
{
    for (const char *name :
         {"PATH", "HOME", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
        if (qEnvironmentVariableIsSet(name)) {
            m_environment.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
        }
    }
    m_environment.insert(QStringLiteral("QUORIN_GATEWAY_HOME"), path());
    m_environment.insert(QStringLiteral("QUORIN_GATEWAY_BIND"), QStringLiteral("127.0.0.1"));
    // An address where nothing answers, so that no test reaches beyond this machine.
    m_environment.insert(QStringLiteral("QUORIN_CLOUD_URL"), QStringLiteral("http://127.0.0.1:9"));
}

QString GatewayHome::program()
{
    return QStringLiteral(QUORIN_GATEWAY_PROGRAM);
}

ProgramResult GatewayHome::run(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(program, arguments);
    return resultOf(process);
}

ProgramResult GatewayHome::run(const QStringList &arguments, const QByteArray &input) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(QStringLiteral(QUORIN_GATEWAY_PROGRAM), arguments);
    process.write(input);
    process.closeWriteChannel();
    return resultOf(process);
}

ProgramResult GatewayHome::runIntoHead(const QStringList &arguments) const
{
    QProcess command;
    QProcess head;
    command.setProcessEnvironment(m_environment);
    command.setStandardOutputProcess(&head);
    command.start(QStringLiteral(QUORIN_GATEWAY_PROGRAM), arguments);
    head.start(QStringLiteral("head"), {QStringLiteral("-n"), QStringLiteral("1")});
    ProgramResult result = resultOf(command);
    result.out = resultOf(head).out;
    return result;
}

QJsonObject GatewayHome::status() const
{
    const ProgramResult result = run({QStringLiteral("status"), QStringLiteral("--json")});
    return QJsonDocument::fromJson(result.out.toUtf8()).object();
}

RunningGateway::RunningGateway(GatewayHome &home, const QStringList &options) : m_home(home)
{
    m_process.setProcessEnvironment(home.environment());
    m_process.start(QStringLiteral(QUORIN_GATEWAY_PROGRAM),
                    options + QStringList{QStringLiteral("--headless")});
    while (m_home.status().isEmpty()) {
        if (m_process.waitForFinished(50)) {
            ADD_FAILURE() << "the gateway ended: " << m_process.readAllStandardError().toStdString();
            return;
        }
    }
}

RunningGateway::~RunningGateway()
{
    if (m_process.state() != QProcess::NotRunning) {
        end(SIGTERM);
    }
}

QString RunningGateway::errorText()
{
    m_process.waitForReadyRead(0);
    m_error += m_process.readAllStandardError();
    return QString::fromUtf8(m_error);
}

ProgramResult RunningGateway::end(int signal)
{
    ::kill(static_cast<pid_t>(m_process.processId()), signal);
    ProgramResult result = resultOf(m_process);
    result.error.prepend(QString::fromUtf8(m_error));
    return result;
}

RunningCommand::RunningCommand(const GatewayHome &home, const QStringList &arguments)
{
    m_process.setProcessEnvironment(home.environment());
    m_process.start(QStringLiteral(QUORIN_GATEWAY_PROGRAM), arguments);
}

RunningCommand::~RunningCommand()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(kPatienceMilliseconds);
    }
}

QString RunningCommand::readLine()
{
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(kPatienceMilliseconds)) {
            ADD_FAILURE() << "no line came: " << m_process.readAllStandardError().toStdString();
            return {};
        }
    }
    return QString::fromUtf8(m_process.readLine()).chopped(1);
}

void RunningCommand::signal(int signal) const
{
    ::kill(static_cast<pid_t>(m_process.processId()), signal);
}

ProgramResult RunningCommand::result()
{
    return resultOf(m_process);
}

RunningCloud::RunningCloud(const GatewayHome &home)
{
    m_process.start(QStringLiteral(QUORIN_CLOUD_PROGRAM),
                    {QStringLiteral("--listen"),
                     QStringLiteral("127.0.0.1:0"),
                     QStringLiteral("--data"),
                     home.path(QStringLiteral("cloud")),
                     QStringLiteral("--user"),
                     QStringLiteral("demo@quorin.example:demo-password")});
    while (!m_process.canReadLine() && m_process.waitForReadyRead(kPatienceMilliseconds)) {
    }
    m_address = QString::fromUtf8(m_process.readLine()).trimmed().section(u' ', -1);
    EXPECT_TRUE(m_address.startsWith(QStringLiteral("http://"))) << m_address.toStdString();
}

RunningCloud::~RunningCloud()
{
    m_process.terminate();
    resultOf(m_process);
}

} // namespace gateway::testing

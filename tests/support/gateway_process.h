#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

namespace gateway::testing {

/// How a program ended.
struct ProgramResult
{
    int exitCode = -1; ///< -1 when it crashed or didn't end
    QString out;
    QString error;
};

/// A throw-away home, and the program's commands in it. Thread: main.
class GatewayHome
{
public:
    QString path(const QString &name = {}) const { return m_folder.filePath(name); }

    /// The environment of every program started here: nothing of the user's own.
    QProcessEnvironment &environment() { return m_environment; }
    const QProcessEnvironment &environment() const { return m_environment; }

    /// The built program.
    static QString program();

    /// Runs one command to its end.
    ProgramResult run(const QStringList &arguments, const QByteArray &input = {}) const;

    /// The same with another program.
    ProgramResult run(const QString &program, const QStringList &arguments) const;

    /// Runs one command into a reader that goes after the first line, and waits for the end of both; `out` is
    /// that line.
    ProgramResult runIntoHead(const QStringList &arguments) const;

    /// `status --json` of the running instance; empty where none answers.
    QJsonObject status() const;

    GatewayHome();

private:
    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
};

/// A gateway that runs without a display in a throw-away home, on loopback; ended with its owner.
class RunningGateway
{
public:
    /// Starts it and waits until it answers.
    explicit RunningGateway(GatewayHome &home, const QStringList &options = {});
    ~RunningGateway();

    RunningGateway(const RunningGateway &) = delete;
    RunningGateway &operator=(const RunningGateway &) = delete;

    qint64 processId() const { return m_process.processId(); }

    /// What it has written to standard error so far.
    QString errorText();

    /// Sends a signal and waits for the end.
    ProgramResult end(int signal);

private:
    GatewayHome &m_home;
    QProcess m_process;
    QByteArray m_error;
};

/// A command that goes on until something ends it. Ended with its owner.
class RunningCommand
{
public:
    RunningCommand(const GatewayHome &home, const QStringList &arguments);
    ~RunningCommand();

    RunningCommand(const RunningCommand &) = delete;
    RunningCommand &operator=(const RunningCommand &) = delete;

    /// Waits for one whole line on its standard output; without the line feed.
    QString readLine();

    /// Sends a signal.
    void signal(int signal) const;

    /// Waits for the end.
    ProgramResult result();

private:
    QProcess m_process;
};

/// A local cloud with one account, demo@quorin.example and "demo-password"; ended with its owner.
class RunningCloud
{
public:
    explicit RunningCloud(const GatewayHome &home);
    ~RunningCloud();

    RunningCloud(const RunningCloud &) = delete;
    RunningCloud &operator=(const RunningCloud &) = delete;

    const QString &address() const { return m_address; }

private:
    QProcess m_process;
    QString m_address;
};

} // namespace gateway::testing

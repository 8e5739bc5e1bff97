#pragma once

#include "cloud/testing/child_program.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

namespace gateway::cloud::testing {

/// The built server program on a free port, with a throw-away data folder that outlives restarts.
///
/// Owner: a test. Thread: one at a time.
class CloudProcess
{
public:
    /// \param program    path of quorin-cloud.
    /// \param arguments  besides `--listen` and `--data`.
    CloudProcess(QString program, QStringList arguments);

    /// Starts the program and waits until it listens. \return false when it ended instead.
    bool start();

    /// Asks it to end and waits for that. \return its exit code, or -1 when it crashed.
    int stop();

    /// Ends it at once.
    void kill();

    /// Such as `http://127.0.0.1:34567`.
    QString url() const { return m_url; }

    pid_t pid() const { return m_process.pid(); }

    QString dataFolder() const { return m_home.filePath(QStringLiteral("data")); }

    QString standardError() const { return m_process.standardError(); }

private:
    const QString m_program;
    const QStringList m_arguments;
    QTemporaryDir m_home;
    ChildProgram m_process;
    QString m_url;
};

} // namespace gateway::cloud::testing

#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <sys/types.h>

namespace gateway::cloud::testing {

/// A program that a test starts, by posix_spawn: unlike Qt's way of starting children it works under
/// ThreadSanitizer. Ends with its owner.
///
/// Owner: a test. Thread: one at a time.
class ChildProgram
{
public:
    ChildProgram() = default;
    ~ChildProgram();
    ChildProgram(const ChildProgram &) = delete;
    ChildProgram &operator=(const ChildProgram &) = delete;

    /// Starts `command`, whose first word is a path or a name on the PATH. The last one must have ended.
    bool start(const QStringList &command);

    /// The next line of its standard output, without the line's end; waits for it. Empty at the end.
    QString readLine();

    /// Waits for the end. \return the exit code, or -1 when a signal ended it or it never started.
    int wait();

    /// Sends a signal, if it runs.
    void signal(int number) const;

    pid_t pid() const { return m_pid; }

    /// What it has written to its standard error so far.
    QString standardError() const;

private:
    QString errorPath() const { return m_folder.filePath(QStringLiteral("stderr")); }

    QTemporaryDir m_folder;
    pid_t m_pid = -1;
    int m_output = -1;
};

} // namespace gateway::cloud::testing

#pragma once

#include "platform/dicom/dcmtk_store_scp.h"

#include <QtCore/QByteArray>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <condition_variable>
#include <thread>
#include <vector>

namespace gateway::platform::testing {

/// The processes that a process has started and not yet reaped.
std::vector<pid_t> childrenOf(pid_t process);

/// What the system tells of a process in one of its files below /proc.
QByteArray procFile(pid_t process, const char *name);

/// A storage SCP that listens on the loopback address, on a thread of its own, and writes down what it tells:
/// "started ID", "complete ID", "failed ID: MESSAGE", "progress PATH", "interrupted MESSAGE", "resumed",
/// "left files", "misnamed ID".
///
/// Owner: a test. Thread: the test's.
class RunningStoreSCP
{
public:
    /// Returns when it listens or has given up.
    explicit RunningStoreSCP(const QString &inbox,
                             std::chrono::seconds timeout = std::chrono::seconds(30),
                             qint64 reserveBytes = 0);

    /// \param port  0 lets the system choose; one that must survive a restart is chosen by the test.
    RunningStoreSCP(const QString &inbox, int port, const ListenerTimeouts &timeouts = {});
    ~RunningStoreSCP();

    int port() const { return m_port; }
    DCMTKStoreSCP &scp() { return m_scp; }

    /// Stops it and waits for start(). \return what start() returned.
    int stop();

    /// Waits for start() to return by itself. \return what it returned.
    int join();

    /// Waits until so many events begin with `word`, or start() is over. \return those events.
    /// \throws std::runtime_error  when neither has come about within two minutes.
    QStringList await(const QString &word, int count = 1);

    QStringList events() const;

private:
    RunningStoreSCP(const StoreSCPEnvironment &environment, const StoreSCPConfig &config);
    StoreSCPCallbacks callbacks();
    void note(const QString &event);

    DCMTKStoreSCP m_scp;
    mutable Mutex m_mutex;
    std::condition_variable_any m_changed;
    QStringList m_events QUORIN_GUARDED_BY(m_mutex);
    bool m_isOver QUORIN_GUARDED_BY(m_mutex) = false;
    int m_result QUORIN_GUARDED_BY(m_mutex) = -1;
    int m_port = 0;
    std::thread m_thread;
};

} // namespace gateway::platform::testing

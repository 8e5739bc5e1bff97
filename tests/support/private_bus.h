#pragma once

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <functional>

namespace gateway::testing {

/// Starts a program that ends with this process at the latest.
///
/// \param setUp  runs in the new process just before the program; only calls that are safe after a fork.
void startTethered(
    QProcess &process,
    const QString &program,
    const QStringList &arguments,
    std::function<void()> setUp = [] {});

/// Kills a started program by its own id and waits for its end.
void endProcess(QProcess &process);

/// A D-Bus of one's own, on which everybody may do everything; nothing of the machine's buses is touched.
///
/// Owner: a test. Thread: the test's.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();

    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    /// For DBUS_SESSION_BUS_ADDRESS and DBUS_SYSTEM_BUS_ADDRESS.
    QString address() const { return m_address; }

    /// A throw-away folder that lives as long as the bus.
    QString folder() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
};

} // namespace gateway::testing

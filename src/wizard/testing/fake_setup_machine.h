#pragma once

#include "platform/concurrency/mutex.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <functional>

namespace gateway::wizard::testing {

/// A machine of ports and folders in memory; it notes what it was asked, and a look at a port can be made to
/// wait.
///
/// Thread: ports on any, the rest on main.
class FakeSetupMachine
{
public:
    ~FakeSetupMachine() { release(); }

    /// The port has this state from now on; all others are available.
    void setPort(int port, PortState state)
    {
        const platform::MutexLock lock(m_mutex);
        m_ports[port] = state;
    }

    /// From now on all ports have this state.
    void setAllPorts(PortState state)
    {
        const platform::MutexLock lock(m_mutex);
        m_ports.clear();
        m_otherPorts = state;
    }

    /// The ports that were asked for, in their order.
    QList<int> askedPorts() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_asked;
    }

    /// Looks at ports wait from now on.
    void hold()
    {
        const platform::MutexLock lock(m_mutex);
        m_isHeld = true;
    }

    void release()
    {
        const platform::MutexLock lock(m_mutex);
        m_isHeld = false;
        m_changed.notifyAll();
    }

    SetupMachine machine()
    {
        return {[this](int port) { return lookAt(port); },
                [this](const QString &folder) { return look(folder); },
                [this](std::optional<int> port) {
                    return port ? address + QStringLiteral(":%1").arg(*port) : address;
                },
                QStringLiteral("/home/Documents/Import")};
    }

    QString address = QStringLiteral("192.0.2.7");
    QMap<QString, FolderValidationResult> folders; ///< those that have an issue
    QStringList askedFolders;
    std::function<void()> whileLooking; ///< called in the middle of a look at a folder

private:
    PortState lookAt(int port)
    {
        const platform::MutexLock lock(m_mutex);
        m_asked.append(port);
        while (m_isHeld) {
            m_changed.wait(m_mutex);
        }
        return m_ports.value(port, m_otherPorts);
    }

    FolderValidationResult look(const QString &folder)
    {
        askedFolders.append(folder);
        if (whileLooking) {
            whileLooking();
        }
        return folders.value(folder, FolderValidationResult{folder, std::nullopt, std::nullopt});
    }

    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    bool m_isHeld QUORIN_GUARDED_BY(m_mutex) = false;
    PortState m_otherPorts QUORIN_GUARDED_BY(m_mutex) = PortState::available;
    QMap<int, PortState> m_ports QUORIN_GUARDED_BY(m_mutex);
    QList<int> m_asked QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::wizard::testing

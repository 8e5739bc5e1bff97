#pragma once

#include "platform/concurrency/mutex.h"
#include "receive/folder_bookmark.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QStringList>

#include <memory>

namespace gateway::wizard::testing {

/// A machine of ports and folders in memory; it notes what it was asked, and its looks can be made to wait.
///
/// Thread: ports and folders on any, the rest on main.
class FakeSetupMachine
{
public:
    ~FakeSetupMachine() { release(); }

    /// The port has this state from now on; all others are available.
    void setPort(int port, PortState state)
    {
        const platform::MutexLock lock(m_known->mutex);
        m_known->ports[port] = state;
    }

    /// From now on all ports have this state.
    void setAllPorts(PortState state)
    {
        const platform::MutexLock lock(m_known->mutex);
        m_known->ports.clear();
        m_known->otherPorts = state;
    }

    /// A look at the folder finds this from now on; all others that exist are well.
    void setFolder(const QString &folder, const FolderValidationResult &found)
    {
        const platform::MutexLock lock(m_known->mutex);
        m_known->folders[folder] = found;
    }

    /// All folders that exist are well from now on.
    void mendFolders()
    {
        const platform::MutexLock lock(m_known->mutex);
        m_known->folders.clear();
    }

    /// The ports that were asked for, in their order.
    QList<int> askedPorts() const
    {
        const platform::MutexLock lock(m_known->mutex);
        return m_known->askedPorts;
    }

    /// The folders that were looked at, in their order.
    QStringList askedFolders() const
    {
        const platform::MutexLock lock(m_known->mutex);
        return m_known->askedFolders;
    }

    /// Looks at folders wait from now on.
    void holdFolders()
    {
        const platform::MutexLock lock(m_known->mutex);
        m_known->holdsFolders = true;
    }

    /// Looks at ports wait from now on.
    void hold()
    {
        const platform::MutexLock lock(m_known->mutex);
        m_known->isHeld = true;
    }

    void release()
    {
        const platform::MutexLock lock(m_known->mutex);
        m_known->isHeld = false;
        m_known->holdsFolders = false;
        m_known->changed.notifyAll();
    }

    SetupMachine machine()
    {
        return {[known = m_known](int port) { return known->lookAt(port); },
                [known = m_known](const QString &folder) { return known->look(folder); },
                [this](std::optional<int> port) {
                    return port ? address + QStringLiteral(":%1").arg(*port) : address;
                },
                QStringLiteral("/home/Documents/Import")};
    }

    QString address = QStringLiteral("192.0.2.7");

private:
    /// Nobody waits for a look at a folder, so it may end after this.
    struct Known
    {
        PortState lookAt(int port)
        {
            const platform::MutexLock lock(mutex);
            askedPorts.append(port);
            while (isHeld) {
                changed.wait(mutex);
            }
            return ports.value(port, otherPorts);
        }

        FolderValidationResult look(const QString &folder)
        {
            const platform::MutexLock lock(mutex);
            askedFolders.append(folder);
            while (holdsFolders) {
                changed.wait(mutex);
            }
            return folders.value(
                folder,
                FolderValidationResult{
                    folder, std::nullopt, std::nullopt, receive::makeFolderBookmark(folder)});
        }

        platform::Mutex mutex;
        platform::Condition changed;
        bool isHeld QUORIN_GUARDED_BY(mutex) = false;
        bool holdsFolders QUORIN_GUARDED_BY(mutex) = false;
        PortState otherPorts QUORIN_GUARDED_BY(mutex) = PortState::available;
        QMap<int, PortState> ports QUORIN_GUARDED_BY(mutex);
        QMap<QString, FolderValidationResult> folders QUORIN_GUARDED_BY(mutex);
        QList<int> askedPorts QUORIN_GUARDED_BY(mutex);
        QStringList askedFolders QUORIN_GUARDED_BY(mutex);
    };

    const std::shared_ptr<Known> m_known = std::make_shared<Known>();
};

} // namespace gateway::wizard::testing

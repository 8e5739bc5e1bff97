#pragma once

#include "core/settings.h"
#include "log/writing/store_log_emitter.h"
#include "receive/incoming_folders.h"

#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::receive {

/// Finds the folder in which a listener receives, and makes it ready.
///
/// Owner: StoreListenerService; shared with the threads of its runs, since a share that doesn't answer may
/// hold one of them. Thread: any.
class ListenerFolder
{
public:
    /// \param settings, folders, emitter  outlive this.
    /// \param defaultFolder  where the receiver puts files when no folder is configured.
    ListenerFolder(core::Settings &settings,
                   IncomingFolders &folders,
                   log::StoreLogEmitter &emitter,
                   QString defaultFolder);

    struct Entered
    {
        /// Why no listener can work there now.
        struct Obstacle
        {
            platform::Sentence why; ///< for people
            bool isSeenByLooks;     ///< `IncomingFolders::lookAtPresent` tells it as well, while it lasts
        };

        std::optional<QString> path; ///< for the receiver; nothing when no folder is configured
        QString inbox;               ///< where files arrive
        QString id;                  ///< the number that it keeps; empty where it has none
        QString standing;            ///< as `folderStanding` tells it, as it was entered
        std::optional<Obstacle> obstacle;
    };

    /// Enters the folder by the settings of this moment, as `IncomingFolders::enter` does. Blocks for as long
    /// as the folder's share doesn't answer.
    Entered enter(const std::function<bool()> &isWanted) const;

private:
    std::optional<QString> resolve() const;
    void tellUnresolved(std::optional<log::GatewayLogError> error, const QString &reason) const;

    core::Settings &m_settings;
    IncomingFolders &m_folders;
    log::StoreLogEmitter &m_emitter;
    const QString m_defaultFolder;
};

} // namespace gateway::receive

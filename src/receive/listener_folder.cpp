#include "receive/listener_folder.h"

#include "core/store_errors.h"
#include "log/writing/redaction.h"
#include "receive/folder_bookmark.h"
#include "receive/folder_standing.h"

#include <utility>

namespace gateway::receive {

ListenerFolder::ListenerFolder(core::Settings &settings,
                               IncomingFolders &folders,
                               log::StoreLogEmitter &emitter,
                               QString defaultFolder)
    : m_settings(settings), m_folders(folders), m_emitter(emitter), m_defaultFolder(std::move(defaultFolder))
{
}

ListenerFolder::Entered ListenerFolder::enter(const std::function<bool()> &isWanted) const
{
    Entered entered{resolve(), {}, {}, {}, std::nullopt};
    entered.inbox = entered.path.value_or(m_defaultFolder);
    if (auto why = m_folders.enter(entered.inbox, isWanted)) {
        const bool isSeenByLooks = m_folders.obstacleTo(entered.inbox) == why;
        entered.obstacle = Entered::Obstacle{std::move(*why), isSeenByLooks};
    }
    entered.standing = folderStanding(entered.inbox);
    entered.id = m_folders.idInUse();
    return entered;
}

/// The folder for the receiver. Where the chosen one can't be reached the listener still starts, with the
/// plain stored path, and the receiver fails or not by itself.
std::optional<QString> ListenerFolder::resolve() const
{
    const std::optional<QString> plainPath = m_settings.listenerDestinationFolder.get();
    const std::optional<QByteArray> bookmark = m_settings.listenerDestinationFolderBookmark.get();
    if (!bookmark) {
        return plainPath;
    }
    const std::optional<ResolvedBookmark> resolved = resolveFolderBookmark(*bookmark);
    if (!resolved) {
        const core::StoreError error(QStringLiteral("The incoming folder could not be found."));
        tellUnresolved(log::redactedError(QStringLiteral("QuorinGateway.StoreError"), 1, error.message), {});
        return plainPath;
    }
    if (resolved->isStale && m_settings.listenerDestinationFolderBookmark.get() == bookmark) {
        if (const std::optional<QByteArray> fresh = makeFolderBookmark(resolved->path)) {
            m_settings.listenerDestinationFolderBookmark.set(fresh);
        }
    }
    if (!mayUseFolder(resolved->path)) {
        tellUnresolved(std::nullopt, QStringLiteral("start_accessing_security_scoped_resource_failed"));
        return plainPath;
    }
    return resolved->path;
}

void ListenerFolder::tellUnresolved(std::optional<log::GatewayLogError> error, const QString &reason) const
{
    log::StoreLogRecord record;
    record.level = log::GatewayLogLevel::warning;
    record.category = log::GatewayLogCategory::listener;
    record.action = log::GatewayLogAction::listenerIncomingPathResolutionFailed;
    record.outcome = log::GatewayLogOutcome::failed;
    if (!reason.isEmpty()) {
        record.details = {{QStringLiteral("reason"), reason}};
    }
    record.error = std::move(error);
    m_emitter.emit(record);
}

} // namespace gateway::receive

#include "app/receiving.h"

#include "app/no_announcements.h"
#include "platform/dicom/dcmtk_store_scp.h"
#include "platform/files/files.h"

#include <optional>
#include <utility>

namespace gateway::app {

std::unique_ptr<platform::NetServicePublishing> Receiving::makeNetServices()
{
    if (ground.options.bindAddress.startsWith(QStringLiteral("127."))) {
        return std::make_unique<NoAnnouncements>();
    }
    return std::make_unique<platform::AvahiPublishing>(ground.systemLog);
}

std::shared_ptr<Store> Receiving::makeStore()
{
    return std::make_shared<Store>(
        Store::Collaborators{.settings = ground.settings,
                             .notifications = ground.notifications,
                             .main = ground.main,
                             .clock = ground.clock},
        sending.coordinator,
        [this](std::function<void(QString)> onImported) { return makeListener(std::move(onImported)); },
        [this](std::function<void(QString)> onImported) { return makeManualImport(std::move(onImported)); });
}

std::shared_ptr<receive::StoreListenerService>
Receiving::makeListener(std::function<void(QString)> onImported)
{
    const QString defaultInbox = ground.options.layout.incomingFolder;
    return std::make_shared<receive::StoreListenerService>(
        receive::StoreListenerService::Collaborators{
            .defaults = ground.defaults,
            .settings = ground.settings,
            .notifications = ground.notifications,
            .main = ground.main,
            .pool = incomingPool,
            .clock = ground.clock,
            .dbService = inboxImports,
            .logEmitter = ground.emitter,
            .observer = ground.eventCounts,
            .state = live,
            .netServices = *netServices,
            .incomingFolders = incomingFolders,
            .makeStoreSCP =
                [defaultInbox] {
                    return std::make_shared<platform::DCMTKStoreSCP>(
                        platform::StoreSCPEnvironment{platform::helperProgramPath(), defaultInbox});
                },
            .onImportSucceeded = std::move(onImported),
            .newestAcknowledged = [&index = ground.index] { return index.newestAcknowledged(); },
            .isKept = [&db = ground.index](
                          const index::ImportedFileSummary &imported) { return db.isKept(imported); }},
        receive::StoreListenerService::Places{defaultInbox, ground.options.bindAddress});
}

std::shared_ptr<receive::StoreManualImportService>
Receiving::makeManualImport(std::function<void(QString)> onImported)
{
    const core::HomeLayout &layout = ground.options.layout;
    return std::make_shared<receive::StoreManualImportService>(
        receive::StoreManualImportService::Collaborators{
            .dbService = manualImports,
            .logEmitter = ground.emitter,
            .observer = ground.eventCounts,
            .main = ground.main,
            .clock = ground.clock,
            .unpacking = unpacker,
            .availableBytes = [folder = layout.fileStore]() -> std::optional<qint64> {
                const auto figures = platform::volumeFigures(folder);
                return figures ? std::optional(figures->availableBytes) : std::nullopt;
            },
            .refresh =
                [this] {
                    live.refreshCounters();
                    live.refreshTransferSeries();
                },
            .onImportSucceeded = std::move(onImported),
            .panel = importPanel},
        receive::StoreManualImportService::Places{
            layout.temporaryFolder, {layout.fileStore, layout.temporaryFolder, layout.incomingFolder}});
}

} // namespace gateway::app

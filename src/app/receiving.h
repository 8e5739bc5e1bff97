#pragma once

#include "app/manual_imports.h"
#include "app/sending.h"
#include "app/store.h"
#include "index/db_service.h"
#include "platform/archive/archive_unpacker.h"
#include "platform/dicom/helper_process.h"
#include "platform/net_service/net_service_publishing.h"
#include "receive/incoming_folders.h"
#include "receive/listener_watch.h"
#include "receive/store_listener_service.h"
#include "receive/store_manual_import_service.h"

#include <memory>

namespace gateway::receive {
class ImportPanel;
}

namespace gateway::app {

/// What comes in: the listener and manual imports, with the store that guards both ways.
///
/// Owner: Gateway. Thread: main, where it is made; each part names its own.
struct Receiving
{
    Ground &ground;
    state::GatewayAppState &live;
    Sending &sending;
    receive::ImportPanel *importPanel; ///< none without a desktop

    index::DBService inboxImports{ground.index, index::ImportSource::ownInbox};
    ManualImports manualImports{ground.index, [this] { store->listenerService().keepOrder(); }};
    receive::IncomingFolders incomingFolders{
        ground.defaults,
        ground.settings,
        {ground.options.layout.incomingFolder, ground.options.layout.tokenFolder()}};
    platform::ArchiveUnpacker unpacker{platform::helperProgramPath()};
    std::unique_ptr<platform::NetServicePublishing> netServices = makeNetServices();
    /// Imports mostly wait for the disk, and share its syncs: more of them at once than there are cores.
    platform::WorkerPool incomingPool{QStringLiteral("incoming"), receive::FolderLanes::kThreads};
    std::shared_ptr<Store> store = makeStore();
    receive::ListenerWatch listenerWatch{{.defaults = ground.defaults,
                                          .notifications = ground.notifications,
                                          .listenerService = store->listenerService(),
                                          .state = live,
                                          .bindAddress = ground.options.bindAddress}};

    std::unique_ptr<platform::NetServicePublishing> makeNetServices();
    std::shared_ptr<Store> makeStore();
    std::shared_ptr<receive::StoreListenerService> makeListener(std::function<void(QString)> onImported);
    std::shared_ptr<receive::StoreManualImportService>
    makeManualImport(std::function<void(QString)> onImported);
};

} // namespace gateway::app

#pragma once

#include "app/cloud_account.h"
#include "app/live_figures.h"
#include "log/store_log_emitter.h"
#include "upload/cloud_terms_follow_up.h"
#include "upload/dicom_db_upload_index.h"
#include "upload/gateway_auto_delete_cleanup_service.h"
#include "upload/new_series.h"
#include "upload/retention_clock.h"
#include "upload/store_upload_coordinator.h"
#include "upload/upload_collaborators.h"
#include "upload/upload_run_watcher.h"

#include <memory>

namespace gateway::app {

/// Whether the cloud client holds a session. Owner: Sending. Thread: any.
class CloudSession final : public upload::UploadSession
{
public:
    explicit CloudSession(cloud_client::QuorinApiClient &client) : m_client(client) {}

    bool hasToken() override { return m_client.networkSettings().token().has_value(); }

private:
    cloud_client::QuorinApiClient &m_client;
};

/// What leaves: upload runs, and what lets go of the local copy afterwards.
///
/// Owner: Gateway. Thread: main, where it is made; each part names its own.
struct Sending
{
    Ground &ground;
    CloudAccount &account;
    LiveFigures &live;

    /// Whatever the cloud takes shows that it answers.
    upload::UploadRunWatcher runWatcher{
        ground.eventCounts, [this] { ground.main.post([this] { account.watch.cloudAnswered(); }); }};
    log::StoreLogEmitter emitter{runWatcher, ground.clock};

    CloudSession session{account.client};
    upload::DicomDBUploadIndex uploadIndex{ground.index};
    upload::RetentionClock retentionClock{ground.clock, ground.defaults};
    upload::GatewayAutoDeleteCleanupService cleanup{cleanupCollaborators()};
    upload::CloudTermsFollowUp terms{{.terms = account.termsApi,
                                      .emitter = emitter,
                                      .notifications = ground.notifications,
                                      .main = ground.main,
                                      .clock = ground.clock}};
    upload::NewSeries newSeries = {};
    upload::UploadCollaborators runCollaborators{.index = uploadIndex,
                                                 .cloud = account.stowApi,
                                                 .converter = ground.converter,
                                                 .session = session,
                                                 .state = live,
                                                 .terms = terms,
                                                 .cleanup = cleanup,
                                                 .emitter = emitter,
                                                 .main = ground.main,
                                                 .clock = ground.clock,
                                                 .newSeries = newSeries};
    std::shared_ptr<upload::StoreUploadCoordinator> coordinator =
        std::make_shared<upload::StoreUploadCoordinator>(coordinatorCollaborators());

    upload::GatewayAutoDeleteCleanupService::Collaborators cleanupCollaborators();
    upload::StoreUploadCoordinator::Collaborators coordinatorCollaborators();
};

} // namespace gateway::app

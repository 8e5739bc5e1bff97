#pragma once

#include "account/cloud_watch.h"
#include "app/cloud_account.h"
#include "app/ground.h"
#include "app/refused_session.h"
#include "state/gateway_app_state.h"
#include "upload/cloud_terms_follow_up.h"
#include "upload/gateway_auto_delete_cleanup_service.h"
#include "upload/new_series.h"
#include "upload/retention_clock.h"
#include "upload/store_upload_coordinator.h"
#include "upload/upload_collaborators.h"
#include "upload/upload_run_watcher.h"

#include <memory>

namespace gateway::app {

/// Whether the cloud client holds a session, and for whom. Owner: Sending. Thread: any.
class CloudSession final : public upload::UploadSession
{
public:
    explicit CloudSession(cloud_client::QuorinApiClient &client) : m_client(client) {}

    cloud_client::CloudSession present() override { return m_client.session(); }

private:
    cloud_client::QuorinApiClient &m_client;
};

/// Whatever the cloud takes shows that it answers. Owner: Sending. Thread: any.
class AnsweringCloud final : public upload::RunObserver
{
public:
    AnsweringCloud(platform::MainExecutor &main, account::CloudWatch &watch) : m_main(main), m_watch(watch) {}

    void requestSucceeded(qint64 /*bytes*/) override
    {
        m_main.post([&watch = m_watch] { watch.cloudAnswered(); });
    }

private:
    platform::MainExecutor &m_main;
    account::CloudWatch &m_watch;
};

/// What leaves: upload runs, and what lets go of the local copy afterwards.
///
/// Owner: Gateway. Thread: main, where it is made; each part names its own.
struct Sending
{
    Ground &ground;
    CloudAccount &account;
    state::GatewayAppState &live;

    upload::UploadRunWatcher runWatcher = {};
    AnsweringCloud answers{ground.main, account.watch};
    RefusedSession refusals{ground.main, account.auth};
    upload::RunObservers observers{{&ground.eventCounts, &runWatcher, &answers, &refusals}};

    CloudSession session{account.client};
    upload::RetentionClock retentionClock{ground.clock, ground.defaults};
    upload::GatewayAutoDeleteCleanupService cleanup{cleanupCollaborators()};
    upload::CloudTermsFollowUp terms{{.terms = account.termsApi,
                                      .emitter = ground.emitter,
                                      .notifications = ground.notifications,
                                      .main = ground.main,
                                      .clock = ground.clock}};
    upload::NewSeries newSeries = {};
    upload::UploadCollaborators runCollaborators{.index = ground.index,
                                                 .cloud = account.stowApi,
                                                 .converter = ground.converter,
                                                 .session = session,
                                                 .state = live,
                                                 .terms = terms,
                                                 .cleanup = cleanup,
                                                 .observer = observers,
                                                 .emitter = ground.emitter,
                                                 .main = ground.main,
                                                 .clock = ground.clock,
                                                 .newSeries = newSeries};
    std::shared_ptr<upload::StoreUploadCoordinator> coordinator =
        std::make_shared<upload::StoreUploadCoordinator>(coordinatorCollaborators());

    upload::GatewayAutoDeleteCleanupService::Collaborators cleanupCollaborators();
    upload::StoreUploadCoordinator::Collaborators coordinatorCollaborators();
};

} // namespace gateway::app

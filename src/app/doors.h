#pragma once

#include "account/archive_sign_in_view_model.h"
#include "account/cloud_choice.h"
#include "app/app_delegate.h"
#include "app/launch_ports.h"
#include "app/missing_session.h"
#include "app/receiving.h"
#include "app/sample_way.h"
#include "app/support_collector.h"
#include "app/upkeep.h"
#include "monitor/health_service.h"
#include "state/upkeep_figures.h"
#include "terminal/instance/account_commands.h"
#include "terminal/instance/archive_commands.h"
#include "terminal/instance/browser_commands.h"
#include "terminal/instance/doctor_commands.h"
#include "terminal/instance/instance_commands.h"
#include "terminal/instance/instance_settings.h"
#include "terminal/instance/kept_cloud.h"
#include "terminal/instance/session_commands.h"
#include "terminal/instance/setup_commands.h"
#include "terminal/instance/status_commands.h"
#include "terminal/instance/terms_commands.h"
#include "upload/upload_opener.h"
#include "wizard/gateway_setup_wizard_view_model.h"
#include "wizard/setup_trial.h"

#include <memory>

namespace gateway::app {

/// What people and machines reach a gateway by, and what follows from their doing.
///
/// Owner: Gateway. Thread: main.
struct Doors
{
    Ground &ground;
    CloudAccount &account;
    state::GatewayAppState &live;
    Sending &sending;
    Receiving &receiving;
    GatewayFace &face;

    upload::UploadOpener uploadOpener{{.defaults = ground.defaults,
                                       .notifications = ground.notifications,
                                       .auth = account.auth,
                                       .cloudWatch = account.watch,
                                       .requests = *receiving.store}};
    MissingSession missingSession{{.notifications = ground.notifications,
                                   .auth = account.auth,
                                   .systemLog = ground.systemLog,
                                   .areImagesWaiting = [this] { return areImagesWaiting(); },
                                   .writeLine = ground.options.writeLine}};
    wizard::SetupTurn setupTurn{};
    SampleWay sampleWay{{ground, account, sending, receiving}};
    wizard::SampleRemoval sampleRemoval{sampleParts()};
    wizard::SetupTrial trial{sampleParts(), sampleRemoval};
    SupportCollector support{{ground, account, live, sending, receiving}};
    Upkeep upkeep{ground, account, live, face};
    std::shared_ptr<AppDelegate> delegate = makeDelegate();

    terminal::TermsCommands terms{{.api = account.termsApi,
                                   .defaults = ground.defaults,
                                   .notifications = ground.notifications,
                                   .main = ground.main,
                                   .pool = ground.networkPool,
                                   .clock = ground.clock,
                                   .auth = account.auth,
                                   .answered = [this] { account.watch.checkTerms(); }}};
    terminal::AccountCommands profile{{.user = account.userApi,
                                       .bugReports = account.bugReportApi,
                                       .defaults = ground.defaults,
                                       .notifications = ground.notifications,
                                       .main = ground.main,
                                       .pool = ground.networkPool,
                                       .auth = account.auth}};
    terminal::KeptCloud keptCloud{
        {ground.options.cloudUrl, ground.options.cloudKind}, account.client.configuration(), ground.defaults};
    terminal::SessionCommands session{
        {.main = ground.main, .pool = ground.networkPool, .auth = account.auth, .plainSecrets = [this] {
             return plainSecrets();
         }}};
    cloud_client::ArchiveTrial archiveTrial{
        account.client, ground.clock, ground.options.layout.temporaryFolder};
    account::ArchiveSignInViewModel archiveSignIn{
        {.auth = account.auth,
         .settings = account.client.networkSettings(),
         .configuration = account.client.configuration(),
         .deviceGrants = account.deviceGrants,
         .trial = [this](const std::stop_token &stop) { return archiveTrial.run(stop); },
         .main = ground.main,
         .pool = ground.networkPool,
         .clock = ground.clock}};
    account::CloudChoice cloudChoice{{.configuration = account.client.configuration(),
                                      .defaults = ground.defaults,
                                      .restart = [this] { return upkeep.restart(); }}};
    terminal::ArchiveCommands archive{{.main = ground.main,
                                       .pool = ground.networkPool,
                                       .auth = account.auth,
                                       .archive = archiveSignIn,
                                       .client = account.client,
                                       .plainSecrets = [this] { return plainSecrets(); }}};
    terminal::SetupCommands setupCommands{setupParts()};
    terminal::InstanceSettings instanceSettings{{.defaults = ground.defaults,
                                                 .settings = ground.settings,
                                                 .listenerService = receiving.store->listenerService(),
                                                 .notifications = ground.notifications,
                                                 .main = ground.main,
                                                 .pool = ground.pool,
                                                 .clock = ground.clock}};
    std::shared_ptr<terminal::StatusCommands> status = makeStatus();
    std::shared_ptr<terminal::DoctorCommands> doctor = makeDoctor();
    terminal::BrowserCommands browsers{cloudBrowser(), localBrowser(), account.auth};
    terminal::InstanceCommands commands{
        {.settings = ground.settings,
         .auth = account.auth,
         .uploadRequests = *receiving.store,
         .manualImports = receiving.store->manualImportService(),
         .reopen = [this] { delegate->reopen(); },
         .handlers = {[this](const auto &...request) { return status->handle(request...); },
                      [this](const auto &...request) { return instanceSettings.handle(request...); },
                      [this](const auto &...request) { return keptCloud.handle(request...); },
                      [this](const auto &...request) { return session.handle(request...); },
                      [this](const auto &...request) { return archive.handle(request...); },
                      [this](const auto &...request) { return setupCommands.handle(request...); },
                      [this](const auto &...request) { return terms.handle(request...); },
                      [this](const auto &...request) { return profile.handle(request...); },
                      [this](const auto &...request) { return browsers.handle(request...); },
                      [this](const auto &...request) { return doctor->handle(request...); }}}};
    std::unique_ptr<monitor::HealthService> health = makeHealth();

    /// What a setup is made of, be it for a window or for a command.
    wizard::SetupWizardParts setupParts();

    wizard::SampleParts sampleParts();
    browser::CloudBrowserParts cloudBrowser();
    browser::LocalBrowserParts localBrowser();

    /// The folder where secrets lie unencrypted; empty for none.
    QString plainSecrets() const;

    bool areImagesWaiting();
    state::UpkeepFigures upkeepFigures();

    std::shared_ptr<AppDelegate> makeDelegate();
    std::shared_ptr<terminal::StatusCommands> makeStatus();
    std::shared_ptr<terminal::DoctorCommands> makeDoctor();
    std::unique_ptr<monitor::HealthService> makeHealth();
};

} // namespace gateway::app

#include "app/sending.h"

#include "core/device_id.h"
#include "core/retention_policy.h"
#include "upload/retention_cutoff.h"
#include "upload/store_upload.h"
#include "upload/upload_run.h"

#include <QtCore/QRandomGenerator>
#include <QtCore/QTimeZone>

namespace gateway::app {

upload::GatewayAutoDeleteCleanupService::Collaborators Sending::cleanupCollaborators()
{
    return {.logger = ground.emitter,
            .main = ground.main,
            .cutoffDateProvider =
                [this](const QDateTime &now) {
                    return upload::retentionCutoff(
                        core::effectiveRetentionPolicy(ground.settings), now, QTimeZone::systemTimeZone());
                },
            .pruner = [this](const QDateTime &cutoff) { return ground.index.pruneSyncedImages(cutoff); },
            .appStateRefreshHandler =
                [this] {
                    live.refreshCounters();
                    live.refreshTransferSeries();
                },
            .dateProvider = [this] { return ground.clock.now(); },
            .isClockBelieved = [this] { return retentionClock.isBelieved(); }};
}

upload::StoreUploadCoordinator::Collaborators Sending::coordinatorCollaborators()
{
    return {.emitter = ground.emitter,
            .observer = observers,
            .clock = ground.clock,
            .retries = ground.index.failedUploads(),
            .readConfig =
                [this] {
                    return upload::StoreUpload::executionConfig(
                        upload::StoreUpload::uploadSettings(ground.settings, ground.defaults));
                },
            .performRun =
                [this](const QString &runId,
                       const upload::StoreUpload::ExecutionConfig &config,
                       const std::stop_token &stop) {
                    return upload::UploadRun(runCollaborators, runId, config, core::deviceId(ground.defaults))
                        .run(stop);
                },
            .random = [] { return QRandomGenerator::global()->generateDouble(); }};
}

} // namespace gateway::app

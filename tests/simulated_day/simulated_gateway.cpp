#include "tests/simulated_day/simulated_gateway.h"

#include "core/notification_names.h"
#include "platform/files/testing/occupied_bytes.h"
#include "upload/retention_cutoff.h"
#include "upload/upload_run.h"

#include <QtCore/QCoreApplication>

#include <thread>

namespace gateway::tests {

using upload::StoreUpload::ExecutionConfig;
using upload::StoreUpload::ExecutionMode;

namespace {

/// Runs the main thread until the condition holds.
template <typename Condition>
void runUntil(const Condition &condition)
{
    while (!condition()) {
        QCoreApplication::processEvents();
        std::this_thread::yield();
    }
}

ExecutionConfig orders()
{
    return {.mode = ExecutionMode::single, .maxConcurrent = 2, .compressionEnabled = true, .fetchLimit = 8};
}

} // namespace

SimulatedGateway::SimulatedGateway(const QTimeZone &zone) : m_zone(zone)
{
    m_state = std::make_unique<state::GatewayAppState>(state::GatewayAppStateParts{
        m_home.index(), m_home.notifications, m_home.main, m_pool, m_home.clock, [this] { return m_zone; }});
    m_state->setListening(true);
    m_state->syncListeningState();
    // A file goes up as long as it is what it was when it came.
    m_converter.behave([this](const QString &path) {
        platform::SendableFile file = m_converter.write(path);
        file.version = m_home.parser.versionOf(path);
        return file;
    });
    m_coordinator =
        std::make_unique<upload::StoreUploadCoordinator>(upload::StoreUploadCoordinator::Collaborators{
            m_emitter,
            m_runObserver,
            m_stillClock,
            m_home.index().failedUploads(),
            [] { return orders(); },
            [this](const QString &runId, const ExecutionConfig &config, const std::stop_token &stop) {
                return upload::UploadRun(m_uploadWith, runId, config, QStringLiteral("DEVICE")).run(stop);
            },
            [] { return 0.0; }});
}

upload::GatewayAutoDeleteCleanupService::Collaborators SimulatedGateway::cleanupCollaborators()
{
    return {m_emitter,
            m_home.main,
            [this](const QDateTime &now) {
                return upload::retentionCutoff({core::GatewayAutoDeleteMode::days, 1}, now, m_zone);
            },
            [this](const QDateTime &cutoff) {
                const index::LocalPruneResult result = m_home.index().pruneSyncedImages(cutoff);
                m_expectedRefreshes += result.deletedImageCount > 0 ? 1 : 0;
                return result;
            },
            [this] {
                m_state->refreshCounters();
                m_state->refreshTransferSeries();
                ++m_refreshes;
            },
            [this] { return m_home.clock.now(); },
            [] { return true; }};
}

QString SimulatedGateway::receive(const QVariantMap &elements)
{
    const QString association = QStringLiteral("association");
    m_state->beginReceiveAssociation(association);
    m_state->recordReceivedItem();
    const QString stored = m_home.import(elements);
    m_state->refreshCounters();
    m_state->endReceiveAssociation(association);
    return stored.section(u'/', -1);
}

void SimulatedGateway::upload()
{
    // The converter of these days calls an image by its stored file's name, and the rows do for as long.
    m_home.execute(QStringLiteral("UPDATE DicomImage SET orientation = originalSOPInstanceUID, "
                                  "originalSOPInstanceUID = substr(pathString, instr(pathString, '/') + 1)"));
    ++m_startedRuns;
    m_coordinator->requestUploadRun(QStringLiteral("command_line"), upload::UploadUrgency::everythingNow);
    settle();
    m_home.execute(QStringLiteral("UPDATE DicomImage SET originalSOPInstanceUID = orientation"));
}

void SimulatedGateway::cleanUp()
{
    m_countedCleanup.runCleanup(QStringLiteral("periodic_1h"), std::nullopt, std::nullopt);
    settle();
}

/// Waits for what was started, and for what it told the main thread.
void SimulatedGateway::settle()
{
    runUntil([this] { return m_log.finishedRuns == m_startedRuns; });
    runUntil(
        [this] { return m_log.finishedCleanups == m_startedCleanups && m_refreshes == m_expectedRefreshes; });
    m_home.main.drain();
}

void SimulatedGateway::stopListener()
{
    m_state->setListening(false);
    m_home.notifications.post(core::kStoreListenerStateChanged);
}

void SimulatedGateway::startListener()
{
    m_state->setListening(true);
    m_home.notifications.post(core::kStoreListenerStateChanged);
}

void SimulatedGateway::pass(std::chrono::seconds duration)
{
    m_home.clock.advance(duration);
    m_home.main.drain();
}

bool SimulatedGateway::storageIsRight()
{
    const qint64 expected = platform::testing::occupiedBytes(m_home.fileStoreRoot());
    for (int measurement = 0; measurement < 2; ++measurement) {
        m_state->refreshStorageUsage();
        for (int looks = 0; looks < 10'000 && figures().receivedStorageUsage.usedBytes != expected; ++looks) {
            pass(std::chrono::seconds(1));
            QCoreApplication::processEvents();
            std::this_thread::yield();
        }
    }
    return figures().receivedStorageUsage.usedBytes == expected;
}

} // namespace gateway::tests

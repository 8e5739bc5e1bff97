#include "receive/store_manual_import_service.h"

#include "log/writing/redaction.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace gateway::receive {

using log::GatewayLogAction;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;

namespace {

const QString kManualUpload = QStringLiteral("manual_upload");
const QString kTrigger = QStringLiteral("trigger");
const QString kSelectedItems = QStringLiteral("selected_items");
const QString kCandidateFiles = QStringLiteral("candidate_files");
const QString kImportedFiles = QStringLiteral("imported_files");
const QString kSkippedFiles = QStringLiteral("skipped_files");
const QString kReason = QStringLiteral("reason");

log::StoreLogRecord recordFor(const QString &batch,
                              GatewayLogLevel level,
                              GatewayLogAction action,
                              GatewayLogOutcome outcome,
                              QMap<QString, QString> details)
{
    log::StoreLogRecord record;
    record.level = level;
    record.category = log::GatewayLogCategory::receive;
    record.action = action;
    record.outcome = outcome;
    record.correlationId = batch;
    record.details = std::move(details);
    return record;
}

/// The record of a batch without any file that could have been imported.
log::StoreLogRecord
emptyRecord(const QString &batch, const ManualImportReport &report, const QString &trigger)
{
    const QString reason = report.stopped ? QStringLiteral("stopped") : QStringLiteral("no_files_found");
    return recordFor(batch,
                     GatewayLogLevel::warning,
                     GatewayLogAction::importFailed,
                     GatewayLogOutcome::failed,
                     {{kTrigger, trigger},
                      {kSelectedItems, QString::number(report.selectedItems)},
                      {kCandidateFiles, QStringLiteral("0")},
                      {kReason, reason}});
}

log::StoreLogRecord
summaryRecord(const QString &batch, const ManualImportReport &report, const QString &trigger)
{
    QMap<QString, QString> details{{kTrigger, trigger},
                                   {kSelectedItems, QString::number(report.selectedItems)},
                                   {kCandidateFiles, QString::number(report.candidateFiles)},
                                   {kImportedFiles, QString::number(report.importedFiles)},
                                   {kSkippedFiles, QString::number(report.skippedFiles)}};
    const bool imported = report.importedFiles > 0;
    if (report.stopped) {
        details.insert(kReason, QStringLiteral("stopped"));
    } else if (!imported) {
        details.insert(kReason, QStringLiteral("no_dicom_detected"));
    }
    return recordFor(batch,
                     imported ? GatewayLogLevel::info : GatewayLogLevel::warning,
                     imported ? GatewayLogAction::importSucceeded : GatewayLogAction::importFailed,
                     imported ? GatewayLogOutcome::completed : GatewayLogOutcome::failed,
                     std::move(details));
}

} // namespace

StoreManualImportService::StoreManualImportService(Collaborators collaborators, Places places)
    : m_collaborators(std::move(collaborators)), m_places(std::move(places)),
      m_manualImportQueue(QStringLiteral("com.ovelt.pavan.gateway.manualImport.queue"),
                          platform::Quality::userInitiated)
{
    m_manualImportQueue.async([this] { TemporaryRoot::sweep(m_places.temporaryFolder); });
}

StoreManualImportService::~StoreManualImportService()
{
    m_closing = true;
    std::vector<std::stop_source> stops;
    {
        const platform::MutexLock lock(m_mutex);
        std::ranges::transform(m_batches, std::back_inserter(stops), &Batch::stop);
    }
    for (std::stop_source &stop : stops) {
        stop.request_stop();
    }
}

void StoreManualImportService::presentImportPanel()
{
    if (m_collaborators.panel == nullptr) {
        return;
    }
    ImportPanelRequest request;
    request.title = QStringLiteral("Import DICOM Files");
    request.message = QStringLiteral("Select files and folders to import DICOM files.");
    request.confirmButton = QStringLiteral("Import");
    m_collaborators.panel->present(request, [weak = weak_from_this()](const QList<QUrl> &urls) {
        if (const auto self = weak.lock()) {
            self->importItems(urls, kManualUpload);
        }
    });
}

std::shared_ptr<void> StoreManualImportService::observeBatches(BatchObserver begun)
{
    Q_ASSERT(m_collaborators.main.isCurrent());
    const auto observer = std::make_shared<BatchObserver>(std::move(begun));
    m_observers.append(observer);
    const QStringList underWay = batchesUnderWay();
    for (const QString &batch : underWay) {
        (*observer)(batch);
    }
    return observer;
}

QStringList StoreManualImportService::batchesUnderWay() const
{
    QStringList ids;
    const platform::MutexLock lock(m_mutex);
    for (const Batch &batch : m_batches) {
        if (batch.report.phase != ManualImportReport::Phase::finished) {
            ids.append(batch.id);
        }
    }
    return ids;
}

QString StoreManualImportService::importItems(const QList<QUrl> &urls, const QString &trigger)
{
    if (urls.isEmpty()) {
        return {};
    }
    const QString trimmed = trigger.trimmed();
    const QString named = trimmed.isEmpty() ? kManualUpload : trimmed;
    Batch batch;
    batch.id = log::newUuidText();
    batch.report.selectedItems = urls.size();
    const QString id = batch.id;
    const std::stop_token stop = batch.stop.get_token();
    {
        const platform::MutexLock lock(m_mutex);
        m_batches.push_back(std::move(batch));
        forgetOldest();
    }
    m_collaborators.logEmitter.emit(
        recordFor(id,
                  GatewayLogLevel::info,
                  GatewayLogAction::importAttempted,
                  GatewayLogOutcome::started,
                  {{kTrigger, named}, {kSelectedItems, QString::number(urls.size())}}));
    // The queue is drained before the service goes, so that its work may name it.
    m_manualImportQueue.async([this, id, urls, named, stop] {
        if (!m_closing) {
            run(id, urls, named, stop);
        }
    });
    m_observers.removeIf([](const auto &observer) { return observer.expired(); });
    const auto observers = m_observers; // one of them may come or go meanwhile
    for (const auto &observer : observers) {
        if (const auto alive = observer.lock()) {
            (*alive)(id);
        }
    }
    return id;
}

void StoreManualImportService::run(const QString &id,
                                   const QList<QUrl> &urls,
                                   const QString &trigger,
                                   const std::stop_token &stop)
{
    ManualImportReport report;
    {
        // The temporary roots go with it.
        ManualImportBatch batch({m_collaborators.dbService,
                                 m_collaborators.unpacking,
                                 m_collaborators.clock,
                                 m_collaborators.availableBytes,
                                 [this, &id](const ManualImportReport &now) { publish(id, now); }},
                                m_places,
                                stop);
        report = batch.run(urls);
        conclude(id, report, trigger);
    }
    report.phase = ManualImportReport::Phase::finished;
    publish(id, report);
}

void StoreManualImportService::conclude(const QString &id,
                                        const ManualImportReport &report,
                                        const QString &trigger)
{
    if (report.importedFiles == 0) {
        m_collaborators.observer.importFailed();
    }
    if (report.candidateFiles == 0) {
        m_collaborators.logEmitter.emit(emptyRecord(id, report, trigger));
        return;
    }
    m_collaborators.logEmitter.emit(summaryRecord(id, report, trigger));
    m_collaborators.main.post(m_collaborators.refresh);
    if (report.importedFiles > 0) {
        m_collaborators.onImportSucceeded(trigger + QStringLiteral("_import_succeeded"));
    }
}

std::optional<ManualImportReport> StoreManualImportService::report(const QString &batch) const
{
    const platform::MutexLock lock(m_mutex);
    const auto found = std::ranges::find(m_batches, batch, &Batch::id);
    return found == m_batches.end() ? std::nullopt : std::optional(found->report);
}

void StoreManualImportService::stop(const QString &batch)
{
    std::stop_source stop(std::nostopstate);
    {
        const platform::MutexLock lock(m_mutex);
        const auto found = std::ranges::find(m_batches, batch, &Batch::id);
        if (found == m_batches.end()) {
            return;
        }
        stop = found->stop;
    }
    stop.request_stop(); // ends an unpacker; not under the lock
}

void StoreManualImportService::publish(const QString &id, const ManualImportReport &report)
{
    const platform::MutexLock lock(m_mutex);
    const auto found = std::ranges::find(m_batches, id, &Batch::id);
    if (found != m_batches.end()) {
        found->report = report;
    }
}

/// Keeps the reports of the last batches that ended.
void StoreManualImportService::forgetOldest()
{
    constexpr auto kKept = 32;
    const auto hasEnded = [](const Batch &batch) {
        return batch.report.phase == ManualImportReport::Phase::finished;
    };
    for (auto ended = std::ranges::count_if(m_batches, hasEnded); ended > kKept; --ended) {
        m_batches.erase(std::ranges::find_if(m_batches, hasEnded));
    }
}

} // namespace gateway::receive

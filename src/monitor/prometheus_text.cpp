#include "monitor/prometheus_text.h"

#include "monitor/health_verdict.h"
#include "monitor/prometheus_writer.h"

namespace gateway::monitor {

namespace {

double asNumber(qint64 count)
{
    return static_cast<double>(count);
}

double asNumber(bool isSo)
{
    return isSo ? 1 : 0;
}

void writeProcess(PrometheusWriter &out, const MetricsView &view)
{
    out.gaugeFamily("quorin_gateway_build_info", QStringLiteral("Always 1; the version is in the label."));
    out.sample("version", view.version, 1);
    out.gauge("process_start_time_seconds",
              QStringLiteral("When the gateway was started, in seconds since 1970."),
              view.process.startedAt);
    out.counter("process_cpu_seconds_total",
                QStringLiteral("Processor time of the gateway's own process."),
                view.process.cpuSeconds);
    out.gauge("process_resident_memory_bytes",
              QStringLiteral("Memory of the gateway's own process."),
              asNumber(view.process.residentBytes));
    out.gauge("process_open_fds",
              QStringLiteral("Descriptors that the gateway's own process holds open."),
              asNumber(view.process.openFiles));
    out.gauge("quorin_gateway_main_loop_up",
              QStringLiteral("1 while the main loop answers; at 0 the other figures are old."),
              asNumber(view.isMainLoopAnswering));
    if (view.age) {
        out.gauge("quorin_gateway_figures_age_seconds",
                  QStringLiteral("How old the figures are."),
                  view.age->count());
    }
}

void writeState(PrometheusWriter &out, const HealthFigures &figures, bool isMainLoopAnswering)
{
    out.gauge("quorin_gateway_healthy",
              QStringLiteral("1 while /healthz answers with 200."),
              asNumber(isMainLoopAnswering && verdictOn(figures).isHealthy));
    out.gauge("quorin_gateway_setup_finished",
              QStringLiteral("1 once setup is finished; nothing is received or sent before."),
              asNumber(figures.isSetupFinished));
    out.gauge("quorin_gateway_listener_enabled",
              QStringLiteral("1 while the settings want the DICOM listener to run."),
              asNumber(figures.listener.isEnabled));
    out.gauge("quorin_gateway_listener_up",
              QStringLiteral("1 while the DICOM listener's port is bound."),
              asNumber(figures.listener.isListening));
    out.gauge("quorin_gateway_index_up",
              QStringLiteral("1 while the index answers."),
              asNumber(figures.index.isAnswering));
}

void writeTurnedAway(PrometheusWriter &out, const QMap<QString, qint64> &turnedAway)
{
    if (turnedAway.isEmpty()) {
        return;
    }
    out.counterFamily("quorin_gateway_turned_away_total",
                      QStringLiteral("DICOM peers that were turned away or cut off, by the reason."));
    for (auto row = turnedAway.cbegin(); row != turnedAway.cend(); ++row) {
        out.sample("reason", row.key(), asNumber(row.value()));
    }
}

void writeReceiving(PrometheusWriter &out, const HealthFigures &figures)
{
    const EventTotals &totals = figures.totals;
    out.gauge("quorin_gateway_open_associations",
              QStringLiteral("DICOM associations that are open now."),
              figures.listener.openAssociations);
    out.counter("quorin_gateway_associations_total",
                QStringLiteral("DICOM associations that began."),
                asNumber(totals.associations));
    out.counter("quorin_gateway_associations_failed_total",
                QStringLiteral("DICOM associations that ended badly."),
                asNumber(totals.failedAssociations));
    out.counter("quorin_gateway_images_received_total",
                QStringLiteral("Images (files) that came over the DICOM network."),
                asNumber(totals.receivedImages));
    out.counter("quorin_gateway_received_bytes_total",
                QStringLiteral("Bytes of the images that came over the DICOM network."),
                asNumber(totals.receivedBytes));
    out.gauge("quorin_gateway_received_images_per_second",
              QStringLiteral("Images received a second, over the last minute."),
              figures.listener.receivedPerSecond);
    out.counter("quorin_gateway_imports_failed_total",
                QStringLiteral("Attempts to take an image into the index and the file store that failed."),
                asNumber(totals.failedImports));
    out.counter("quorin_gateway_listener_failures_total",
                QStringLiteral("Times that the DICOM listener failed."),
                asNumber(totals.listenerFailures));
    writeTurnedAway(out, totals.turnedAway);
}

void writeUpkeep(PrometheusWriter &out, const HealthFigures &figures)
{
    out.gauge(
        "quorin_gateway_set_aside_files",
        QStringLiteral("Received files that could not be taken in and are kept for a person to look at."),
        asNumber(figures.inbox.setAside));
    out.gauge("quorin_gateway_inbox_waiting_files",
              QStringLiteral("Received files that wait in an incoming folder to be taken in."),
              asNumber(figures.inbox.waiting));
    out.gauge("quorin_gateway_inbox_longest_wait_seconds",
              QStringLiteral("How long the first of them has been seen to wait; 0 when none waits."),
              asNumber(qint64{figures.inbox.longestWait.count()}));
    out.gauge("quorin_gateway_inbox_unremoved_files",
              QStringLiteral("Files of images that were taken in, which can't be removed from their folder."),
              asNumber(figures.inbox.notRemoved));
    out.gauge("quorin_gateway_store_in_sight",
              QStringLiteral("0 while nothing is taken in because the file store can't be seen."),
              asNumber(!figures.isStoreOutOfSight));
    out.gauge("quorin_gateway_retention_held_back",
              QStringLiteral("1 while nothing is removed by its age, because the clock is in doubt."),
              asNumber(figures.isRetentionHeldBack));
    out.gauge(
        "quorin_gateway_files_to_record_again",
        QStringLiteral("Stored files that the index may lack and that are recorded again; 0 when all are."),
        asNumber(figures.filesToRecordAgain));
    out.gauge("quorin_gateway_files_recorded_again",
              QStringLiteral("Those of them that are recorded."),
              asNumber(figures.filesRecordedAgain));
    out.gauge("quorin_gateway_log_bytes",
              QStringLiteral("Space that the log files take."),
              asNumber(figures.logBytes));
}

void writeIndex(PrometheusWriter &out, const HealthFigures::Index &index)
{
    if (!index.isAnswering) {
        return;
    }
    out.gauge(
        "quorin_gateway_indexed_studies", QStringLiteral("Studies in the index."), asNumber(index.studies));
    out.gauge(
        "quorin_gateway_indexed_series", QStringLiteral("Series in the index."), asNumber(index.series));
    out.gauge("quorin_gateway_indexed_images",
              QStringLiteral("Images in the index; each frame counts."),
              asNumber(index.images));
    out.gauge("quorin_gateway_unsent_images",
              QStringLiteral("Images that the cloud doesn't hold yet, failed ones included."),
              asNumber(index.unsent));
    out.gauge("quorin_gateway_synced_images",
              QStringLiteral("Images in the index that the cloud holds."),
              asNumber(index.synced));
    out.gauge("quorin_gateway_failed_images",
              QStringLiteral("Images whose last upload failed; they are tried again."),
              asNumber(index.failed));
    out.gauge("quorin_gateway_indexed_instances",
              QStringLiteral("Instances in the index, as archives count; all frames of one count once."),
              asNumber(qint64{index.instances.total}));
    out.gauge("quorin_gateway_synced_instances",
              QStringLiteral("Instances in the index that the cloud holds."),
              asNumber(qint64{index.instances.synced}));
    out.gauge("quorin_gateway_unsent_instances",
              QStringLiteral("Instances that the cloud doesn't hold yet, failed ones included."),
              asNumber(qint64{index.instances.total - index.instances.synced}));
    out.gauge("quorin_gateway_failed_instances",
              QStringLiteral("Instances whose last upload failed; they are tried again."),
              asNumber(qint64{index.instances.failed}));
    out.gauge("quorin_gateway_oldest_unsent_image_age_seconds",
              QStringLiteral("How long the oldest unsent image has been waiting; 0 when all are sent."),
              std::chrono::duration<double>(index.oldestUnsentAge.value_or(std::chrono::seconds(0))).count());
}

void writeFailureClasses(PrometheusWriter &out, const QMap<QString, qint64> &failedFiles)
{
    if (failedFiles.isEmpty()) {
        return;
    }
    out.gaugeFamily("quorin_gateway_failed_files",
                    QStringLiteral("Files whose last upload failed, by the class of the failure."));
    for (auto row = failedFiles.cbegin(); row != failedFiles.cend(); ++row) {
        out.sample("class", row.key(), asNumber(row.value()));
    }
}

void writeUploading(PrometheusWriter &out, const HealthFigures &figures)
{
    const HealthFigures::Cloud &cloud = figures.cloud;
    out.counter("quorin_gateway_images_uploaded_total",
                QStringLiteral("Images (files) that the cloud was proven to have stored."),
                asNumber(figures.totals.uploadedImages));
    out.counter("quorin_gateway_uploaded_bytes_total",
                QStringLiteral("Bytes of successful upload requests."),
                asNumber(figures.totals.uploadedBytes));
    out.counter("quorin_gateway_image_uploads_failed_total",
                QStringLiteral("Uploads of an image (file) that failed; each new try counts."),
                asNumber(figures.totals.failedUploads));
    writeFailureClasses(out, cloud.failedFiles);
    out.gauge("quorin_gateway_waiting_files",
              QStringLiteral("Files whose upload failed and which wait for the time of their next try."),
              asNumber(cloud.waitingFiles));
    out.gauge("quorin_gateway_next_try_seconds",
              QStringLiteral("Until the first of the waiting files is tried again; 0 when none waits."),
              std::chrono::duration<double>(cloud.untilNextTry.value_or(std::chrono::seconds(0))).count());
    out.gauge("quorin_gateway_upload_pause_seconds",
              QStringLiteral("Until anything is sent again after the cloud was away, busy or refused "
                             "everything; 0 while there is no such pause."),
              std::chrono::duration<double>(cloud.pause.value_or(std::chrono::seconds(0))).count());
    out.gauge("quorin_gateway_upload_running",
              QStringLiteral("1 while an upload run is under way."),
              asNumber(cloud.isUploading));
    out.gauge("quorin_gateway_upload_bytes_per_second",
              QStringLiteral("The upload speed of late; 0 when nothing was sent for some seconds."),
              cloud.uploadBytesPerSecond);
    out.gauge("quorin_gateway_signed_in",
              QStringLiteral(
                  "1 while there is a session with the cloud that it hasn't refused, and that can be used."),
              asNumber(cloud.session == account::SessionState::signedIn));
    if (cloud.isOnline) {
        out.gauge("quorin_gateway_cloud_up",
                  QStringLiteral("1 when the cloud answered last time."),
                  asNumber(*cloud.isOnline));
    }
    if (cloud.areTermsRequired) {
        out.gauge("quorin_gateway_terms_required",
                  QStringLiteral("1 while the cloud takes nothing before its terms are accepted."),
                  asNumber(*cloud.areTermsRequired));
    }
}

void writeRooms(PrometheusWriter &out, const std::vector<HealthFigures::Room> &rooms)
{
    if (rooms.empty()) {
        return;
    }
    out.gaugeFamily("quorin_gateway_free_bytes",
                    QStringLiteral("Free space on the volume of the folder in the label."));
    for (const HealthFigures::Room &room : rooms) {
        out.sample("folder", room.folder, asNumber(room.freeBytes));
    }
    out.gaugeFamily("quorin_gateway_seconds_until_full",
                    QStringLiteral("How long it takes at the rate of the last hours until no more than the "
                                   "reserve is free; absent while the volume doesn't fill up."));
    for (const HealthFigures::Room &room : rooms) {
        if (room.untilReserve) {
            out.sample("folder", room.folder, asNumber(qint64{room.untilReserve->count()}));
        }
    }
}

void writeStorage(PrometheusWriter &out, const HealthFigures::Storage &storage)
{
    if (storage.usedBytes) {
        out.gauge("quorin_gateway_store_bytes",
                  QStringLiteral("Space that the stored images take."),
                  asNumber(*storage.usedBytes));
    }
    out.gauge("quorin_gateway_reserve_bytes",
              QStringLiteral("Free space below which the listener refuses images."),
              asNumber(storage.reserveBytes));
    writeRooms(out, storage.rooms);
}

} // namespace

QByteArray prometheusText(const MetricsView &view)
{
    PrometheusWriter out;
    writeProcess(out, view);
    if (view.figures) {
        writeState(out, *view.figures, view.isMainLoopAnswering);
        writeReceiving(out, *view.figures);
        writeUpkeep(out, *view.figures);
        writeIndex(out, view.figures->index);
        writeUploading(out, *view.figures);
        writeStorage(out, view.figures->storage);
    }
    return out.text();
}

} // namespace gateway::monitor

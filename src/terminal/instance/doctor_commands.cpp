#include "terminal/instance/doctor_commands.h"

#include "doctor/doctor.h"
#include "index/schema.h"
#include "log/writing/gateway_logger.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_thread.h"
#include "platform/dicom/dicom_file.h"
#include "platform/dicom/helper_process.h"
#include "platform/dicom/worker_process_pool.h"
#include "platform/files/file_system.h"
#include "platform/files/home_lock.h"
#include "platform/notifications/notification_center.h"
#include "platform/system_log/journal_system_log.h"
#include "terminal/commands/doctor_report.h"
#include "upload/failure_figures.h"
#include "upload/removal_record.h"

#include <algorithm>
#include <utility>

namespace gateway::terminal {

namespace {

const QString kRepair = QStringLiteral("repair");

/// Whether a repair may have given images rows that nobody has asked an upload for.
bool mayHaveRecordedImages(const doctor::Diagnosis &diagnosis)
{
    return std::ranges::any_of(diagnosis.findings, [](const doctor::Finding &finding) {
        switch (finding.kind) {
        case doctor::FindingKind::indexMadeAnew: // some, even where not all could be
            return true;
        case doctor::FindingKind::unrecordedImage:
        case doctor::FindingKind::wholeCopy:
        case doctor::FindingKind::rejectedObject:
            return finding.mended > 0;
        default:
            return false;
        }
    });
}

/// What files wait for, but for the pause of all.
upload::WaitingUploads waitingIn(index::DicomDB &index)
{
    const auto &failed = index.failedUploads();
    return {failed.waitingRetries(), std::nullopt, upload::awaitedFiles(failed.counts())};
}

} // namespace

ControlRequest doctorRequest(const DoctorCommand &command)
{
    return {requests::kDoctor, {{kRepair, command.repair}}};
}

DoctorCommands::DoctorCommands(index::DicomDB &index,
                               log::StoreLogEmitter &emitter,
                               platform::MainExecutor &main,
                               const platform::Clock &clock,
                               receive::IncomingFolders &incomingFolders,
                               std::function<bool(const QString &path)> awaitsRemoval,
                               std::function<void()> onImagesRecorded,
                               std::function<Standing()> standing)
    : m_index(index), m_emitter(emitter), m_main(main), m_clock(clock), m_incomingFolders(incomingFolders),
      m_awaitsRemoval(std::move(awaitsRemoval)), m_onImagesRecorded(std::move(onImagesRecorded)),
      m_standing(std::move(standing))
{
    platform::assertMainThread("DoctorCommands");
}

bool DoctorCommands::handle(const ControlRequest &request, const Answer &answer)
{
    if (request.command != requests::kDoctor) {
        return false;
    }
    examine(request, answer);
    return true;
}

void DoctorCommands::examine(const ControlRequest &request, const Answer &answer)
{
    if (m_isExamining) {
        answer(ControlReply::failure(QStringLiteral("Another examination is under way; try again later.")));
        return;
    }
    m_isExamining = true;
    const bool repair = request.arguments.value(kRepair).toBool();
    m_task = platform::Task("doctor",
                            [weak = weak_from_this(),
                             &index = m_index,
                             &emitter = m_emitter,
                             &main = m_main,
                             &clock = m_clock,
                             &folders = m_incomingFolders,
                             awaitsRemoval = m_awaitsRemoval,
                             repair,
                             hungUp = request.hungUp,
                             answer](const std::stop_token &quitting) {
                                std::stop_source stop;
                                const auto end = [&stop] { stop.request_stop(); };
                                const std::stop_callback whenQuitting(quitting, end);
                                const std::stop_callback whenHungUp(hungUp, end);
                                const doctor::Diagnosis diagnosis =
                                    doctor::Doctor(index, folders, emitter, clock, awaitsRemoval)
                                        .examine(repair, stop.get_token());
                                const upload::WaitingUploads waiting = waitingIn(index);
                                const auto fences = platform::askForFences(platform::helperProgramPath());
                                main.post(weak, [weak, diagnosis, waiting, fences, repair, answer] {
                                    if (const auto self = weak.lock()) {
                                        self->finish(diagnosis, waiting, fences, repair, answer);
                                    }
                                });
                            });
}

void DoctorCommands::finish(doctor::Diagnosis diagnosis,
                            upload::WaitingUploads waiting,
                            const std::optional<platform::HelperFences> &fences,
                            bool repair,
                            const Answer &answer)
{
    m_isExamining = false;
    if (repair && mayHaveRecordedImages(diagnosis)) {
        m_onImagesRecorded();
    }
    if (diagnosis.wasStopped) {
        answer(ControlReply::failure(QStringLiteral("The examination was ended.")));
        return;
    }
    const Standing standing = m_standing();
    const qint64 unsent = m_index.counts().notSynced.images;
    if (!standing.isListeningAsItShould) {
        diagnosis.findings.append({.kind = doctor::FindingKind::listenerNotListening, .count = 1});
    }
    if (unsent > 0 && !standing.isSignedIn && standing.missingSession.isEmpty()) {
        diagnosis.findings.append({.kind = doctor::FindingKind::nobodySignedIn, .count = unsent});
    }
    waiting.pause = standing.pause;
    QJsonObject report = toJson(diagnosis, repair, waiting);
    addFences(report, fences);
    addLogRoom(report, standing.logBytes, standing.logLimitBytes);
    if (unsent > 0 && !standing.missingSession.isEmpty()) {
        addMissingSession(report, unsent, standing.missingSession);
    }
    answer(ControlReply::success(report));
}

ControlReply examineWithoutInstance(const core::HomeLayout &layout,
                                    platform::UserDefaults &defaults,
                                    const core::Settings &settings,
                                    const ControlRequest &request)
{
    const auto indexLock = platform::HomeLock::tryLock(layout.indexLockFile());
    if (!indexLock) {
        return ControlReply::failure(QStringLiteral("The index is used by another process."));
    }
    platform::SystemClock clock;
    platform::JournalSystemLog systemLog;
    log::GatewayLogger logger(systemLog, std::make_unique<log::GatewayLogFileSink>(layout.logFolder, clock));
    log::StoreLogEmitter emitter(logger, clock);
    platform::MainExecutor main;
    platform::NotificationCenter notifications;
    platform::WorkerProcessPool parserProcesses(1, platform::helperProgramPath());
    platform::DicomFile parser(parserProcesses, clock);
    try {
        index::DicomDB index({layout.indexFile, layout.fileStore},
                             {.defaults = defaults,
                              .parser = parser,
                              .notifications = notifications,
                              .main = main,
                              .clock = clock,
                              .files = platform::systemFiles(),
                              .onFileRemoved = [&emitter](const QUrl &file, index::RemovalReason reason) {
                                  emitter.emit(upload::removalRecord(file, reason));
                              }});
        const bool repair = request.arguments.value(kRepair).toBool();
        receive::IncomingFolders folders(defaults, settings, {layout.incomingFolder, layout.tokenFolder()});
        const auto awaitsRemoval = [](const QString &) { return false; }; // nobody has any in hand
        doctor::Doctor doctor(index, folders, emitter, clock, awaitsRemoval);
        const doctor::Diagnosis diagnosis = doctor.examine(repair, request.hungUp);
        QJsonObject report = toJson(diagnosis, repair, waitingIn(index));
        addFences(report, platform::askForFences(platform::helperProgramPath()));
        return ControlReply::success(report);
    } catch (const index::StoreInUseError &error) {
        return ControlReply::failure(error.message());
    } catch (const index::IndexOpenError &error) {
        return ControlReply::failure(
            QStringLiteral("The index can't be opened: %1. Restore it from a backup; or move it away and run "
                           "doctor --repair, which records the stored images anew.")
                .arg(error.message()));
    }
}

} // namespace gateway::terminal

#pragma once

#include "app/gateway_options.h"
#include "core/deployment.h"
#include "core/log_limit.h"
#include "core/settings.h"
#include "index/dicom_db.h"
#include "log/writing/gateway_log_file_sink.h"
#include "log/writing/gateway_logger.h"
#include "log/writing/store_log_emitter.h"
#include "monitor/event_counts.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/dicom/dicom_converter_wrapper.h"
#include "platform/dicom/dicom_file.h"
#include "platform/dicom/helper_process.h"
#include "platform/dicom/worker_process_pool.h"
#include "platform/files/file_system.h"
#include "platform/notifications/notification_center.h"
#include "platform/system_log/journal_system_log.h"
#include "upload/removal_record.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <memory>
#include <thread>

namespace gateway::app {

/// What everything else of a gateway stands on: time, messages, settings, the log, the index, threads.
///
/// The parts are made in the order in which they stand here, each of those above it; so it is in every
/// assembly, and each assembly is made of those before it.
///
/// Owner: Gateway. Thread: main, where it is made; each part names its own.
struct Ground
{
    static int cores() { return std::max(1, static_cast<int>(std::thread::hardware_concurrency())); }

    const GatewayOptions &options;
    core::Deployment deployment =
        core::readDeployment(core::deploymentFiles(QCoreApplication::applicationDirPath()));

    platform::SystemClock clock = {};
    platform::MainExecutor main = {};
    platform::NotificationCenter notifications = {};
    platform::UserDefaults defaults{options.layout.defaultsFile};
    core::Settings settings{defaults};

    platform::JournalSystemLog systemLog = {};
    log::LogFolderRoom logRoom{[this] { return core::logLimitBytes(defaults); }};
    log::GatewayLogger logger{
        systemLog,
        std::make_unique<log::GatewayLogFileSink>(
            options.layout.logFolder, clock, log::GatewayLogFileSink::kDefaultMaxFileSizeBytes, &logRoom)};
    monitor::EventCounts eventCounts = {};
    log::StoreLogEmitter emitter{logger, clock};

    platform::WorkerProcessPool parserProcesses{cores(), platform::helperProgramPath()};
    platform::WorkerProcessPool converterProcesses{cores(), platform::helperProgramPath()};
    platform::DicomFile parser{parserProcesses, clock};
    platform::DicomConverterWrapper converter{converterProcesses,
                                              options.layout.temporaryFolder + QStringLiteral("/converted")};
    index::DicomDB index{{options.layout.indexFile, options.layout.fileStore},
                         {.defaults = defaults,
                          .parser = parser,
                          .notifications = notifications,
                          .main = main,
                          .clock = clock,
                          .files = platform::systemFiles(),
                          .onFileRemoved = [&log = emitter](const QUrl &file, index::RemovalReason reason) {
                              log.emit(upload::removalRecord(file, reason));
                          }}};

    /// For calls that wait for the network.
    platform::WorkerPool networkPool{QStringLiteral("cloud"), 4};

    /// For everything else but what comes into incoming folders.
    platform::WorkerPool pool{QStringLiteral("global"), 12};
};

} // namespace gateway::app

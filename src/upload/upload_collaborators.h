#pragma once

#include "cloud_client/qrn_stow_api.h"
#include "index/upload_index.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/dicom/dicom_converting.h"
#include "state/upload_state.h"
#include "upload/new_series.h"
#include "upload/run_observer.h"
#include "upload/store_upload.h"
#include "upload/upload_ports.h"

namespace gateway::upload {

/// Whom upload runs work with; all of it outlives them, and `state` outlives the last block of `main`.
struct UploadCollaborators
{
    index::UploadIndex &index;
    cloud_client::QrnStowAPIProtocol &cloud;
    platform::DicomConverting &converter;
    UploadSession &session;
    state::UploadState &state;
    TermsFollowUp &terms;
    GatewayAutoDeleteCleanupServicing &cleanup;
    RunObserver &observer;
    log::StoreLogEmitter &emitter;
    platform::MainExecutor &main;
    platform::Clock &clock;
    NewSeries &newSeries;
};

/// What one run is: its identity, its orders, and the details that nearly all of its events carry.
struct RunIdentity
{
    RunIdentity(QString id, const StoreUpload::ExecutionConfig &orders, QString device)
        : runId(std::move(id)), config(orders), executionDetails(StoreUpload::executionDetails(orders)),
          deviceId(std::move(device))
    {
    }

    const QString runId;
    const StoreUpload::ExecutionConfig config;
    const Details executionDetails;
    const QString deviceId;
};

} // namespace gateway::upload

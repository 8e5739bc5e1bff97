#pragma once

#include "index/dicom_db.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/task.h"
#include "platform/system_log/system_log.h"
#include "receive/store_listener_service.h"
#include "upload/upload_requests.h"

#include <QtCore/QString>

#include <cstdint>
#include <functional>
#include <stop_token>

namespace gateway::app {

/// Gives the stored files rows again that a lost index leaves without, or one that is older than a store
/// which comes into sight, and tells operators of it.
///
/// Owner: Gateway, from the launch on. Thread: main; the work is done on a thread of its own.
class IndexRecording
{
public:
    /// What the recording works with; all of it outlives it.
    struct Collaborators
    {
        index::DicomDB &index;
        platform::Clock &clock;
        upload::UploadRequests &uploads;
        receive::StoreListenerService &listener;
        platform::SystemLog &systemLog;
        std::function<void(const QString &)> writeLine; ///< one plain line for operators; any thread
    };

    /// Begins at once; the destructor stops and waits.
    explicit IndexRecording(Collaborators collaborators);

private:
    void watch(const std::stop_token &stop);
    void record(const std::stop_token &stop);
    void say(const QString &sentence);

    const Collaborators m_collaborators;

    // Touched on the task's thread only.
    bool m_isTold = false;
    std::int64_t m_recorded = 0; // since the last time that all were

    platform::Task m_task; // last: joined before the fields go
};

} // namespace gateway::app

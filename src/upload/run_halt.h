#pragma once

#include "platform/concurrency/mutex.h"
#include "upload/store_upload.h"

#include <QtCore/QList>

#include <optional>

namespace gateway::upload {

/// Whether a run may begin anything more. It may not once a request met what would meet every file, when
/// three requests in a row, each with other files, got no answer, when the index failed, or when the
/// session is over in which a page began.
///
/// Owner: UploadRun. Thread: any.
class RunHalt
{
public:
    /// Learns how the files of one request ended; at least one.
    void requestEnded(const QList<StoreUpload::CandidateOutcome> &files);

    /// Learns that the index could not be read or written, or its files were out of sight.
    void indexFailed();

    /// Learns that the session in which a page began is over.
    void sessionOver();

    bool isHalted() const { return trouble().has_value(); }

    /// What halted the run.
    std::optional<StoreUpload::QueueTrouble> trouble() const;

    /// Some request was answered: the cloud takes files, or at least speaks of them.
    bool wasAnswered() const;

private:
    void halt(core::FailureClass cause);

    mutable platform::Mutex m_mutex;
    std::optional<StoreUpload::QueueTrouble> m_trouble QUORIN_GUARDED_BY(m_mutex);
    int m_unansweredInARow QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_wasAnswered QUORIN_GUARDED_BY(m_mutex) = false;
};

} // namespace gateway::upload

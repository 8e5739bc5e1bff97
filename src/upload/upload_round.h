#pragma once

#include "platform/concurrency/mutex.h"
#include "upload/store_upload.h"

#include <QtCore/QList>

#include <cstdint>

namespace gateway::upload {

/// One page of candidates on its way: what was begun of it, and the outcomes so far.
///
/// Owner: UploadRun. Thread: any.
class UploadRound
{
public:
    using Contexts = QList<StoreUpload::CandidateContext>;
    using Outcomes = QList<StoreUpload::CandidateOutcome>;

    explicit UploadRound(Contexts contexts) : m_contexts(std::move(contexts)) {}

    const Contexts &contexts() const { return m_contexts; }

    /// Notes that a chunk of so many candidates was marked in progress.
    void chunkBegan(qsizetype candidates)
    {
        const platform::MutexLock lock(m_mutex);
        m_begun += candidates;
        ++m_open;
    }

    /// Notes that a begun chunk has ended; without outcomes when it was cancelled.
    void chunkEnded(const Outcomes &outcomes)
    {
        const platform::MutexLock lock(m_mutex);
        m_outcomes.append(outcomes);
        --m_open;
        m_changed.notifyAll();
    }

    /// True when no begun chunk is under way.
    bool isAtRest() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_open == 0;
    }

    /// Blocks until no begun chunk is under way.
    void wait()
    {
        const platform::MutexLock lock(m_mutex);
        while (m_open > 0) {
            m_changed.wait(m_mutex);
        }
    }

    /// Candidates that were marked in progress.
    std::int64_t begun() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_begun;
    }

    /// In the order in which they came about.
    Outcomes outcomes() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_outcomes;
    }

private:
    const Contexts m_contexts;
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    std::int64_t m_begun QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_open QUORIN_GUARDED_BY(m_mutex) = 0;
    Outcomes m_outcomes QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::upload

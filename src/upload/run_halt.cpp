#include "upload/run_halt.h"

#include <algorithm>

namespace gateway::upload {

using StoreUpload::CandidateOutcome;
using StoreUpload::FailureReach;
using StoreUpload::QueueTrouble;

namespace {

// One file that a server or a firewall cuts off doesn't say that the cloud is away; three do.
constexpr int kMostUnansweredInARow = 3;

QueueTrouble troubleOf(const CandidateOutcome &file)
{
    return {file.end.failure, file.end.retryAfter};
}

} // namespace

void RunHalt::requestEnded(const QList<CandidateOutcome> &files)
{
    const platform::MutexLock lock(m_mutex);
    if (m_trouble) {
        return; // what came first counts
    }
    const auto reaches = [](FailureReach reach) {
        return [reach](const CandidateOutcome &file) { return file.end.reach == reach; };
    };
    const auto queue = std::ranges::find_if(files, reaches(FailureReach::queue));
    if (queue != files.end()) {
        m_trouble = troubleOf(*queue);
    } else if (!std::ranges::all_of(files, reaches(FailureReach::unanswered))) {
        m_unansweredInARow = 0;
        m_wasAnswered = true;
    } else if (++m_unansweredInARow >= kMostUnansweredInARow) {
        m_trouble = troubleOf(files.last());
    }
}

void RunHalt::indexFailed()
{
    halt(core::FailureClass::indexTrouble);
}

void RunHalt::sessionOver()
{
    halt(core::FailureClass::notSignedIn);
}

void RunHalt::halt(core::FailureClass cause)
{
    const platform::MutexLock lock(m_mutex);
    if (!m_trouble) {
        m_trouble = QueueTrouble{{cause, 0}, std::nullopt};
    }
}

std::optional<QueueTrouble> RunHalt::trouble() const
{
    const platform::MutexLock lock(m_mutex);
    return m_trouble;
}

bool RunHalt::wasAnswered() const
{
    const platform::MutexLock lock(m_mutex);
    return m_wasAnswered;
}

} // namespace gateway::upload

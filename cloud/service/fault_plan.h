#pragma once

#include "platform/concurrency/mutex.h"

#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace gateway::cloud {

/// What is to happen to the next requests of a kind.
///
/// Thread: any; a value.
struct FaultRule
{
    std::string method;                    ///< empty: any
    std::string pathPrefix;                ///< of the decoded path
    std::optional<std::int64_t> count = 1; ///< how many requests; nothing: all until cleared

    std::optional<int> status; ///< answer so, without doing the work
    std::string body;
    std::string contentType = "text/plain";
    std::map<std::string, std::string> headers;

    std::chrono::milliseconds delay{0};
    std::optional<std::uint64_t> bytesPerSecond;
    std::optional<std::uint64_t> cutAfterBodyBytes;
    bool cutBeforeAnswer = false;
};

/// What becomes of an instance that is stored in this place already: real archives differ.
enum class SecondVersion
{
    replaces,
    isRefused, ///< with 45070, "already stored"
    isDropped  ///< and answered like one that is stored
};

/// The faults that tests have asked for.
///
/// Owner: CloudService. Thread: any.
class FaultPlan
{
public:
    void add(const FaultRule &rule) QUORIN_EXCLUDES(m_mutex);

    void setSecondVersion(SecondVersion fate) QUORIN_EXCLUDES(m_mutex);
    SecondVersion secondVersion() const QUORIN_EXCLUDES(m_mutex);

    /// Forgets all rules and refusals, and lets second versions replace the first.
    void clear() QUORIN_EXCLUDES(m_mutex);

    /// Uses up one count of the oldest rule that fits the request.
    std::optional<FaultRule> take(const std::string &method, const std::string &path)
        QUORIN_EXCLUDES(m_mutex);

    std::vector<FaultRule> rules() const QUORIN_EXCLUDES(m_mutex);

    /// From now on an upload of that instance fails with that FailureReason, `count` times or, without one,
    /// always.
    void refuse(const QString &sopInstanceUid, int failureReason, std::optional<std::int64_t> count)
        QUORIN_EXCLUDES(m_mutex);

    /// The FailureReason to answer an upload of that instance with, using up one count.
    std::optional<int> takeRefusal(const QString &sopInstanceUid) QUORIN_EXCLUDES(m_mutex);

private:
    struct Refusal
    {
        int failureReason = 0;
        std::optional<std::int64_t> count;
    };

    mutable platform::Mutex m_mutex;
    std::vector<FaultRule> m_rules QUORIN_GUARDED_BY(m_mutex);
    std::map<QString, Refusal> m_refusals QUORIN_GUARDED_BY(m_mutex);
    SecondVersion m_secondVersion QUORIN_GUARDED_BY(m_mutex) = SecondVersion::replaces;
};

} // namespace gateway::cloud

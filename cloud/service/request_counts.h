#pragma once

#include "platform/concurrency/mutex.h"

#include <cstdint>
#include <map>
#include <string>

namespace gateway::cloud {

/// How often each method and path was asked for.
///
/// Owner: CloudService. Thread: any.
class RequestCounts
{
public:
    void count(const std::string &method, const std::string &path) QUORIN_EXCLUDES(m_mutex)
    {
        const platform::MutexLock lock(m_mutex);
        ++m_counts[method + ' ' + path];
    }

    /// By method and path, such as `POST /dicom-web/studies`.
    std::map<std::string, std::int64_t> counts() const QUORIN_EXCLUDES(m_mutex)
    {
        const platform::MutexLock lock(m_mutex);
        return m_counts;
    }

    void reset() QUORIN_EXCLUDES(m_mutex)
    {
        const platform::MutexLock lock(m_mutex);
        m_counts.clear();
    }

private:
    mutable platform::Mutex m_mutex;
    std::map<std::string, std::int64_t> m_counts QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::cloud

#pragma once

#include "platform/concurrency/mutex.h"

#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace gateway::cloud {

/// What the service's operator decides.
///
/// Thread: any; a value.
struct ServiceRules
{
    QString termsVersion; ///< empty: no terms need to be accepted
    QString termsText = QStringLiteral("There are no terms for this service.");
    QString termsReason; ///< shown to those who must accept; empty: a reason that fits
    QString minimumVersion = QStringLiteral("0.0.0");
    QString latestVersion = QStringLiteral(QUORIN_VERSION);
    QString minimumOs = QStringLiteral("0");
    std::int64_t allowanceKb = std::int64_t{100} * 1024 * 1024; ///< in units of 1024 bytes
    std::optional<std::int64_t> maxBodyBytes;                   ///< larger uploads are refused with 413
    std::chrono::seconds sessionLifetime = std::chrono::hours(24 * 30);
};

/// Keeps the rules in a file across restarts.
///
/// Owner: CloudService. Thread: any.
class ServiceSettings
{
public:
    /// \param path  of the JSON file; where it is missing the defaults hold.
    explicit ServiceSettings(const QString &path);

    ServiceRules rules() const QUORIN_EXCLUDES(m_mutex);

    /// Puts new rules in force, durably. \throws std::runtime_error  when they can't be written.
    void setRules(const ServiceRules &rules) QUORIN_EXCLUDES(m_mutex);

private:
    const QString m_path;
    mutable platform::Mutex m_mutex;
    ServiceRules m_rules QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::cloud

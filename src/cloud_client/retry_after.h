#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>

#include <chrono>
#include <optional>

namespace gateway::cloud_client {

/// No service is left alone for longer than this on its own word.
inline constexpr std::chrono::seconds kLongestRetryAfter = std::chrono::hours(1);

/// A moment in the one form that senders may still use (RFC 9110 5.6.7), in UTC; nothing for any other text.
///
/// Thread: any; a pure function.
std::optional<QDateTime> parseHttpDate(const QByteArray &value);

/// How long a Retry-After header (RFC 9110, 10.2.3) asks to wait: seconds or an HTTP date, from zero to
/// kLongestRetryAfter. Nothing for any other text.
///
/// \param now  what a date is held against, in UTC.
///
/// Thread: any; a pure function.
std::optional<std::chrono::seconds> parseRetryAfter(const QByteArray &value, const QDateTime &now);

} // namespace gateway::cloud_client

#pragma once

#include <QtCore/QDateTime>

#include <optional>

namespace gateway::index {

/// The files whose upload failed and that wait for their time, as whoever starts upload runs sees them.
///
/// Owner: app. Thread: any. Nothing here throws.
class RetryIndex
{
public:
    virtual ~RetryIndex() = default;

    /// When the next file is to be tried that failed before, in UTC; in the past when its time has come.
    /// Nothing where none waits; now when the index can't be read. Costs the same at any number of files.
    virtual std::optional<QDateTime> nextRetry() const = 0;

    /// Lets every file that waits for its time be tried at once; returns when that is durable. Importers are
    /// let in between.
    virtual void releaseRetries() = 0;
};

} // namespace gateway::index

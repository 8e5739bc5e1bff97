#pragma once

#include "index/pending_image_upload.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace gateway::index {

/// What operators watch of the index.
struct IndexFigures
{
    EntityCounts total;
    std::int64_t syncedImages = 0;
    std::int64_t failedImages = 0;
    InstanceCounts instances;
    std::optional<QDateTime> oldestUnsentImageDate; ///< when it came, in UTC; nothing when all is sent
};

/// What came and went between two moments, a figure a bucket.
struct TransferCounts
{
    std::vector<std::int64_t> received;
    std::vector<std::int64_t> sent;
};

/// What people and machines watch of the index. Nothing here throws, and nothing waits for a writer.
///
/// Owner: app. Thread: any.
class FigureIndex
{
public:
    virtual ~FigureIndex() = default;

    /// All of these counts in one read, so that they agree with one another while writers are at work; zeros
    /// when the index can't be read.
    virtual IndexCounts counts() = 0;

    /// What operators watch, all of one moment; nothing when the index can't be read. Costs the same at any
    /// number of rows.
    virtual std::optional<IndexFigures> figures() const = 0;

    /// \param start, end  read to the whole five minutes below, on which buckets of every time zone start.
    /// \param duration    of one bucket, a multiple of five minutes.
    /// \param count       number of buckets; figures outside of them are left out.
    virtual TransferCounts transferBuckets(const QDateTime &start,
                                           const QDateTime &end,
                                           std::chrono::seconds duration,
                                           int count) const = 0;

    /// The file store's root; made when it is missing, a failure to make it shows at the first import. May
    /// block on a slow disk.
    virtual QString fileStoreRoot() = 0;
};

} // namespace gateway::index

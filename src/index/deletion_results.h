#pragma once

#include <algorithm>
#include <cstdint>

namespace gateway::index {

/// Why a file goes from the file store.
enum class RemovalReason
{
    retention,  ///< uploaded longer ago than the policy allows
    deletion,   ///< a person let it go with its study or series
    superseded, ///< another copy of the image stands for it
    unrecorded, ///< its rows could not be saved; the source is where it was
    resumed     ///< an earlier removal that had not come to its end
};

/// What a prune let go of.
struct LocalPruneResult
{
    std::int64_t eligibleImageCount = 0; ///< rows that were to go
    std::int64_t deletedImageCount = 0;  ///< rows that have gone, durably
    std::int64_t deletedSeriesCount = 0; ///< because they had become empty
    std::int64_t deletedStudyCount = 0;  ///< because they had become empty
    std::int64_t deletedFileCount = 0;   ///< removed from the disk
    std::int64_t failedImageCount = 0;   ///< rows that were to go and are still there

    bool operator==(const LocalPruneResult &) const = default;
};

/// What became of studies or series that were to be deleted. Each identifier counts once, blank ones not at
/// all.
struct DeletionCounts
{
    std::int64_t requested = 0;
    std::int64_t deleted = 0;
    std::int64_t failed = 0;

    static DeletionCounts of(std::int64_t requested, std::int64_t deleted)
    {
        return {requested, deleted, std::max<std::int64_t>(0, requested - deleted)};
    }

    bool operator==(const DeletionCounts &) const = default;
};

} // namespace gateway::index

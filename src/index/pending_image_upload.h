#pragma once

#include "index/image_object_id.h"
#include "index/store_turn.h"
#include "platform/dicom/instance_identity.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <compare>
#include <cstdint>

namespace gateway::index {

/// One upload candidate: one stored file with all the rows that wait for it.
struct PendingImageUpload
{
    QString storagePath; ///< the rows' `pathString`, trimmed
    QList<ImageObjectID> imageObjectIDs;
    QUrl fileURL;

    /// The index's instance keys: each a SOP Instance UID followed by the decimal index of its series in the
    /// file. Without repeats, ascending.
    QStringList sopInstanceUIDs;

    /// What stands in the file and what servers name. Without repeats, ascending.
    QList<platform::InstanceUid> originalSOPInstanceUIDs;

    std::int64_t acknowledged = 0;   ///< in nanoseconds since 1970; 0 where nobody knows
    bool isDamaged = false;          ///< its file is known not to hold all of the image
    std::int64_t contentVersion = 0; ///< of its file when it was taken; 0 where nobody knows
    bool isRetry = false;            ///< it was tried in vain before, and has waited for its time since
    QString lastFailure = {};        ///< the class of its last failure, where it was
    std::int64_t tries = 0;          ///< in vain, after which it had to wait
    StoreTurn store = {};            ///< whose the path is

    bool operator==(const PendingImageUpload &) const = default;
};

/// A place in an order of candidates: the date by which it goes, and the row.
struct PendingPlace
{
    std::int64_t date = INT64_MIN;
    std::int64_t row = 0;

    auto operator<=>(const PendingPlace &) const = default;
};

/// How far a run has come in the two orders of candidates; a new one stands before the first of each.
struct PendingCursor
{
    PendingPlace fresh;    ///< among files that weren't tried in vain, by the date of their coming
    PendingPlace retrying; ///< among those that were, by the date from which they may be tried again

    bool operator==(const PendingCursor &) const = default;
};

/// What a recovery put back.
struct RecoveryCounts
{
    std::int64_t images = 0;
    std::int64_t series = 0;
    std::int64_t studies = 0;
    bool saved = false;

    bool operator==(const RecoveryCounts &) const = default;
};

/// Rows of each entity.
struct EntityCounts
{
    std::int64_t studies = 0;
    std::int64_t series = 0;
    std::int64_t images = 0;

    bool operator==(const EntityCounts &) const = default;
};

/// Instances, each counted once whatever number of frames it has, by what is known of their uploads.
struct InstanceCounts
{
    std::int64_t total = 0;
    std::int64_t synced = 0;
    std::int64_t failed = 0;

    bool operator==(const InstanceCounts &) const = default;
};

/// All counts of the index as they stood together at one moment.
struct IndexCounts
{
    EntityCounts total;
    EntityCounts notSynced; ///< absent, 0, 2 or 3; studies and series by their stored state
    std::int64_t syncedImages = 0;
    std::int64_t failedImages = 0;

    bool operator==(const IndexCounts &) const = default;
};

} // namespace gateway::index

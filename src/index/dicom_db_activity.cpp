// What came and went, by buckets of time.

#include "index/dicom_db.h"
#include "platform/sqlite/database.h"

#include <algorithm>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;
using platform::Statement;

namespace {

// The length of a row of Activity, and how many of them make one of ActivityHour.
constexpr std::chrono::milliseconds kSlot = std::chrono::minutes(5);
constexpr std::int64_t kSlotsOfAnHour = 12;

/// Adds rows up by the bucket that they fall into. All times are in slots since the epoch.
class Buckets
{
public:
    Buckets(std::int64_t first, std::int64_t slotsOfABucket, std::size_t count)
        : m_first(first), m_slotsOfABucket(slotsOfABucket),
          m_sums{std::vector<std::int64_t>(count), std::vector<std::int64_t>(count)}
    {
    }

    /// Rows from `from` to before `to`, which lie within the buckets.
    void addSlots(Database &database, std::int64_t from, std::int64_t to)
    {
        Statement row =
            database.prepare("SELECT slot, received, sent FROM Activity WHERE slot >= ? AND slot < ?");
        row.bindAll(from, to);
        while (row.step()) {
            add(row.integer(0), row.integer(1), row.integer(2));
        }
    }

    /// The same of a long time, by hours; the hours in which a bucket ends are read by slots.
    void addHours(Database &database, std::int64_t from, std::int64_t to)
    {
        const std::int64_t firstHour = (from + kSlotsOfAnHour - 1) / kSlotsOfAnHour;
        const std::int64_t endHour = to / kSlotsOfAnHour;
        if (endHour <= firstHour) {
            addSlots(database, from, to);
            return;
        }
        Statement row =
            database.prepare("SELECT hour, received, sent FROM ActivityHour WHERE hour >= ? AND hour < ?");
        row.bindAll(firstHour, endHour);
        while (row.step()) {
            const std::int64_t slot = row.integer(0) * kSlotsOfAnHour;
            if (bucketOf(slot) == bucketOf(slot + kSlotsOfAnHour - 1)) {
                add(slot, row.integer(1), row.integer(2));
            } else {
                addSlots(database, slot, slot + kSlotsOfAnHour);
            }
        }
        addSlots(database, from, firstHour * kSlotsOfAnHour);
        addSlots(database, endHour * kSlotsOfAnHour, to);
    }

    TransferCounts take() { return std::move(m_sums); }

private:
    std::int64_t bucketOf(std::int64_t slot) const { return (slot - m_first) / m_slotsOfABucket; }

    void add(std::int64_t slot, std::int64_t received, std::int64_t sent)
    {
        const auto bucket = static_cast<std::size_t>(bucketOf(slot));
        m_sums.received.at(bucket) += received;
        m_sums.sent.at(bucket) += sent;
    }

    const std::int64_t m_first;
    const std::int64_t m_slotsOfABucket;
    TransferCounts m_sums;
};

} // namespace

TransferCounts DicomDB::transferBuckets(const QDateTime &start,
                                        const QDateTime &end,
                                        std::chrono::seconds duration,
                                        int count) const
{
    const auto size = static_cast<std::size_t>(std::max(0, count));
    const std::int64_t slotsOfABucket = std::max<std::int64_t>(1, duration / kSlot);
    const std::int64_t first = start.toMSecsSinceEpoch() / kSlot.count();
    const std::int64_t last =
        std::min<std::int64_t>(end.toMSecsSinceEpoch() / kSlot.count(), first + slotsOfABucket * count);
    try {
        return m_store.read([&](Database &database) {
            Buckets buckets(first, slotsOfABucket, size);
            if (slotsOfABucket > kSlotsOfAnHour) {
                buckets.addHours(database, first, last);
            } else {
                buckets.addSlots(database, first, last);
            }
            return buckets.take();
        });
    } catch (const SqliteError &) {
        return {std::vector<std::int64_t>(size), std::vector<std::int64_t>(size)};
    }
}

} // namespace gateway::index

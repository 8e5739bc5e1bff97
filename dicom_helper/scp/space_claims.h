#pragma once

#include "dicom_helper/scp/inbox.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace gateway::dicom_helper::scp {

class SpaceClaims;

/// What the open object of one association may still write. It ends with giveBack(); where the association's
/// process couldn't, the listener does it. Thread: a plain value; one an association.
class SpaceClaim
{
public:
    SpaceClaim(SpaceClaims &claims, std::size_t slot) : m_claims(&claims), m_slot(slot) {}

    /// Sees to it that the claim covers so many bytes more, which are to be written next.
    ///
    /// \return 0, or the negated errno of the disk; -ENOSPC where the reserve would not be left.
    int cover(std::int64_t bytes, InboxDisk &disk);

    /// So many of the covered bytes are on the disk.
    void written(std::int64_t bytes);

    void giveBack();

private:
    SpaceClaims *m_claims;
    std::size_t m_slot;
};

/// The claims of all open objects on the free space of the inbox, in memory that this process shares with all
/// that it forks. Together they never reach into the reserve, however many objects are open.
///
/// Owner: Listener. Thread: one a process; any process.
class SpaceClaims
{
public:
    static constexpr std::size_t kSlots = 256;

    /// \param reserve  bytes of free space that are left alone.
    /// \throws std::system_error when there is no memory.
    explicit SpaceClaims(std::int64_t reserve);
    ~SpaceClaims();
    SpaceClaims(const SpaceClaims &) = delete;
    SpaceClaims &operator=(const SpaceClaims &) = delete;

    /// What the association in this slot claims and has not written yet.
    std::int64_t claimed(std::size_t slot) const { return (*m_table)[slot].load(); }

    /// Takes back what the process of this slot left behind.
    void giveBack(std::size_t slot) { (*m_table)[slot].store(0); }

private:
    friend class SpaceClaim;
    using Table = std::array<std::atomic<std::int64_t>, kSlots>;
    static_assert(std::atomic<std::int64_t>::is_always_lock_free, "or other processes could not use it");

    int renew(std::size_t slot, std::int64_t bytes, InboxDisk &disk);
    std::int64_t claimedByOthers(std::size_t slot) const;

    std::int64_t m_reserve;
    Table *m_table;
};

} // namespace gateway::dicom_helper::scp

#include "dicom_helper/scp/space_claims.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include <sys/mman.h>

namespace gateway::dicom_helper::scp {

namespace {

// Asking for the free space costs a microsecond, so that once in so many bytes is often enough. Where space
// is scarce a claim is a part of it, so that many small objects aren't refused for what one could still take.
constexpr std::int64_t kMostBytes = 16 * 1024 * 1024;
constexpr std::int64_t kLeastBytes = 256 * 1024;
constexpr std::int64_t kPartOfTheRest = 128;

} // namespace

SpaceClaims::SpaceClaims(std::int64_t reserve) : m_reserve(reserve)
{
    void *memory = ::mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "mmap");
    }
    m_table = new (memory) Table{};
}

SpaceClaims::~SpaceClaims()
{
    ::munmap(m_table, sizeof(Table));
}

std::int64_t SpaceClaims::claimedByOthers(std::size_t slot) const
{
    std::int64_t sum = 0;
    for (std::size_t other = 0; other < kSlots; ++other) {
        sum += other == slot ? 0 : (*m_table)[other].load();
    }
    return sum;
}

/// The claims are read before the free space: what another writes in between counts twice, not never. The own
/// claim stands before it is held against the others, so of two at once at least one sees the other.
int SpaceClaims::renew(std::size_t slot, std::int64_t bytes, InboxDisk &disk)
{
    giveBack(slot);
    for (std::int64_t claim = 0;;) {
        const std::int64_t others = claimedByOthers(slot);
        const std::int64_t available = disk.availableBytes();
        const std::int64_t rest = available - m_reserve - others - claim;
        if (available < 0 || rest < 0) {
            giveBack(slot);
            return available < 0 ? static_cast<int>(available) : -ENOSPC;
        }
        if (claim > 0) {
            return 0;
        }
        claim = std::max(bytes, std::clamp(rest / kPartOfTheRest, kLeastBytes, kMostBytes));
        (*m_table)[slot].store(claim);
    }
}

int SpaceClaim::cover(std::int64_t bytes, InboxDisk &disk)
{
    return m_claims->claimed(m_slot) >= bytes ? 0 : m_claims->renew(m_slot, bytes, disk);
}

void SpaceClaim::written(std::int64_t bytes)
{
    (*m_claims->m_table)[m_slot].fetch_sub(bytes);
}

void SpaceClaim::giveBack()
{
    m_claims->giveBack(m_slot);
}

} // namespace gateway::dicom_helper::scp

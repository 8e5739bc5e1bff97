#include "dicom_helper/scp/acknowledgement_order.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include <sys/mman.h>

namespace gateway::dicom_helper::scp {

static_assert(std::atomic<std::int64_t>::is_always_lock_free, "a lock would not work over processes");

namespace {

// What file systems keep: nanoseconds, 100 of them (NTFS, SMB), micro-, milli-, whole and even seconds (FAT).
constexpr std::array<std::int64_t, 6> kSteps{1, 100, 1'000, 1'000'000, 1'000'000'000, 2'000'000'000};

/// The next coarser step; 0 behind the last.
std::int64_t coarserThan(std::int64_t step)
{
    const auto *const found = std::ranges::upper_bound(kSteps, step);
    return found == kSteps.end() ? 0 : *found;
}

std::int64_t roundedUp(std::int64_t time, std::int64_t step)
{
    return (time / step + (time % step == 0 ? 0 : 1)) * step;
}

void raise(std::atomic<std::int64_t> &shared, std::int64_t value)
{
    std::int64_t present = shared.load();
    while (present < value && !shared.compare_exchange_weak(present, value)) {
    }
}

} // namespace

AcknowledgementOrder::AcknowledgementOrder(std::int64_t last)
{
    void *shared = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        throw std::runtime_error("There is no memory for the listener.");
    }
    m_shared = new (shared) Shared{last};
}

AcknowledgementOrder::~AcknowledgementOrder()
{
    ::munmap(m_shared, sizeof(*m_shared));
}

/// The counter and the step are those of all objects, so they follow what was kept, and not what was tried: a
/// time that the volume can't keep, of a clock that stands wrong for a moment, must not stand before all
/// others.
std::int64_t AcknowledgementOrder::give(std::int64_t now, const Keep &keep)
{
    std::int64_t step = m_shared->step.load();
    for (;;) {
        std::int64_t last = m_shared->last.load();
        const std::int64_t given = roundedUp(std::max(now, last + 1), step);
        const std::int64_t kept = keep(given);
        if (kept < 0) {
            return kept;
        }
        if (kept == given) {
            if (m_shared->last.compare_exchange_strong(last, given)) {
                scp::raise(m_shared->step, step);
                return given;
            }
            continue; // another process has been quicker
        }
        step = coarserThan(step);
        if (step == 0 || std::abs(given - kept) > kSteps.back()) {
            return -ERANGE;
        }
    }
}

void AcknowledgementOrder::raise(std::int64_t time)
{
    scp::raise(m_shared->last, time);
}

} // namespace gateway::dicom_helper::scp

#include "dicom_helper/scp/acknowledgement_order.h"

#include <algorithm>
#include <array>
#include <cerrno>
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

std::int64_t AcknowledgementOrder::give(std::int64_t now, const Keep &keep)
{
    for (;;) {
        std::int64_t step = m_shared->step.load();
        const std::int64_t given = next(now, step);
        const std::int64_t kept = keep(given);
        if (kept == given || kept < 0) {
            return kept;
        }
        const std::int64_t coarser = coarserThan(step);
        if (coarser == 0) {
            return -ERANGE;
        }
        m_shared->step.compare_exchange_strong(step, coarser); // unless another process has been quicker
    }
}

void AcknowledgementOrder::raise(std::int64_t time)
{
    std::int64_t last = m_shared->last.load();
    while (last < time && !m_shared->last.compare_exchange_weak(last, time)) {
    }
}

std::int64_t AcknowledgementOrder::next(std::int64_t now, std::int64_t step)
{
    std::int64_t last = m_shared->last.load();
    std::int64_t given = 0;
    do {
        const std::int64_t earliest = std::max(now, last + 1);
        given = (earliest / step + (earliest % step == 0 ? 0 : 1)) * step;
    } while (!m_shared->last.compare_exchange_weak(last, given));
    return given;
}

} // namespace gateway::dicom_helper::scp

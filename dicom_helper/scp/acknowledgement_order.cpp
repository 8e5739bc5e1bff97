#include "dicom_helper/scp/acknowledgement_order.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include <sys/mman.h>

namespace gateway::dicom_helper::scp {

static_assert(std::atomic<std::int64_t>::is_always_lock_free, "a lock would not work over processes");

AcknowledgementOrder::AcknowledgementOrder(std::int64_t last)
{
    void *shared = ::mmap(nullptr,
                          sizeof(std::atomic<std::int64_t>),
                          PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS,
                          -1,
                          0);
    if (shared == MAP_FAILED) {
        throw std::runtime_error("There is no memory for the listener.");
    }
    m_last = new (shared) std::atomic<std::int64_t>(last);
}

AcknowledgementOrder::~AcknowledgementOrder()
{
    ::munmap(m_last, sizeof(*m_last));
}

std::int64_t AcknowledgementOrder::next(std::int64_t now)
{
    std::int64_t last = m_last->load();
    std::int64_t given = 0;
    do {
        given = std::max(now, last + 1);
    } while (!m_last->compare_exchange_weak(last, given));
    return given;
}

} // namespace gateway::dicom_helper::scp

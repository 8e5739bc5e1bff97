#pragma once

#include <atomic>
#include <cstdint>

namespace gateway::dicom_helper::scp {

/// Gives each object that is kept a time of its own, each later than the one before, over all associations
/// of a listener: their processes share one counter. The clock may stand still or be set back meanwhile.
///
/// Owner: Inbox, made before associations are forked. Thread: any, of any of these processes.
class AcknowledgementOrder
{
public:
    /// \param last  nanoseconds since 1970; every time given is later.
    /// \throws std::runtime_error  when there is no memory to share.
    explicit AcknowledgementOrder(std::int64_t last);
    ~AcknowledgementOrder();

    AcknowledgementOrder(const AcknowledgementOrder &) = delete;
    AcknowledgementOrder &operator=(const AcknowledgementOrder &) = delete;

    /// The next time, in nanoseconds since 1970: `now`, or just behind the last one given.
    std::int64_t next(std::int64_t now);

private:
    std::atomic<std::int64_t> *m_last;
};

} // namespace gateway::dicom_helper::scp

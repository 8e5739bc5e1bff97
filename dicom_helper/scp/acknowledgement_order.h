#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

namespace gateway::dicom_helper::scp {

/// Gives each object that is kept a time of its own, each later than the one before, over all associations
/// of a listener: their processes share one counter. The clock may stand still or be set back meanwhile, and
/// the volume may keep whole seconds only.
///
/// Owner: Inbox, made before associations are forked. Thread: any, of any of these processes.
class AcknowledgementOrder
{
public:
    /// Sets the time of an object. \return the time that the volume has kept, or the negated errno.
    using Keep = std::function<std::int64_t(std::int64_t time)>;

    /// \param last  nanoseconds since 1970; every time given is later.
    /// \throws std::runtime_error  when there is no memory to share.
    explicit AcknowledgementOrder(std::int64_t last);
    ~AcknowledgementOrder();

    AcknowledgementOrder(const AcknowledgementOrder &) = delete;
    AcknowledgementOrder &operator=(const AcknowledgementOrder &) = delete;

    /// Gives the next time: `now`, or one just behind the last one given. A time counts only where the volume
    /// keeps it as it is, so that no two objects share one; where it cuts it to a coarser one, the times of
    /// all from now on are as coarse.
    ///
    /// \param keep  may be called several times; the time of its last call counts.
    /// \return the time in nanoseconds since 1970; -ERANGE where the volume keeps none, or none that is so
    ///         late; else what `keep` failed with.
    std::int64_t give(std::int64_t now, const Keep &keep);

    /// Every time given from now on is later than this one.
    void raise(std::int64_t time);

private:
    struct Shared
    {
        std::atomic<std::int64_t> last;
        std::atomic<std::int64_t> step = 1; // every time given is a multiple of it
    };

    Shared *m_shared;
};

} // namespace gateway::dicom_helper::scp

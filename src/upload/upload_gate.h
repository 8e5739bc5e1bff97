#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"
#include "upload/store_upload.h"

#include <QtCore/QDateTime>

#include <chrono>
#include <functional>
#include <optional>

namespace gateway::upload {

/// Stands before every upload run: closed for a while after a run met what concerns the whole queue.
///
/// It stays closed for as long as the cloud asked for, and for a pause that doubles with each run that sent
/// nothing, from two seconds to five minutes. A random number takes up to a fifth off a pause, so that the
/// gateways of a site don't come back together.
///
/// Owner: StoreUploadCoordinator. Thread: any.
class UploadGate
{
public:
    /// A number from 0 up to 1.
    using Random = std::function<double()>;

    static constexpr std::chrono::seconds kFirstPause{2};
    static constexpr std::chrono::minutes kLongestPause{5};

    /// Why it is closed.
    struct Closure
    {
        core::FailureClass cause = core::FailureClass::unknown;
        bool wasAskedFor = false; ///< by the cloud, with a time
        QDateTime until;          ///< UTC

        bool operator==(const Closure &) const = default;
    };

    /// \param clock  outlives the gate.
    UploadGate(const platform::Clock &clock, Random random) : m_clock(clock), m_random(std::move(random)) {}

    /// Learns how a run ended, and closes where it met trouble; a run without session counts as such.
    void runEnded(const StoreUpload::RunSummary &summary);

    /// Opens at once. The pauses go on growing where they stood.
    void open();

    bool isOpen() const { return remaining() <= std::chrono::nanoseconds(0); }

    /// How long it stays closed; 0 when it is open.
    std::chrono::nanoseconds remaining() const;

    /// Why it is closed; nothing while it is open.
    std::optional<Closure> closure() const;

    /// True from the first trouble until a run went well.
    bool isTroubled() const;

private:
    std::chrono::nanoseconds pauseAfter(const StoreUpload::QueueTrouble &trouble) QUORIN_REQUIRES(m_mutex);

    const platform::Clock &m_clock;
    const Random m_random;
    mutable platform::Mutex m_mutex;
    Closure m_closure QUORIN_GUARDED_BY(m_mutex);
    std::chrono::nanoseconds m_opensAt QUORIN_GUARDED_BY(m_mutex){0}; // on the monotonic clock
    int m_runsInVain QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_isTroubled QUORIN_GUARDED_BY(m_mutex) = false;
};

} // namespace gateway::upload

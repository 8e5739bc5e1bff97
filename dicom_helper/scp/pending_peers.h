#pragma once

#include "dicom_helper/scp/pending_peer.h"
#include "dicom_helper/scp/turned_away.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <list>
#include <optional>
#include <vector>

#include <poll.h>

namespace gateway::dicom_helper::scp {

/// The connections that have not sent their whole request yet, the oldest first. What they may take is
/// bounded: their number, how many of them one address has, and the memory of all; who goes beyond pays for
/// it itself where that can be told.
///
/// Owner: Listener. Thread: the listener's.
class PendingPeers
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    struct Limits
    {
        std::size_t most = 0;
        std::size_t mostOfAddress = 0;
    };

    explicit PendingPeers(TurnedAway &turnedAway) : m_turnedAway(turnedAway) {}

    /// Takes one more; beyond the limits the oldest goes, of its address or of all.
    void add(PendingPeer peer, const Limits &limits);

    void dropOldest();
    void clear() { m_peers.clear(); }

    void addDescriptors(std::vector<pollfd> &entries) const;

    /// Of the oldest; nothing without any.
    std::optional<TimePoint> deadline() const;

    /// Takes what has come. `onComplete` gets each whose request is whole, once it is no longer in here.
    void read(TimePoint now, const std::function<void(PendingPeer)> &onComplete);

private:
    using Peers = std::list<PendingPeer>;

    void drop(Peers::iterator peer, const char *reason);
    void keepToBudget();

    TurnedAway &m_turnedAway;
    Peers m_peers;
};

} // namespace gateway::dicom_helper::scp

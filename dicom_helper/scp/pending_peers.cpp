#include "dicom_helper/scp/pending_peers.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace gateway::dicom_helper::scp {

namespace {

// A request of a usual sender takes some ten kilobytes and comes at once.
constexpr std::size_t kRequestBytes = 8 * 1024 * 1024;

} // namespace

void PendingPeers::add(PendingPeer peer, const Limits &limits)
{
    const auto isOfSameHost = [&peer](const PendingPeer &other) { return other.host() == peer.host(); };
    const auto ofSameHost =
        static_cast<std::size_t>(std::count_if(m_peers.begin(), m_peers.end(), isOfSameHost));
    if (ofSameHost >= limits.mostOfAddress) {
        drop(std::find_if(m_peers.begin(), m_peers.end(), isOfSameHost), kTooManyConnections);
    } else if (m_peers.size() >= limits.most) {
        dropOldest(); // it has had the most time of all
    }
    m_peers.push_back(std::move(peer));
}

void PendingPeers::dropOldest()
{
    if (!m_peers.empty()) {
        drop(m_peers.begin(), kTooManyConnections);
    }
}

void PendingPeers::drop(Peers::iterator peer, const char *reason)
{
    m_turnedAway.note(reason, peer->host());
    m_peers.erase(peer);
}

void PendingPeers::addDescriptors(std::vector<pollfd> &entries) const
{
    for (const PendingPeer &peer : m_peers) {
        entries.push_back({peer.descriptor(), POLLIN, 0});
    }
}

std::optional<PendingPeers::TimePoint> PendingPeers::deadline() const
{
    return m_peers.empty() ? std::nullopt : std::optional(m_peers.front().deadline());
}

void PendingPeers::read(TimePoint now, const std::function<void(PendingPeer)> &onComplete)
{
    for (auto peer = m_peers.begin(); peer != m_peers.end();) {
        const PendingPeer::Progress progress = peer->read();
        if (progress == PendingPeer::Progress::waiting && now < peer->deadline()) {
            ++peer;
            keepToBudget();
            continue;
        }
        if (progress == PendingPeer::Progress::waiting) {
            m_turnedAway.note(kRequestTooLate, peer->host());
        }
        PendingPeer taken = std::move(*peer);
        peer = m_peers.erase(peer);
        if (progress == PendingPeer::Progress::complete) {
            onComplete(std::move(taken));
        }
    }
    m_peers.remove_if([](const PendingPeer &peer) { return peer.isAbandoned(); });
}

/// Where all requests together take too much, the largest goes of the host that has most.
void PendingPeers::keepToBudget()
{
    std::size_t all = 0;
    std::map<std::string, std::size_t> ofHosts;
    for (const PendingPeer &peer : m_peers) {
        all += peer.heldBytes();
        ofHosts[peer.host()] += peer.heldBytes();
    }
    if (all <= kRequestBytes) {
        return;
    }
    const auto ofHost = [&ofHosts](const PendingPeer &peer) { return ofHosts.at(peer.host()); };
    const auto heaviest = std::max_element(
        m_peers.begin(), m_peers.end(), [&](const PendingPeer &one, const PendingPeer &other) {
            return std::pair(ofHost(one), one.heldBytes()) < std::pair(ofHost(other), other.heldBytes());
        });
    m_turnedAway.note(kRequestsTooLarge, heaviest->host());
    heaviest->abandon(); // read() may just stand at it
}

} // namespace gateway::dicom_helper::scp

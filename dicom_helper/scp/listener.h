#pragma once

#include "dicom_helper/scp/association_process.h"
#include "dicom_helper/scp/inbox.h"
#include "dicom_helper/scp/listening_socket.h"
#include "dicom_helper/scp/pending_peers.h"
#include "dicom_helper/scp/space_claims.h"
#include "dicom_helper/scp/turned_away.h"
#include "platform/dicom_protocol/channel.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <poll.h>

namespace gateway::dicom_helper::scp {

struct ListenerSettings
{
    std::string address;
    std::int64_t port = 0;
    std::chrono::seconds timeout{0}; // of an idle association; 0 or less for none
    std::int64_t reserve = 0;        // bytes of free space that are left alone

    // A peer has so long for its association request (the upper layer's ARTIM timer, PS3.8 9.1.4).
    std::chrono::milliseconds requestDeadline{10'000};

    std::size_t perAddress = 128; // of 256 associations at once, and of connections that aren't one yet
};

/// Takes connections, reads their association requests side by side, and gives each association a
/// process of its own; so a slow, broken or hostile peer costs itself alone.
///
/// Owner: run(). Thread: one; the program has no other, since it forks.
class Listener
{
public:
    /// Starts to listen. \throws std::runtime_error with a sentence for people.
    Listener(ListenerSettings settings, Inbox &inbox, platform::dicom_protocol::Channel &channel);

    /// The bound port.
    std::uint16_t port() const { return m_listening.port; }

    /// Serves until the gateway says stop or is gone; then lets the associations finish their object under
    /// way, and returns when the last has ended. \return the status for the process to end with.
    int run();

private:
    struct Child
    {
        std::string host;
        std::string association;
        std::string fileNames;
        std::size_t slot = 0; // of its claim on the free space
    };

    void waitForWork();
    std::vector<pollfd> descriptors() const;
    std::chrono::milliseconds waitSpan() const;
    void onChannel();
    void acceptPeers();
    void makeRoom();
    void sweepRest();
    void startAssociation(PendingPeer peer);
    std::size_t mostOfAddress() const;
    const char *whyNot(const std::string &host) const;
    std::size_t freeSlot() const;
    [[noreturn]] void becomeAssociation(AssociationJob job, pid_t listener);
    void reapChildren();
    void onChildEnd(pid_t process, int status);
    void stopAccepting();
    void endChildren();

    ListenerSettings m_settings;
    Inbox &m_inbox;
    platform::dicom_protocol::Channel &m_channel;
    ListeningSocket m_listening;
    SpaceClaims m_claims;
    platform::Descriptor m_signals;
    TurnedAway m_turnedAway;
    PendingPeers m_pending{m_turnedAway};
    std::map<pid_t, Child> m_children;
    std::int64_t m_associations = 0;
    std::chrono::steady_clock::time_point m_acceptAgain;
    std::chrono::steady_clock::time_point m_sweepAgain; // unfinished files that others may have left
    bool m_stopping = false;
};

} // namespace gateway::dicom_helper::scp

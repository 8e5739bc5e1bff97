#pragma once

#include "dicom_helper/scp/association_request.h"
#include "dicom_helper/scp/listening_socket.h"
#include "platform/descriptors/descriptor.h"

#include <chrono>
#include <optional>
#include <string>

namespace gateway::dicom_helper::scp {

/// A connection that has not yet sent its whole association request.
///
/// Reads no byte beyond the request. Owner: Listener. Thread: the listener's.
class PendingPeer
{
public:
    enum class Progress
    {
        waiting,  ///< more must come
        complete, ///< request() is there
        dropped   ///< it isn't DICOM, or the peer went away: answered where that makes sense, to be closed
    };

    PendingPeer(platform::Descriptor socket, PeerName name, std::chrono::steady_clock::time_point deadline)
        : m_socket(std::move(socket)), m_name(std::move(name)), m_deadline(deadline)
    {
    }

    /// Takes what has come, without waiting.
    Progress read();

    /// Sends a short last word, without waiting; it fits a fresh socket's buffer.
    void answer(const std::string &pdu);

    int descriptor() const { return m_socket.get(); }
    platform::Descriptor takeSocket() { return std::move(m_socket); }
    AssociationRequest takeRequest() { return std::move(m_request); }
    const std::string &host() const { return m_name.host; }
    const std::string &address() const { return m_name.address; }
    std::chrono::steady_clock::time_point deadline() const { return m_deadline; }

    /// The memory that its unfinished request takes.
    std::size_t heldBytes() const { return m_bytes.capacity(); }

    /// Closes the connection and lets go of what came.
    void abandon();
    bool isAbandoned() const { return !m_socket.isOpen(); }

private:
    Progress onBytes();
    std::size_t wantedBytes() const;

    platform::Descriptor m_socket;
    PeerName m_name;
    std::chrono::steady_clock::time_point m_deadline;
    std::string m_bytes;
    AssociationRequest m_request;
};

} // namespace gateway::dicom_helper::scp

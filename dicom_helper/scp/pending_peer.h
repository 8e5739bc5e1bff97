#pragma once

#include "dicom_helper/descriptor.h"
#include "dicom_helper/scp/association_request.h"

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

    PendingPeer(Descriptor socket, std::string address, std::chrono::steady_clock::time_point deadline)
        : m_socket(std::move(socket)), m_address(std::move(address)), m_deadline(deadline)
    {
    }

    /// Takes what has come, without waiting.
    Progress read();

    /// Sends a short last word, without waiting; it fits a fresh socket's buffer.
    void answer(const std::string &pdu);

    int descriptor() const { return m_socket.get(); }
    Descriptor takeSocket() { return std::move(m_socket); }
    AssociationRequest takeRequest() { return std::move(m_request); }
    const std::string &address() const { return m_address; }
    std::chrono::steady_clock::time_point deadline() const { return m_deadline; }

private:
    Progress onBytes();
    std::size_t wantedBytes() const;

    Descriptor m_socket;
    std::string m_address;
    std::chrono::steady_clock::time_point m_deadline;
    std::string m_bytes;
    AssociationRequest m_request;
};

} // namespace gateway::dicom_helper::scp

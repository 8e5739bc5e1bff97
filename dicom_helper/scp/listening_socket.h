#pragma once

#include "platform/descriptors/descriptor.h"

#include <cstdint>
#include <string>

struct sockaddr_storage;

namespace gateway::dicom_helper::scp {

/// A socket that listens, not blocking and closed on exec.
struct ListeningSocket
{
    platform::Descriptor socket;
    std::uint16_t port = 0; // the bound one
};

/// Binds and listens.
///
/// \param address  numeric or a name; empty for all addresses, of IPv6 too where the machine has it.
/// \param port  0 lets the system choose.
/// \throws std::runtime_error with a sentence for people: port taken, privileged, address not this machine's.
ListeningSocket listenOn(const std::string &address, std::int64_t port);

/// Who a peer is, as text.
struct PeerName
{
    std::string host;    // its address
    std::string address; // with its port
};

PeerName describePeer(const sockaddr_storage &address);

} // namespace gateway::dicom_helper::scp

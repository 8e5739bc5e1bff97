#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::dicom_helper::scp {

/// One presentation context that a peer proposes (PS3.8 9.3.2.2). UIDs stand as they came, less padding.
struct ProposedContext
{
    std::uint8_t id = 0;
    std::string abstractSyntax;
    std::vector<std::string> transferSyntaxes;
};

/// What an A-ASSOCIATE-RQ says, as far as an acceptor of storage needs it (PS3.8 9.3.2).
struct AssociationRequest
{
    std::uint16_t protocolVersion = 0;
    std::string titles;             // called title, calling title, reserved: 64 bytes, echoed in the answer
    std::string callingTitle;       // less padding
    std::string applicationContext; // echoed in the answer
    std::vector<ProposedContext> contexts;
    std::uint32_t maximumLength = 0; // of the P-DATA that the peer takes; 0 means no limit
};

/// The header of every PDU: type, reserved, length of what follows (PS3.8 9.3.1).
inline constexpr std::size_t kPduHeaderBytes = 6;

/// A longer request than any real one: 128 contexts of a hundred transfer syntaxes need less.
inline constexpr std::uint32_t kMaxRequestBytes = 1024 * 1024;

/// Reads what follows the header of an A-ASSOCIATE-RQ.
///
/// Lengths must agree to the byte; items and sub-items that aren't known (extended negotiation, role
/// selection, asynchronous operations, user identity, ...) are passed over, since leaving them
/// unanswered means their defaults. \throws ProtocolError
AssociationRequest parseAssociationRequest(std::string_view body);

} // namespace gateway::dicom_helper::scp

#pragma once

#include <cstdint>
#include <map>
#include <string_view>

namespace gateway::dicom_helper::sender {

/// What an A-ASSOCIATE-AC says, as far as a sender needs it (PS3.8 9.3.3).
struct AssociationAccept
{
    std::map<std::uint8_t, std::uint8_t> results; ///< of the contexts, by their ids; 0 is acceptance
    std::uint32_t maximumLength = 0;              ///< of the P-DATA that the peer takes; 0 means no limit
};

/// Reads what follows the header of an A-ASSOCIATE-AC; items that aren't known are passed over.
/// \throws scp::ProtocolError
AssociationAccept parseAssociationAccept(std::string_view body);

} // namespace gateway::dicom_helper::sender

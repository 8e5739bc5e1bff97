#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::scp {

/// Values of Command Field (PS3.7 E.1) that are answered otherwise than "unrecognized operation".
inline constexpr std::uint16_t kStoreRequest = 0x0001;
inline constexpr std::uint16_t kEchoRequest = 0x0030;
inline constexpr std::uint16_t kCancelRequest = 0x0FFF;
inline constexpr std::uint16_t kResponseBit = 0x8000;

/// Statuses that are sent (PS3.7 C, PS3.4 B.2.3).
inline constexpr std::uint16_t kSuccess = 0x0000;
inline constexpr std::uint16_t kUnrecognizedOperation = 0x0211;
inline constexpr std::uint16_t kOutOfResources = 0xA700;
inline constexpr std::uint16_t kCannotUnderstand = 0xC000;

/// A longer command set than any real one, in bytes.
inline constexpr std::size_t kMaxCommandBytes = 64 * 1024;

/// What a command says, as far as storage needs it. UIDs stand as they came, less padding.
struct CommandSet
{
    std::uint16_t field = 0;
    std::uint16_t messageId = 0;
    bool hasDataSet = false;
    std::string sopClass;
    std::string sopInstance;
    std::optional<std::uint16_t> status; ///< of a response
};

/// Reads a whole command set: Implicit VR Little Endian, group 0000 (PS3.7 6.3). \throws ProtocolError
CommandSet parseCommandSet(std::string_view bytes);

/// A C-STORE request of medium priority, whose dataset follows (PS3.7 9.3.1.1).
std::string
encodeStoreRequest(std::uint16_t messageId, const std::string &sopClass, const std::string &sopInstance);

/// The response to a command; UIDs are echoed where they fit a UID's 64 bytes.
///
/// \param comment  Error Comment (0000,0902), plain ASCII, cut to 64 characters; empty for none.
std::string encodeResponse(const CommandSet &request, std::uint16_t status, std::string_view comment);

} // namespace gateway::dicom_helper::scp

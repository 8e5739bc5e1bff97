#pragma once

#include "platform/descriptors/descriptor.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::platform::testing {

inline constexpr char kVerification[] = "1.2.840.10008.1.1";
inline constexpr char kCtStorage[] = "1.2.840.10008.5.1.4.1.1.2";
inline constexpr char kImplicitLittleEndian[] = "1.2.840.10008.1.2";
inline constexpr char kExplicitLittleEndian[] = "1.2.840.10008.1.2.1";

struct OfferedContext
{
    std::uint8_t id;
    std::string abstractSyntax;
    std::vector<std::string> transferSyntaxes;
};

// The bytes that a peer may send, for tests to bend (PS3.8 9.3, PS3.7 E).

std::string pdu(std::uint8_t type, std::string_view body);
std::string subItem(std::uint8_t type, std::string_view body);

/// A whole A-ASSOCIATE-RQ. \param userItems  further sub-items of the user information.
std::string associateRequest(const std::vector<OfferedContext> &contexts,
                             const std::string &userItems = {},
                             std::uint32_t maximumLength = 16384);

/// A command set with a dataset to follow unless said otherwise.
std::string commandSet(std::uint16_t field,
                       std::uint16_t messageId,
                       const std::string &sopClass,
                       const std::string &sopInstance,
                       bool hasDataSet = true);

/// P-DATA PDUs of one message part, a fragment of at most `fragmentBytes` each.
std::string
dataPdus(std::uint8_t contextId, bool isCommand, std::string_view bytes, std::size_t fragmentBytes = 16000);

/// A dataset in Explicit VR Little Endian with a SOP class, an instance UID and so many bytes of pixel data.
std::string smallDataSet(const std::string &sopClass, const std::string &sopInstance, std::size_t pixelBytes);

/// A sender made by hand: says whatever a test wants, byte by byte if need be.
///
/// Owner: a test. Thread: one. A peer that stays silent for a minute counts as closed, so that a broken
/// receiver fails a test instead of hanging it.
class ScriptedModality
{
public:
    struct Pdu
    {
        std::uint8_t type = 0;
        std::string body;
    };

    /// Connects to the loopback address. \throws std::system_error
    explicit ScriptedModality(int port);

    /// \return false when the receiver has gone.
    bool send(std::string_view bytes);

    /// The next PDU; nothing when the receiver closed.
    std::optional<Pdu> receive();

    /// Sends a request and reads its answer: the result of each context by its id (the last, where an id
    /// comes twice); empty when it was rejected or aborted.
    std::map<std::uint8_t, int> associate(const std::vector<OfferedContext> &contexts,
                                          const std::string &userItems = {});

    /// The transfer syntax that the last accepted association gave a context.
    std::string transferSyntax(std::uint8_t contextId) const;

    /// Sends one C-STORE and reads its status; nothing when the receiver ended the association instead.
    std::optional<int> store(std::uint8_t contextId,
                             const std::string &sopClass,
                             const std::string &sopInstance,
                             std::string_view dataSet,
                             std::size_t fragmentBytes = 16000);
    std::optional<int> echo(std::uint8_t contextId);

    /// Reads a response's status; nothing when something else came.
    std::optional<int> receiveStatus();

    /// \return whether the release was answered.
    bool release();
    void close() { m_socket.close(); }

private:
    std::string receiveBytes(std::size_t count);
    void readContext(std::string_view item);

    Descriptor m_socket;
    std::uint16_t m_messageId = 0;
    std::map<std::uint8_t, int> m_results;
    std::map<std::uint8_t, std::string> m_transferSyntaxes;
};

} // namespace gateway::platform::testing

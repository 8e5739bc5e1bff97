#include "platform/dicom/testing/scripted_modality.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace gateway::platform::testing {

namespace {

constexpr std::size_t kPduHeaderBytes = 6;

void putBig(std::string &bytes, std::size_t value, unsigned count)
{
    for (unsigned shift = count * 8; shift > 0;) {
        shift -= 8;
        bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
}

void putLittle(std::string &bytes, std::size_t value, unsigned count)
{
    for (unsigned shift = 0; shift < count * 8; shift += 8) {
        bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
}

std::size_t big(std::string_view bytes)
{
    std::size_t value = 0;
    for (const char one : bytes) {
        value = (value << 8U) | static_cast<std::uint8_t>(one);
    }
    return value;
}

void putElement(std::string &bytes, std::uint16_t element, std::string value)
{
    if (value.size() % 2 != 0) {
        value.push_back('\0');
    }
    putLittle(bytes, 0, 2);
    putLittle(bytes, element, 2);
    putLittle(bytes, value.size(), 4);
    bytes += value;
}

void putShort(std::string &bytes, std::uint16_t element, std::uint16_t value)
{
    std::string encoded;
    putLittle(encoded, value, 2);
    putElement(bytes, element, encoded);
}

void putUid(std::string &bytes, std::uint16_t group, std::uint16_t element, std::string uid)
{
    if (uid.size() % 2 != 0) {
        uid.push_back('\0');
    }
    putLittle(bytes, group, 2);
    putLittle(bytes, element, 2);
    bytes += "UI";
    putLittle(bytes, uid.size(), 2);
    bytes += uid;
}

} // namespace

std::string pdu(std::uint8_t type, std::string_view body)
{
    std::string bytes;
    putBig(bytes, type, 1);
    putBig(bytes, 0, 1);
    putBig(bytes, body.size(), 4);
    bytes += body;
    return bytes;
}

std::string subItem(std::uint8_t type, std::string_view body)
{
    std::string bytes;
    putBig(bytes, type, 1);
    putBig(bytes, 0, 1);
    putBig(bytes, body.size(), 2);
    bytes += body;
    return bytes;
}

std::string associateRequest(const std::vector<OfferedContext> &contexts,
                             const std::string &userItems,
                             std::uint32_t maximumLength)
{
    std::string body;
    putBig(body, 1, 2);
    putBig(body, 0, 2);
    body += "QUORIN          MODALITY        " + std::string(32, '\0');
    body += subItem(0x10, "1.2.840.10008.3.1.1.1");
    for (const OfferedContext &context : contexts) {
        std::string item;
        putBig(item, context.id, 1);
        putBig(item, 0, 3);
        item += subItem(0x30, context.abstractSyntax);
        for (const std::string &syntax : context.transferSyntaxes) {
            item += subItem(0x40, syntax);
        }
        body += subItem(0x20, item);
    }
    std::string length;
    putBig(length, maximumLength, 4);
    body += subItem(0x50, subItem(0x51, length) + subItem(0x52, "2.25.1") + userItems);
    return pdu(1, body);
}

std::string commandSet(std::uint16_t field,
                       std::uint16_t messageId,
                       const std::string &sopClass,
                       const std::string &sopInstance,
                       bool hasDataSet)
{
    std::string bytes;
    putElement(bytes, 0x0002, sopClass);
    putShort(bytes, 0x0100, field);
    putShort(bytes, 0x0110, messageId);
    putShort(bytes, 0x0700, 0);
    putShort(bytes, 0x0800, hasDataSet ? 1 : 0x0101);
    putElement(bytes, 0x1000, sopInstance);
    std::string length;
    putLittle(length, bytes.size(), 4);
    std::string whole;
    putElement(whole, 0x0000, length);
    return whole + bytes;
}

std::string
dataPdus(std::uint8_t contextId, bool isCommand, std::string_view bytes, std::size_t fragmentBytes)
{
    std::string all;
    do {
        const std::string_view fragment = bytes.substr(0, fragmentBytes);
        bytes.remove_prefix(fragment.size());
        std::string body;
        putBig(body, fragment.size() + 2, 4);
        putBig(body, contextId, 1);
        putBig(body, (isCommand ? 1U : 0U) | (bytes.empty() ? 2U : 0U), 1);
        body += fragment;
        all += pdu(4, body);
    } while (!bytes.empty());
    return all;
}

std::string smallDataSet(const std::string &sopClass, const std::string &sopInstance, std::size_t pixelBytes)
{
    std::string bytes;
    putUid(bytes, 0x0008, 0x0016, sopClass);
    putUid(bytes, 0x0008, 0x0018, sopInstance);
    putLittle(bytes, 0x7FE0, 2);
    putLittle(bytes, 0x0010, 2);
    bytes += std::string_view("OW\0\0", 4);
    putLittle(bytes, pixelBytes, 4);
    for (std::size_t i = 0; i < pixelBytes; ++i) {
        bytes.push_back(static_cast<char>((i * 31 + i / 251) & 0xFFU));
    }
    return bytes;
}

ScriptedModality::ScriptedModality(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    constexpr timeval kMinute{60, 0};
    const int yes = 1;
    ::setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVTIMEO, &kMinute, sizeof(kMinute));
    ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof(yes));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(m_socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        throw std::system_error(errno, std::generic_category(), "connect");
    }
}

bool ScriptedModality::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

std::string ScriptedModality::receiveBytes(std::size_t count)
{
    std::string bytes(count, '\0');
    std::size_t size = 0;
    while (size < count) {
        const ssize_t received = ::recv(m_socket.get(), bytes.data() + size, count - size, 0);
        if (received <= 0) {
            break;
        }
        size += static_cast<std::size_t>(received);
    }
    bytes.resize(size);
    return bytes;
}

std::optional<ScriptedModality::Pdu> ScriptedModality::receive()
{
    const std::string header = receiveBytes(kPduHeaderBytes);
    if (header.size() < kPduHeaderBytes) {
        return std::nullopt;
    }
    return Pdu{static_cast<std::uint8_t>(header.front()),
               receiveBytes(big(std::string_view(header).substr(2)))};
}

std::map<std::uint8_t, int> ScriptedModality::associate(const std::vector<OfferedContext> &contexts,
                                                        const std::string &userItems)
{
    m_results.clear();
    m_transferSyntaxes.clear();
    send(associateRequest(contexts, userItems));
    const auto answer = receive();
    if (!answer || answer->type != 2) {
        return {};
    }
    constexpr std::size_t kFixedBytes = 68;
    std::string_view rest = std::string_view(answer->body).substr(kFixedBytes);
    while (rest.size() >= 4) {
        const std::size_t length = big(rest.substr(2, 2));
        if (rest.front() == 0x21) {
            readContext(rest.substr(4, length));
        }
        rest.remove_prefix(4 + length);
    }
    return m_results;
}

void ScriptedModality::readContext(std::string_view item)
{
    const auto id = static_cast<std::uint8_t>(item[0]);
    m_results[id] = item[2];
    m_transferSyntaxes[id] = std::string(item.substr(8));
}

std::string ScriptedModality::transferSyntax(std::uint8_t contextId) const
{
    const auto found = m_transferSyntaxes.find(contextId);
    return found == m_transferSyntaxes.end() ? std::string() : found->second;
}

std::optional<int> ScriptedModality::store(std::uint8_t contextId,
                                           const std::string &sopClass,
                                           const std::string &sopInstance,
                                           std::string_view dataSet,
                                           std::size_t fragmentBytes)
{
    const std::string command = commandSet(0x0001, ++m_messageId, sopClass, sopInstance);
    send(dataPdus(contextId, true, command, fragmentBytes) +
         dataPdus(contextId, false, dataSet, fragmentBytes));
    return receiveStatus();
}

std::optional<int> ScriptedModality::echo(std::uint8_t contextId)
{
    send(dataPdus(contextId, true, commandSet(0x0030, ++m_messageId, kVerification, {}, false)));
    return receiveStatus();
}

std::optional<int> ScriptedModality::receiveStatus()
{
    const auto answer = receive();
    const std::string_view kStatus("\0\0\0\x09\2\0\0\0", 8);
    const std::size_t at = answer && answer->type == 4 ? answer->body.find(kStatus) : std::string::npos;
    if (at == std::string::npos) {
        return std::nullopt;
    }
    const auto low = static_cast<std::uint8_t>(answer->body.at(at + 8));
    const auto high = static_cast<std::uint8_t>(answer->body.at(at + 9));
    return low | (high << 8);
}

bool ScriptedModality::release()
{
    send(pdu(5, std::string(4, '\0')));
    const auto answer = receive();
    return answer && answer->type == 6;
}

} // namespace gateway::platform::testing

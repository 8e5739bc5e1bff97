#pragma once

#include "dicom_helper/scp/protocol_error.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::scp {

/// Takes bounded pieces off the front of bytes that a peer sent. Thread: a plain value.
class ByteReader
{
public:
    explicit ByteReader(std::string_view bytes) : m_rest(bytes) {}

    bool atEnd() const { return m_rest.empty(); }

    /// \throws ProtocolError when fewer bytes are left.
    std::string_view take(std::size_t count)
    {
        if (m_rest.size() < count) {
            throw ProtocolError("an item is longer than what holds it");
        }
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return taken;
    }

    std::uint8_t byte() { return static_cast<std::uint8_t>(take(1).front()); }
    std::uint16_t bigShort() { return static_cast<std::uint16_t>(big(2)); }
    std::uint32_t bigLong() { return big(4); }
    std::uint16_t littleShort() { return static_cast<std::uint16_t>(little(2)); }
    std::uint32_t littleLong() { return little(4); }

private:
    std::uint32_t big(std::size_t count)
    {
        std::uint32_t value = 0;
        for (const char one : take(count)) {
            value = (value << 8U) | static_cast<std::uint8_t>(one);
        }
        return value;
    }

    std::uint32_t little(std::size_t count)
    {
        std::uint32_t value = 0;
        unsigned shift = 0;
        for (const char one : take(count)) {
            value |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(one)) << shift;
            shift += 8;
        }
        return value;
    }

    std::string_view m_rest;
};

/// Appends `value` in network byte order, as the upper layer's fields are (PS3.8 9.3.1).
inline void putBig(std::string &bytes, std::uint32_t value, unsigned count)
{
    for (unsigned shift = count * 8; shift > 0;) {
        shift -= 8;
        bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
}

/// An item or sub-item of a PDU (PS3.8 9.3.2). Thread: a plain value; the body lies where it was read from.
struct Item
{
    std::uint8_t type;
    std::string_view body;
};

/// \throws ProtocolError when less is left than the item says.
inline Item takeItem(ByteReader &reader)
{
    const std::uint8_t type = reader.byte();
    reader.byte();
    const std::uint16_t length = reader.bigShort();
    return {type, reader.take(length)};
}

/// Appends an item or sub-item of a PDU.
inline void putItem(std::string &bytes, std::uint8_t type, std::string_view body)
{
    putBig(bytes, type, 1);
    putBig(bytes, 0, 1);
    putBig(bytes, static_cast<std::uint32_t>(body.size()), 2);
    bytes += body;
}

/// Appends `value` in little endian order, as command sets and file headers are (PS3.7 6.3.1, PS3.10 7.1).
inline void putLittle(std::string &bytes, std::uint32_t value, unsigned count)
{
    for (unsigned shift = 0; shift < count * 8; shift += 8) {
        bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
    }
}

} // namespace gateway::dicom_helper::scp

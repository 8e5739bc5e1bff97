#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace gateway::platform::dicom_protocol {

/// One message between the gateway and quorin-dicom: a word that says what it is, and named byte strings.
///
/// Encoded as: the length of the word (1 byte), the word, then for each field in ascending order of name
/// the length of the name (1 byte), the name, the length of the value (4 bytes, little endian), the value.
/// Free of toolkits, so that both processes may use it. Thread: a plain value.
struct Record
{
    std::string word;
    std::map<std::string, std::string, std::less<>> fields;

    /// The value of a field, or an empty text when it is absent.
    std::string_view text(std::string_view name) const;

    /// The value of a field as a decimal number, or `fallback` when it is absent or not a number.
    std::int64_t number(std::string_view name, std::int64_t fallback) const;

    void setNumber(const std::string &name, std::int64_t value) { fields[name] = std::to_string(value); }

    bool operator==(const Record &) const = default;
};

/// The largest record that is sent or taken, in bytes; it fits one packet of a local socket.
inline constexpr std::size_t kMaxRecordBytes = 128 * 1024;

/// \throws std::length_error when a word or name is longer than 255 bytes or the whole exceeds
/// kMaxRecordBytes.
std::string encode(const Record &record);

/// Nothing when the bytes aren't exactly one record.
std::optional<Record> decode(std::string_view bytes);

} // namespace gateway::platform::dicom_protocol

#include "platform/dicom_protocol/record.h"

#include <charconv>
#include <stdexcept>

namespace gateway::platform::dicom_protocol {

namespace {

void appendShort(std::string &bytes, const std::string &text)
{
    if (text.size() > 255) {
        throw std::length_error("a name in a record is longer than 255 bytes");
    }
    bytes.push_back(static_cast<char>(text.size()));
    bytes += text;
}

/// Takes the fields of a record off the front of a byte string.
class Reader
{
public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    bool atEnd() const { return m_rest.empty(); }

    std::optional<std::string_view> take(std::size_t count)
    {
        if (m_rest.size() < count) {
            return std::nullopt;
        }
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return taken;
    }

    std::optional<std::string_view> takeShort()
    {
        const auto size = take(1);
        return size ? take(static_cast<unsigned char>(size->front())) : std::nullopt;
    }

    std::optional<std::string_view> takeLong()
    {
        const auto size = take(4);
        if (!size) {
            return std::nullopt;
        }
        std::size_t count = 0;
        for (int i = 3; i >= 0; --i) {
            count = (count << 8U) | static_cast<unsigned char>((*size)[static_cast<std::size_t>(i)]);
        }
        return take(count);
    }

private:
    std::string_view m_rest;
};

} // namespace

std::string_view Record::text(std::string_view name) const
{
    const auto found = fields.find(name);
    return found == fields.end() ? std::string_view() : std::string_view(found->second);
}

std::int64_t Record::number(std::string_view name, std::int64_t fallback) const
{
    const std::string_view digits = text(name);
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    const bool whole = error == std::errc() && end == digits.data() + digits.size() && !digits.empty();
    return whole ? value : fallback;
}

std::string encode(const Record &record)
{
    std::string bytes;
    appendShort(bytes, record.word);
    for (const auto &[name, value] : record.fields) {
        appendShort(bytes, name);
        if (value.size() > kMaxRecordBytes) {
            throw std::length_error("a value in a record is too long");
        }
        for (unsigned shift = 0; shift < 32; shift += 8) {
            bytes.push_back(static_cast<char>((value.size() >> shift) & 0xFFU));
        }
        bytes += value;
    }
    if (bytes.size() > kMaxRecordBytes) {
        throw std::length_error("a record is too long");
    }
    return bytes;
}

std::optional<Record> decode(std::string_view bytes)
{
    Reader reader(bytes);
    const auto word = reader.takeShort();
    if (!word) {
        return std::nullopt;
    }
    Record record{std::string(*word), {}};
    while (!reader.atEnd()) {
        const auto name = reader.takeShort();
        const auto value = name ? reader.takeLong() : std::nullopt;
        if (!value) {
            return std::nullopt;
        }
        record.fields.insert_or_assign(std::string(*name), std::string(*value));
    }
    return record;
}

} // namespace gateway::platform::dicom_protocol

#include "cloud/http/chunked_decoder.h"

#include "cloud/http/text.h"

#include <algorithm>
#include <charconv>

namespace gateway::cloud {

namespace {

// A chunk size with extensions, or a trailer field.
constexpr std::size_t kMaxLine = 4096;
constexpr std::size_t kMaxTrailer = 16 * 1024;

} // namespace

std::size_t ChunkedDecoder::feed(std::string_view bytes, const BodySink &sink)
{
    const std::size_t given = bytes.size();
    while (!bytes.empty() && m_place != Place::done && !m_refused) {
        if (m_place == Place::content) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(m_left, bytes.size()));
            m_refused = !sink(bytes.substr(0, count));
            m_left -= count;
            bytes.remove_prefix(count);
            m_place = m_left == 0 ? Place::contentEnd : Place::content;
            continue;
        }
        const char letter = bytes.front();
        bytes.remove_prefix(1);
        m_line += letter;
        if (m_line.size() > kMaxLine) {
            throw ChunkedError("A line of the chunked body is too long.");
        }
        if (letter == '\n') {
            lineEnded();
        }
    }
    return given - bytes.size();
}

void ChunkedDecoder::lineEnded()
{
    if (!m_line.ends_with("\r\n")) {
        throw ChunkedError("A line of the chunked body doesn't end with CR LF.");
    }
    m_line.resize(m_line.size() - 2);
    if (m_place == Place::contentEnd) {
        if (!m_line.empty()) {
            throw ChunkedError("A chunk is longer than its size says.");
        }
        m_place = Place::size;
    } else if (m_place == Place::trailer) {
        m_trailerBytes += m_line.size();
        if (m_trailerBytes > kMaxTrailer) {
            throw ChunkedError("The trailer of the chunked body is too long.");
        }
        m_place = m_line.empty() ? Place::done : Place::trailer;
    } else {
        const std::string size = trimmed(std::string_view(m_line).substr(0, m_line.find(';')));
        const char *end = size.data() + size.size();
        const auto result = std::from_chars(size.data(), end, m_left, 16);
        if (size.empty() || result.ec != std::errc() || result.ptr != end) {
            throw ChunkedError("A chunk has no readable size.");
        }
        m_place = m_left == 0 ? Place::trailer : Place::content;
    }
    m_line.clear();
}

} // namespace gateway::cloud

#include "cloud/http/multipart_parser.h"

#include "cloud/http/text.h"

#include <cstring>

namespace gateway::cloud {

namespace {

// Real parts carry two or three short fields; more is an attempt to fill the memory.
constexpr std::size_t kMaxHeaderBytes = 16 * 1024;
// RFC 2046 allows 70 characters; a widespread archive sends 73.
constexpr std::size_t kMaxBoundaryLength = 200;

} // namespace

MultipartParser::MultipartParser(std::string_view boundary, MultipartSink &sink)
    : m_delimiter("\r\n--" + std::string(boundary)), m_sink(sink),
      m_matched(2), // the body may open with the delimiter, so its line end counts as seen
      m_borrowed(2)
{
    if (boundary.empty() || boundary.size() > kMaxBoundaryLength ||
        boundary.find_first_of("\r\n") != std::string_view::npos) {
        throw MultipartError("The boundary of the multipart body is missing or malformed.");
    }
}

void MultipartParser::feed(std::string_view bytes)
{
    while (!bytes.empty()) {
        switch (m_place) {
        case Place::preamble:
        case Place::content:
            scanForDelimiter(bytes);
            break;
        case Place::delimiterEnd:
            if (takeLine(bytes)) {
                delimiterLineEnded();
            }
            break;
        case Place::headers:
            if (takeLine(bytes)) {
                headerLineEnded();
            }
            break;
        case Place::epilogue:
            return;
        }
    }
}

void MultipartParser::finish() const
{
    // The closing delimiter's own line end may be missing.
    const bool closed = m_place == Place::epilogue || (m_place == Place::delimiterEnd && m_line == "--");
    if (!closed) {
        throw MultipartError("The multipart body ends before its closing delimiter.");
    }
}

void MultipartParser::scanForDelimiter(std::string_view &bytes)
{
    if (m_matched > 0) {
        resumeDelimiter(bytes);
        return;
    }
    const void *found = memmem(bytes.data(), bytes.size(), m_delimiter.data(), m_delimiter.size());
    if (found != nullptr) {
        const auto length = static_cast<std::size_t>(static_cast<const char *>(found) - bytes.data());
        emit(bytes.substr(0, length));
        bytes.remove_prefix(length + m_delimiter.size());
        delimiterFound();
        return;
    }
    // Only the delimiter's first character is a carriage return: an unfinished delimiter starts at the last
    // one.
    const std::size_t start = bytes.rfind('\r');
    const bool unfinished = start != std::string_view::npos && m_delimiter.starts_with(bytes.substr(start));
    emit(unfinished ? bytes.substr(0, start) : bytes);
    m_matched = unfinished ? bytes.size() - start : 0;
    bytes = {};
}

void MultipartParser::resumeDelimiter(std::string_view &bytes)
{
    while (!bytes.empty() && m_matched < m_delimiter.size()) {
        if (bytes.front() != m_delimiter[m_matched]) {
            emit(std::string_view(m_delimiter).substr(m_borrowed, m_matched - m_borrowed));
            m_matched = 0;
            m_borrowed = 0;
            return;
        }
        ++m_matched;
        bytes.remove_prefix(1);
    }
    if (m_matched == m_delimiter.size()) {
        delimiterFound();
    }
}

void MultipartParser::delimiterFound()
{
    if (m_place == Place::content) {
        m_sink.partEnded();
    }
    m_matched = 0;
    m_borrowed = 0;
    m_line.clear();
    m_headerBytes = 0;
    m_place = Place::delimiterEnd;
}

void MultipartParser::emit(std::string_view bytes)
{
    if (m_place == Place::content && !bytes.empty()) {
        m_sink.partData(bytes);
    }
}

/// Moves bytes into m_line until a line end; true when the line is whole, without its end.
bool MultipartParser::takeLine(std::string_view &bytes)
{
    const std::size_t end = bytes.find('\n');
    const std::size_t taken = end == std::string_view::npos ? bytes.size() : end + 1;
    m_headerBytes += taken;
    if (m_headerBytes > kMaxHeaderBytes) {
        throw MultipartError("The header of a part is too long.");
    }
    m_line.append(bytes.substr(0, taken));
    bytes.remove_prefix(taken);
    if (end == std::string_view::npos) {
        return false;
    }
    if (!m_line.ends_with("\r\n")) {
        throw MultipartError("A header line of a part doesn't end with CR LF.");
    }
    m_line.resize(m_line.size() - 2);
    return true;
}

void MultipartParser::delimiterLineEnded()
{
    const std::string line = trimmed(m_line);
    m_line.clear();
    if (line == "--") {
        m_place = Place::epilogue;
        return;
    }
    if (!line.empty()) {
        throw MultipartError("A delimiter of the multipart body is followed by other text.");
    }
    m_headers.clear();
    m_lastHeader.clear();
    m_place = Place::headers;
}

void MultipartParser::headerLineEnded()
{
    const std::string line = std::move(m_line);
    m_line.clear();
    if (line.empty()) {
        m_place = Place::content;
        // An empty part's delimiter follows the header's empty line at once: that line's end serves for both.
        m_matched = 2;
        m_borrowed = 2;
        m_sink.partBegan(m_headers);
        return;
    }
    if ((line.front() == ' ' || line.front() == '\t') && !m_lastHeader.empty()) {
        m_headers[m_lastHeader] += ' ' + trimmed(line);
        return;
    }
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos || colon == 0) {
        throw MultipartError("A header line of a part has no name.");
    }
    m_lastHeader = lowerCase(trimmed(line.substr(0, colon)));
    m_headers[m_lastHeader] = trimmed(line.substr(colon + 1));
}

} // namespace gateway::cloud

#pragma once

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace gateway::cloud {

/// The body breaks the multipart grammar (RFC 2046, section 5.1).
///
/// Thread: any; a value.
class MultipartError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Header fields of one part; names in lower case.
using PartHeaders = std::map<std::string, std::string, std::less<>>;

/// Takes the parts of a multipart body as they come.
///
/// Owner: the caller of the parser. Thread: the one that feeds the parser.
class MultipartSink
{
public:
    virtual ~MultipartSink() = default;

    virtual void partBegan(const PartHeaders &headers) = 0;

    /// A piece of the part's content; valid during the call only.
    virtual void partData(std::string_view bytes) = 0;

    virtual void partEnded() = 0;
};

/// Splits a multipart body, given piece by piece, into its parts.
///
/// Content is handed on without being collected, so that a part of any size costs no memory.
/// Owner: the function that reads the body. Thread: one at a time.
class MultipartParser
{
public:
    /// \param boundary  the media type's parameter, 1 to 200 characters without line ends.
    /// \throws MultipartError  when it isn't.
    MultipartParser(std::string_view boundary, MultipartSink &sink);

    /// \throws MultipartError  when the grammar is broken; what the sink throws passes through.
    void feed(std::string_view bytes);

    /// To be called at the body's end. \throws MultipartError  when the closing delimiter is missing.
    void finish() const;

private:
    enum class Place
    {
        preamble,
        delimiterEnd,
        headers,
        content,
        epilogue
    };

    void scanForDelimiter(std::string_view &bytes);
    void resumeDelimiter(std::string_view &bytes);
    void delimiterFound();
    void emit(std::string_view bytes);
    bool takeLine(std::string_view &bytes);
    void delimiterLineEnded();
    void headerLineEnded();

    std::string m_delimiter; // line end, two dashes, boundary
    MultipartSink &m_sink;   // borrowed, outlives this
    Place m_place = Place::preamble;
    std::size_t m_matched;  // characters of the delimiter that were seen last
    std::size_t m_borrowed; // how many of these belong to what stands before, not to the content
    std::string m_line;     // the unfinished line
    std::size_t m_headerBytes = 0;
    PartHeaders m_headers;
    std::string m_lastHeader;
};

} // namespace gateway::cloud

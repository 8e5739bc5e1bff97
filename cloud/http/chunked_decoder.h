#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace gateway::cloud {

/// Takes pieces of a body; a piece is valid during the call only. Returns false to have no more of it.
using BodySink = std::function<bool(std::string_view bytes)>;

/// The body breaks the grammar of the chunked coding (RFC 9112, section 7.1).
///
/// Thread: any; a value.
class ChunkedError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Takes the chunked transfer coding off a body that comes piece by piece.
///
/// Owner: the function that reads the body. Thread: one at a time.
class ChunkedDecoder
{
public:
    /// Decodes as much of `bytes` as belongs to the body and hands the content on.
    ///
    /// \return how many bytes belonged to it: fewer than given only at its end or when the sink refused.
    /// \throws ChunkedError  when the grammar is broken; what the sink throws passes through.
    std::size_t feed(std::string_view bytes, const BodySink &sink);

    /// The last chunk and the trailer have been seen.
    bool done() const { return m_place == Place::done; }

    /// The sink wanted no more.
    bool refused() const { return m_refused; }

private:
    enum class Place
    {
        size,
        content,
        contentEnd,
        trailer,
        done
    };

    void lineEnded();

    Place m_place = Place::size;
    std::string m_line;
    std::uint64_t m_left = 0;
    std::size_t m_trailerBytes = 0;
    bool m_refused = false;
};

} // namespace gateway::cloud

#pragma once

#include "cloud/http/chunked_decoder.h"

#include <QtCore/QByteArray>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace httplib {
struct Request;
struct Response;
} // namespace httplib

namespace gateway::cloud {

class Connection;
struct WireFault;

/// How reading a request's body ended.
enum class BodyResult
{
    complete, ///< every byte was handed on
    brokeOff, ///< the sender or the sink stopped before the end
    malformed ///< the chunked coding is broken
};

/// Gives the next piece of a long answer; the piece is valid until the next call. Empty when it can't go on.
using AnswerSource = std::function<std::string_view()>;

/// One request and the answer to it.
///
/// Owner: the server's call that serves the request. Thread: that one.
class Exchange
{
public:
    Exchange(const httplib::Request &request, httplib::Response &response, Connection &connection);

    const std::string &method() const;

    /// The path without query, percent decoding done.
    const std::string &path() const;

    /// The pieces of path() between slashes, without empty ones.
    std::vector<std::string> segments() const;

    /// The query's parameters, decoded.
    const std::multimap<std::string, std::string> &query() const;

    /// The first field of that name, or an empty text.
    std::string header(const std::string &name) const;

    bool peerIsLoopback() const;

    /// Scheme and authority that the client used, such as `http://127.0.0.1:8080`.
    std::string origin() const;

    bool hasBody() const;

    /// The body's length where the request says it.
    std::optional<std::uint64_t> contentLength() const;

    /// Hands the body on, piece by piece. Later calls find it at its end.
    BodyResult readBody(const BodySink &sink);

    /// The whole body.
    /// \throws HttpProblem  413 above `limit` bytes, 400 when it doesn't arrive whole.
    QByteArray readWholeBody(std::size_t limit);

    /// True when a body is there of which some was not read: the connection can't be used again then.
    bool bodyLeft() const;

    void setHeader(const std::string &name, const std::string &value);

    void answer(int status);
    void answer(int status, const char *contentType, const QByteArray &body);

    /// Answers 200 with `length` bytes that `source` gives while they are sent.
    void answerLong(std::uint64_t length, const std::string &contentType, AnswerSource source);

    void setFault(const WireFault &fault);

private:
    BodyResult readSizedBody(const BodySink &sink);
    BodyResult readChunkedBody(const BodySink &sink);

    const httplib::Request &m_request; // borrowed, outlives this
    httplib::Response &m_response;     // borrowed, outlives this
    Connection &m_connection;          // borrowed, outlives this
    bool m_chunked;
    bool m_bodyAtEnd;
};

} // namespace gateway::cloud

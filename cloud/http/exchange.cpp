#include "cloud/http/exchange.h"

#include "cloud/http/connection.h"
#include "cloud/http/problem.h"
#include "cloud/http/text.h"

#include <algorithm>

namespace gateway::cloud {

Exchange::Exchange(const httplib::Request &request, httplib::Response &response, Connection &connection)
    : m_request(request), m_response(response), m_connection(connection),
      m_chunked(lowerCase(trimmed(header("Transfer-Encoding"))) == "chunked"), m_bodyAtEnd(!hasBody())
{
}

const std::string &Exchange::method() const
{
    return m_request.method;
}

const std::string &Exchange::path() const
{
    return m_request.path;
}

std::vector<std::string> Exchange::segments() const
{
    std::vector<std::string> pieces = split(m_request.path, '/');
    std::erase(pieces, std::string());
    return pieces;
}

const std::multimap<std::string, std::string> &Exchange::query() const
{
    return m_request.params;
}

std::string Exchange::header(const std::string &name) const
{
    const auto found = m_request.headers.find(name);
    return found == m_request.headers.end() ? std::string() : found->second;
}

bool Exchange::peerIsLoopback() const
{
    const std::string &peer = m_request.remote_addr;
    return peer.starts_with("127.") || peer == "::1" || peer.starts_with("::ffff:127.");
}

std::string Exchange::origin() const
{
    const std::string scheme = m_request.ssl == nullptr ? "http://" : "https://";
    return scheme + header("Host");
}

bool Exchange::hasBody() const
{
    return m_chunked || contentLength().value_or(0) > 0;
}

std::optional<std::uint64_t> Exchange::contentLength() const
{
    return m_chunked ? std::nullopt : decimal(trimmed(header("Content-Length")));
}

BodyResult Exchange::readBody(const BodySink &sink)
{
    if (m_bodyAtEnd) {
        return BodyResult::complete;
    }
    const BodyResult result = m_chunked ? readChunkedBody(sink) : readSizedBody(sink);
    m_bodyAtEnd = result == BodyResult::complete;
    return result;
}

BodyResult Exchange::readSizedBody(const BodySink &sink)
{
    std::uint64_t left = contentLength().value_or(0);
    while (left > 0) {
        const std::string_view available = m_connection.peek();
        if (available.empty()) {
            return BodyResult::brokeOff;
        }
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, available.size()));
        const bool wanted = sink(available.substr(0, count));
        m_connection.take(count);
        left -= count;
        if (!wanted && left > 0) {
            return BodyResult::brokeOff;
        }
    }
    return BodyResult::complete;
}

BodyResult Exchange::readChunkedBody(const BodySink &sink)
{
    ChunkedDecoder decoder;
    while (!decoder.done()) {
        const std::string_view available = m_connection.peek();
        if (available.empty() || decoder.refused()) {
            return BodyResult::brokeOff;
        }
        try {
            m_connection.take(decoder.feed(available, sink));
        } catch (const ChunkedError &) {
            return BodyResult::malformed;
        }
    }
    return BodyResult::complete;
}

QByteArray Exchange::readWholeBody(std::size_t limit)
{
    QByteArray body;
    bool tooLong = contentLength().value_or(0) > limit;
    if (!tooLong) {
        const BodyResult result = readBody([&body, &tooLong, limit](std::string_view bytes) {
            tooLong = static_cast<std::size_t>(body.size()) + bytes.size() > limit;
            body.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
            return !tooLong;
        });
        if (result != BodyResult::complete && !tooLong) {
            throw HttpProblem(
                400, ProblemKind::badRequest, QStringLiteral("The request's body is not whole."));
        }
    }
    if (tooLong) {
        throw HttpProblem(413, ProblemKind::badRequest, QStringLiteral("The request is too large."));
    }
    return body;
}

bool Exchange::bodyLeft() const
{
    return !m_bodyAtEnd;
}

void Exchange::setHeader(const std::string &name, const std::string &value)
{
    m_response.set_header(name, value);
}

void Exchange::answer(int status)
{
    m_response.status = status;
}

void Exchange::answer(int status, const char *contentType, const QByteArray &body)
{
    m_response.status = status;
    m_response.set_content(body.constData(), static_cast<std::size_t>(body.size()), contentType);
}

void Exchange::answerLong(std::uint64_t length, const std::string &contentType, AnswerSource source)
{
    m_response.status = 200;
    m_response.set_content_provider(
        length, contentType, [next = std::move(source)](std::size_t, std::size_t, httplib::DataSink &sink) {
            const std::string_view piece = next();
            return !piece.empty() && sink.write(piece.data(), piece.size());
        });
}

void Exchange::setFault(const WireFault &fault)
{
    m_connection.setFault(fault);
}

} // namespace gateway::cloud

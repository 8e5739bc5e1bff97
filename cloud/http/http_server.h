#pragma once

#include <QtCore/QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace gateway::cloud {

class Exchange;
class TlsContext;

/// The address can't be listened on.
///
/// Thread: any; a value.
class ListenError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Sums over the server's life.
///
/// Thread: any; a value.
struct ConnectionCounts
{
    std::uint64_t connections = 0;     ///< accepted so far
    std::uint64_t openConnections = 0; ///< of these, open now
    std::uint64_t bytesReceived = 0;   ///< headers and bodies
    std::uint64_t bytesSent = 0;
};

/// An HTTP/1.1 server with keep-alive: one thread serves one connection at a time.
///
/// Request heads and answers are cpp-httplib's work; bodies stream past it, from the socket's buffer to the
/// handler. Owner: main. Thread: run() blocks its caller; stop() and counts() from any.
class HttpServer
{
public:
    /// Serves one request; called on many threads at once. A thrown HttpProblem becomes the answer, any other
    /// exception a 500.
    using Handler = std::function<void(Exchange &)>;

    /// \param tls  null for plain HTTP; borrowed, outlives this.
    HttpServer(Handler handler, const TlsContext *tls);
    ~HttpServer();

    /// Listens on an address in numbers, such as `127.0.0.1` or `::1`; port 0 takes a free one.
    /// \return the port. \throws ListenError
    int bind(const std::string &host, int port);

    /// Accepts and serves until stop() was called; then waits for the requests under way.
    void run();

    /// Ends run(): idle connections close, a body under way breaks off, an answer under way is still sent.
    void stop();

    ConnectionCounts counts() const;

private:
    class Engine;
    std::unique_ptr<Engine> m_engine;
};

} // namespace gateway::cloud

#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace gateway::cloud {

/// Bytes that went over all connections, as the program saw them (inside TLS).
///
/// Owner: the server. Thread: any.
struct Traffic
{
    std::atomic<std::uint64_t> received = 0;
    std::atomic<std::uint64_t> sent = 0;
};

/// What is to go wrong on the wire while one request is served.
///
/// Thread: any; a value.
struct WireFault
{
    std::optional<std::uint64_t>
        cutAfterBodyBytes;                       ///< reset the connection when so much of the body was read
    bool cutBeforeAnswer = false;                ///< do all the work, then reset instead of answering
    std::chrono::milliseconds delay{0};          ///< wait before the first byte of the answer
    std::optional<std::uint64_t> bytesPerSecond; ///< in each direction; at least 1
};

/// One accepted socket, plain or inside TLS, read through a buffer.
///
/// Owner: the server's call that serves the socket. Thread: that one; the server may shut the socket down
/// from another one, which ends every wait here.
class Connection final : public httplib::Stream
{
public:
    /// \param socket  connected and blocking, with its time limits set; stays the caller's.
    /// \param ssl     the finished TLS session over it, or null; stays the caller's.
    Connection(int socket, SSL *ssl, Traffic &traffic);

    /// Waits for the first byte of a request. \return false when none came within `limit`, or never will.
    bool waitForRequest(std::chrono::seconds limit);

    /// Begins a request: forgets the last one's faults.
    void beginRequest();

    /// Applies to the request at hand, from now on.
    void setFault(const WireFault &fault) { m_fault = fault; }

    /// Bytes that have come and were not taken; waits until there are some. Empty at the end, on a time-out
    /// and once the connection is cut.
    std::string_view peek();

    /// Takes the first `count` bytes of what peek() gave.
    void take(std::size_t count);

    /// Makes the connection end by a reset; nothing is read or written any more.
    void cut() { m_isCut = true; }

    bool isCut() const { return m_isCut; }

    /// Sends the end of the stream and reads what the peer still had under way, so that an answer given
    /// before the body's end isn't lost to a reset.
    void linger();

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char *data, size_t size) override;
    ssize_t write(const char *data, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;
    socket_t socket() const override { return m_socket; }

private:
    ssize_t receive(char *data, std::size_t size);
    ssize_t send(const char *data, std::size_t size);
    void keepRate(std::uint64_t transferred);
    void waitOrHangUp(std::chrono::milliseconds duration) const;

    const int m_socket;
    SSL *const m_ssl;
    Traffic &m_traffic; // borrowed, outlives this
    const std::unique_ptr<char[]> m_buffer;
    std::size_t m_start = 0;
    std::size_t m_end = 0;
    bool m_isCut = false;

    // Of the request at hand.
    WireFault m_fault;
    std::uint64_t m_bodyTaken = 0;
    std::uint64_t m_transferred = 0;
    bool m_answerBegan = false;
    std::chrono::steady_clock::time_point m_began;
};

} // namespace gateway::cloud

#pragma once

#include "platform/descriptors/descriptor.h"

#include <QtCore/QString>

#include <optional>
#include <stdexcept>
#include <utility>

namespace gateway::platform {

/// A numeric address and a port. Thread: a plain value.
struct SocketAddress
{
    QString host; ///< IPv4, or IPv6 without brackets
    int port = 0; ///< 0 takes a free one
};

/// Reads "127.0.0.1:9464" or "[::1]:9464"; nothing for any other text.
std::optional<SocketAddress> parseSocketAddress(const QString &text);

/// A socket can't be opened. `message` is one plain sentence.
struct SocketError : std::runtime_error
{
    explicit SocketError(QString text) : std::runtime_error(text.toStdString()), message(std::move(text)) {}

    QString message;
};

/// A stream socket that listens; it never blocks, and programs started by this process don't inherit it.
///
/// Thread: one at a time.
class ListeningSocket
{
public:
    /// Listens at `path`, for this user alone, in place of a socket that a dead instance left there. The file
    /// goes with the object. \throws SocketError
    static ListeningSocket onPath(const QString &path);

    /// Listens on an address of this machine. \throws SocketError
    static ListeningSocket onAddress(const SocketAddress &address);

    ~ListeningSocket();
    ListeningSocket(ListeningSocket &&other) noexcept
        : m_descriptor(std::move(other.m_descriptor)), m_path(std::exchange(other.m_path, {}))
    {
    }
    ListeningSocket &operator=(ListeningSocket &&) = delete;

    int descriptor() const { return m_descriptor.get(); }

    /// The bound port; 0 for a Unix socket.
    int port() const;

private:
    explicit ListeningSocket(int descriptor) : m_descriptor(descriptor) {}

    Descriptor m_descriptor;
    QString m_path; // of a Unix socket
};

} // namespace gateway::platform

#pragma once

#include "platform/descriptors/descriptor.h"
#include "platform/sockets/unix_socket_address.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstdint>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace gateway::platform::testing {

/// A peer that says whatever a test likes, as slowly as it likes. Thread: one at a time; reading blocks.
class PlainClient
{
public:
    /// Connects to a port of the loopback.
    explicit PlainClient(int port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        EXPECT_EQ(::connect(m_socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)),
                  0);
    }

    /// Connects to a Unix socket.
    explicit PlainClient(const QString &path) : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const UnixSocketAddress address(path);
        EXPECT_EQ(::connect(m_socket.get(), address.address(), address.size()), 0);
    }

    /// Sends all of it, as far as the peer takes it.
    void say(const QByteArray &bytes)
    {
        for (qsizetype sent = 0; sent < bytes.size();) {
            const ssize_t count = ::send(m_socket.get(),
                                         bytes.constData() + sent,
                                         static_cast<std::size_t>(bytes.size() - sent),
                                         MSG_NOSIGNAL);
            if (count <= 0) {
                return;
            }
            sent += count;
        }
    }

    /// What comes until the peer has no more to say.
    QByteArray hear()
    {
        QByteArray heard;
        char chunk[4096];
        ssize_t count = 0;
        while ((count = ::recv(m_socket.get(), chunk, sizeof(chunk), 0)) > 0) {
            heard.append(chunk, count);
        }
        return heard;
    }

private:
    Descriptor m_socket;
};

} // namespace gateway::platform::testing

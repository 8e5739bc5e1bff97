#include "platform/sockets/listening_socket.h"

#include "platform/sockets/unix_socket_address.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::platform {

namespace {

constexpr int kBacklog = 64;

QString errorText()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// An address in the form that the system takes.
struct PlainAddress
{
    sockaddr_storage storage{};
    socklen_t size = 0;

    sockaddr *get() { return reinterpret_cast<sockaddr *>(&storage); }
};

std::optional<PlainAddress> plainAddress(const SocketAddress &address)
{
    PlainAddress plain;
    const QByteArray host = address.host.toLatin1();
    auto *four = reinterpret_cast<sockaddr_in *>(&plain.storage);
    auto *six = reinterpret_cast<sockaddr_in6 *>(&plain.storage);
    if (::inet_pton(AF_INET, host.constData(), &four->sin_addr) == 1) {
        four->sin_family = AF_INET;
        four->sin_port = htons(static_cast<std::uint16_t>(address.port));
        plain.size = sizeof(sockaddr_in);
        return plain;
    }
    if (::inet_pton(AF_INET6, host.constData(), &six->sin6_addr) == 1) {
        six->sin6_family = AF_INET6;
        six->sin6_port = htons(static_cast<std::uint16_t>(address.port));
        plain.size = sizeof(sockaddr_in6);
        return plain;
    }
    return std::nullopt;
}

} // namespace

std::optional<SocketAddress> parseSocketAddress(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?:([0-9.]+)|\\[([0-9A-Fa-f:.]+)\\]):([0-9]{1,5})\\z"));
    const QRegularExpressionMatch match = form.match(text);
    const SocketAddress address{match.captured(1) + match.captured(2), match.captured(3).toInt()};
    if (!match.hasMatch() || address.port > 65535 || !plainAddress(address)) {
        return std::nullopt;
    }
    return address;
}

ListeningSocket ListeningSocket::onPath(const QString &path)
{
    const UnixSocketAddress address(path);
    if (!address.isValid()) {
        throw SocketError(QStringLiteral("The socket %1 can't be opened: %2.").arg(path, errorText()));
    }
    ListeningSocket made(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const QByteArray name = QFile::encodeName(path);
    ::unlink(name.constData());
    // The mode is set before anybody can connect: listen() comes after it.
    if (::bind(made.descriptor(), address.address(), address.size()) != 0 ||
        ::chmod(name.constData(), S_IRUSR | S_IWUSR) != 0 || ::listen(made.descriptor(), kBacklog) != 0) {
        throw SocketError(QStringLiteral("The socket %1 can't be opened: %2.").arg(path, errorText()));
    }
    made.m_path = path;
    return made;
}

ListeningSocket ListeningSocket::onAddress(const SocketAddress &address)
{
    std::optional<PlainAddress> plain = plainAddress(address);
    const int family = plain ? plain->get()->sa_family : AF_INET;
    ListeningSocket made(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // A restart needn't wait until the last run's connections are forgotten.
    const int on = 1;
    ::setsockopt(made.descriptor(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (!plain || ::bind(made.descriptor(), plain->get(), plain->size) != 0 ||
        ::listen(made.descriptor(), kBacklog) != 0) {
        throw SocketError(QStringLiteral("The address %1 port %2 can't be listened on: %3.")
                              .arg(address.host)
                              .arg(address.port)
                              .arg(errorText()));
    }
    return made;
}

ListeningSocket::~ListeningSocket()
{
    m_descriptor.close();
    if (!m_path.isEmpty()) {
        ::unlink(QFile::encodeName(m_path).constData());
    }
}

int ListeningSocket::port() const
{
    PlainAddress plain;
    plain.size = sizeof(plain.storage);
    ::getsockname(descriptor(), plain.get(), &plain.size);
    switch (plain.storage.ss_family) {
    case AF_INET:
        return ntohs(reinterpret_cast<const sockaddr_in *>(&plain.storage)->sin_port);
    case AF_INET6:
        return ntohs(reinterpret_cast<const sockaddr_in6 *>(&plain.storage)->sin6_port);
    }
    return 0;
}

} // namespace gateway::platform

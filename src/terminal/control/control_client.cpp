#include "terminal/control/control_client.h"

#include "platform/descriptors/descriptor.h"
#include "platform/sockets/unix_socket_address.h"

#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>

namespace gateway::terminal {

namespace {

class Connection
{
public:
    explicit Connection(const QString &path) : m_descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const platform::UnixSocketAddress address(path);
        m_isOpen = m_descriptor.isOpen() && address.isValid() &&
                   ::connect(m_descriptor.get(), address.address(), address.size()) == 0;
    }

    bool isOpen() const { return m_isOpen; }

    bool send(QByteArray bytes) const
    {
        while (!bytes.isEmpty()) {
            const ssize_t count = ::send(
                m_descriptor.get(), bytes.constData(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                return false;
            }
            bytes.remove(0, count);
        }
        return true;
    }

    /// All that comes up to the line feed; nothing when the other end hangs up or time runs out before it.
    std::optional<QByteArray> readLine(std::chrono::milliseconds timeout) const
    {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        QByteArray received;
        std::array<char, 4096> chunk{};
        while (!received.endsWith('\n')) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd waiting{m_descriptor.get(), POLLIN, 0};
            const int ready = left.count() > 0 ? ::poll(&waiting, 1, static_cast<int>(left.count())) : 0;
            if (ready < 0 && errno == EINTR) {
                continue;
            }
            const ssize_t count = ready > 0 ? ::recv(m_descriptor.get(), chunk.data(), chunk.size(), 0) : 0;
            if (count <= 0) {
                return std::nullopt;
            }
            received.append(chunk.data(), count);
        }
        received.chop(1);
        return received;
    }

private:
    platform::Descriptor m_descriptor;
    bool m_isOpen = false;
};

} // namespace

ControlReply noInstance()
{
    return ControlReply::failure(
        QStringLiteral("No gateway runs for this home. Start one with: quorin-gateway --headless"),
        ExitCode::noInstance);
}

std::optional<ControlReply>
askInstance(const QString &socketPath, const ControlRequest &request, std::chrono::milliseconds timeout)
{
    const Connection connection(socketPath);
    if (!connection.isOpen()) {
        return std::nullopt;
    }
    std::optional<ControlReply> reply;
    if (connection.send(encode(request))) {
        if (const std::optional<QByteArray> line = connection.readLine(timeout)) {
            reply = decodeReply(*line);
        }
    }
    return reply ? *reply : ControlReply::failure(QStringLiteral("The running gateway gave no answer."));
}

} // namespace gateway::terminal

#include "terminal/control/control_server.h"

#include "platform/concurrency/main_thread.h"
#include "platform/descriptors/descriptor.h"

#include <QtCore/QPointer>
#include <QtCore/QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstring>
#include <stop_token>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace gateway::terminal {

struct ControlServer::Caller
{
    platform::Descriptor descriptor; // before what watches it
    QByteArray received;
    QByteArray unsent;
    std::unique_ptr<QSocketNotifier> readable;
    std::unique_ptr<QSocketNotifier> writable;
    std::stop_source gone;
    bool hasAsked = false;
};

namespace {

bool isThisUser(int descriptor)
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

} // namespace

ControlServer::ControlServer(const QString &path, Handler handler)
    : m_listener(platform::ListeningSocket::onPath(path)), m_handler(std::move(handler))
{
    platform::assertMainThread("ControlServer");
    m_acceptNotifier = std::make_unique<QSocketNotifier>(m_listener.descriptor(), QSocketNotifier::Read);
    connect(m_acceptNotifier.get(), &QSocketNotifier::activated, this, [this] { accept(); });
}

ControlServer::~ControlServer() = default;

void ControlServer::accept()
{
    platform::Descriptor descriptor(
        ::accept4(m_listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!descriptor.isOpen() || !isThisUser(descriptor.get()) || m_callers.size() >= kMaxCallers) {
        return;
    }
    const std::uint64_t id = m_nextId++;
    auto caller = std::make_unique<Caller>();
    caller->readable = std::make_unique<QSocketNotifier>(descriptor.get(), QSocketNotifier::Read);
    caller->writable = std::make_unique<QSocketNotifier>(descriptor.get(), QSocketNotifier::Write);
    caller->descriptor = std::move(descriptor);
    caller->writable->setEnabled(false);
    // Queued: a notifier must not be deleted inside its own signal.
    connect(
        caller->readable.get(),
        &QSocketNotifier::activated,
        this,
        [this, id] { read(id); },
        Qt::QueuedConnection);
    connect(
        caller->writable.get(),
        &QSocketNotifier::activated,
        this,
        [this, id] { write(id); },
        Qt::QueuedConnection);
    m_callers.emplace(id, std::move(caller));
}

void ControlServer::read(std::uint64_t id)
{
    const auto found = m_callers.find(id);
    if (found == m_callers.end()) {
        return;
    }
    Caller &caller = *found->second;
    if (caller.hasAsked) {
        lookForHangUp(id, caller);
        return;
    }
    std::array<char, 65536> chunk{};
    const ssize_t count = ::recv(caller.descriptor.get(), chunk.data(), chunk.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        hangUp(id);
        return;
    }
    const qsizetype before = caller.received.size();
    caller.received.append(chunk.data(), count);
    const qsizetype end = caller.received.indexOf('\n', before);
    if (end >= 0) {
        caller.hasAsked = true;
        handleLine(id, caller.received.left(end));
    } else if (caller.received.size() > kMaxControlLine) {
        hangUp(id);
    }
}

/// One request a connection: what follows it is of no interest, but for the end.
void ControlServer::lookForHangUp(std::uint64_t id, Caller &caller)
{
    pollfd peer{caller.descriptor.get(), 0, 0};
    if (::poll(&peer, 1, 0) > 0 && (peer.revents & (POLLHUP | POLLERR)) != 0) {
        hangUp(id);
        return;
    }
    std::array<char, 4096> chunk{};
    if (::recv(caller.descriptor.get(), chunk.data(), chunk.size(), 0) == 0) {
        caller.readable->setEnabled(false); // it only has nothing more to say, and still listens
    }
}

void ControlServer::handleLine(std::uint64_t id, const QByteArray &line)
{
    std::optional<ControlRequest> request = decodeRequest(line);
    if (!request) {
        answer(id,
               ControlReply::failure(QStringLiteral("This is not a request that the gateway knows."),
                                     ExitCode::usage));
        return;
    }
    if (const auto found = m_callers.find(id); found != m_callers.end()) {
        request->hungUp = found->second->gone.get_token();
    }
    m_handler(*std::move(request), [self = QPointer<ControlServer>(this), id](const ControlReply &reply) {
        if (self) {
            self->answer(id, reply);
        }
    });
}

void ControlServer::answer(std::uint64_t id, const ControlReply &reply)
{
    const auto found = m_callers.find(id);
    if (found == m_callers.end()) {
        return;
    }
    found->second->unsent = encode(reply);
    write(id);
}

void ControlServer::write(std::uint64_t id)
{
    const auto found = m_callers.find(id);
    if (found == m_callers.end()) {
        return;
    }
    Caller &caller = *found->second;
    const auto size = static_cast<std::size_t>(caller.unsent.size());
    const ssize_t count = ::send(caller.descriptor.get(), caller.unsent.constData(), size, MSG_NOSIGNAL);
    if (count < 0 && errno != EAGAIN && errno != EINTR) {
        hangUp(id);
        return;
    }
    caller.unsent.remove(0, std::max<ssize_t>(count, 0));
    if (caller.unsent.isEmpty()) {
        hangUp(id);
    } else {
        caller.writable->setEnabled(true);
    }
}

void ControlServer::hangUp(std::uint64_t id)
{
    // Taken out first: whoever hears of it may come back here.
    if (const auto caller = m_callers.extract(id)) {
        caller.mapped()->gone.request_stop();
    }
}

} // namespace gateway::terminal

#pragma once

#include "platform/sockets/listening_socket.h"
#include "terminal/control/control_protocol.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <functional>
#include <memory>
#include <unordered_map>
#include <utility>

class QSocketNotifier;

namespace gateway::terminal {

/// The running instance's ear: takes requests of this user over a Unix socket, one JSON line each, and
/// answers each with one.
///
/// A caller of another user is hung up on; a line that is no request is answered with a sentence, and a
/// caller that sends too much, or more callers than kMaxCallers, are hung up on. Nothing a caller does ends
/// the instance.
///
/// Owner: Gateway. Thread: main.
class ControlServer final : public QObject
{
    Q_OBJECT

public:
    using Answer = std::function<void(ControlReply)>;

    /// Called for each request; `answer` may be called later, once, on main. An answer for a caller that
    /// has gone is dropped; the request's `hungUp` tells of it.
    using Handler = std::function<void(ControlRequest request, Answer answer)>;

    static constexpr std::size_t kMaxCallers = 32;

    /// Listens at `path`, in place of a socket that a dead instance left there. The caller holds the
    /// instance's lock.
    ///
    /// \throws SocketError
    ControlServer(const QString &path, Handler handler);
    ~ControlServer() override;

private:
    struct Caller;

    void accept();
    void read(std::uint64_t id);
    void lookForHangUp(std::uint64_t id, Caller &caller);
    void handleLine(std::uint64_t id, const QByteArray &line);
    void answer(std::uint64_t id, const ControlReply &reply);
    void write(std::uint64_t id);
    void hangUp(std::uint64_t id);

    const platform::ListeningSocket m_listener;
    Handler m_handler;
    std::unique_ptr<QSocketNotifier> m_acceptNotifier;
    std::unordered_map<std::uint64_t, std::unique_ptr<Caller>> m_callers;
    std::uint64_t m_nextId = 1;
};

} // namespace gateway::terminal

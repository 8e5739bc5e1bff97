#include "dicom_helper/scp/association_process.h"

#include "dicom_helper/scp/association.h"
#include "dicom_helper/scp/least_progress.h"
#include "dicom_helper/scp/pdus.h"
#include "dicom_helper/scp/protocol_error.h"
#include "dicom_helper/scp/turned_away.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <optional>
#include <utility>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>

namespace gateway::dicom_helper::scp {

namespace {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;
using SteadyClock = std::chrono::steady_clock;

// Two PDUs of the length that we ask for.
constexpr std::size_t kReceiveBytes = 2 * 128 * 1024;

// After a stop: long enough for an object that is really coming, short enough for whoever waits.
constexpr std::chrono::seconds kGraceAfterStop(5);

// The upper layer's ARTIM timer, as for a request.
constexpr std::chrono::seconds kGraceAfterRelease(10);

// For the peer to take our abort before the socket goes.
constexpr std::chrono::milliseconds kGraceAfterAbort(500);

void setOption(int socket, int level, int option, int value)
{
    ::setsockopt(socket, level, option, &value, sizeof(value));
}

int milliseconds(SteadyClock::duration span)
{
    const auto count = std::chrono::ceil<std::chrono::milliseconds>(span).count();
    return static_cast<int>(std::clamp<std::int64_t>(count, 0, INT_MAX));
}

/// The socket of one association, and the signal that asks to end it.
class PeerConnection
{
public:
    enum class Wait
    {
        ready,
        stop,
        silence
    };

    PeerConnection(platform::Descriptor socket, std::chrono::seconds timeout)
        : m_socket(std::move(socket)), m_timeout(timeout), m_buffer(kReceiveBytes)
    {
        // Without this each response would wait 44 ms for the peer's delayed acknowledgement.
        setOption(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
        // A peer whose machine has gone away sends nothing more, not even an end.
        setOption(m_socket.get(), SOL_SOCKET, SO_KEEPALIVE, 1);
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGTERM);
        m_signals = platform::Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    }

    /// What the peer sent: nothing when there is nothing now, an empty text at the end.
    std::optional<std::string_view> receive()
    {
        const ssize_t size = ::recv(m_socket.get(), m_buffer.data(), m_buffer.size(), 0);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
            return std::nullopt;
        }
        return std::string_view(m_buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    }

    bool send(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent > 0) {
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            } else if (errno == EAGAIN ? wait(POLLOUT, std::nullopt) != Wait::ready : errno != EINTR) {
                return false;
            }
        }
        return true;
    }

    /// Waits for bytes. A deadline counts instead of the time-out, and stops aren't looked for any more.
    Wait waitForBytes(std::optional<SteadyClock::time_point> deadline)
    {
        // A peer that holds its last small segment back until all before it are acknowledged must not
        // wait for our delayed acknowledgement. The system forgets this option, so it is set anew.
        setOption(m_socket.get(), IPPROTO_TCP, TCP_QUICKACK, 1);
        return wait(POLLIN, deadline);
    }

    bool stopRequested()
    {
        signalfd_siginfo signal{};
        m_stopped = m_stopped || ::read(m_signals.get(), &signal, sizeof(signal)) == sizeof(signal);
        return m_stopped;
    }

    /// After the answer to a release the peer closes (PS3.8 9.2, AR-4); ours would cut the answer off where
    /// bytes of its are still unread. A stop isn't kept waiting.
    void awaitClose()
    {
        const auto deadline = SteadyClock::now() + kGraceAfterRelease;
        for (;;) {
            const auto bytes = receive();
            if ((bytes && bytes->empty()) || SteadyClock::now() >= deadline ||
                (!bytes && wait(POLLIN, deadline) != Wait::ready)) {
                return;
            }
        }
    }

    /// Sends an abort and lets the peer read it: closing at once would reset the connection under it.
    void abort(AbortReason reason)
    {
        send(encodeAbort(reason));
        ::shutdown(m_socket.get(), SHUT_WR);
        m_stopped = true;
        const auto deadline = SteadyClock::now() + kGraceAfterAbort;
        while (wait(POLLIN, deadline) == Wait::ready && SteadyClock::now() < deadline) {
            const auto bytes = receive();
            if (bytes && bytes->empty()) {
                return;
            }
        }
    }

private:
    Wait wait(short events, std::optional<SteadyClock::time_point> deadline)
    {
        const auto until = deadline.value_or(SteadyClock::now() + m_timeout);
        const bool forEver = !deadline && m_timeout.count() <= 0;
        for (;;) {
            // Once the stop is known, its descriptor would only keep poll from waiting.
            std::array<pollfd, 2> entries{
                {{m_socket.get(), events, 0}, {m_stopped ? -1 : m_signals.get(), POLLIN, 0}}};
            const int span = forEver ? -1 : milliseconds(until - SteadyClock::now());
            const int ready = ::poll(entries.data(), entries.size(), span);
            if (ready == 0) {
                return Wait::silence;
            }
            if (ready > 0 && entries[0].revents != 0) {
                return Wait::ready;
            }
            if (ready > 0 && events == POLLIN) {
                return Wait::stop;
            }
            if (ready > 0) {
                stopRequested();
            }
        }
    }

    platform::Descriptor m_socket;
    platform::Descriptor m_signals;
    std::chrono::seconds m_timeout;
    std::vector<char> m_buffer;
    bool m_stopped = false;
};

/// Feeds one association with what its peer sends, until it ends.
class AssociationServer : private AssociationOutlet
{
public:
    AssociationServer(AssociationJob job, Inbox &inbox, Channel &channel)
        : m_job(std::move(job)), m_channel(channel), m_connection(std::move(m_job.socket), m_job.timeout),
          m_progress(m_job.timeout), m_association(m_job.request, inbox, *this, m_job.fileNames, m_job.claim)
    {
    }

    /// \return why the association failed; nothing when it ended well.
    std::optional<std::string> serve()
    {
        try {
            return exchange();
        } catch (const ProtocolError &error) {
            m_connection.abort(error.reason());
            return std::string("The peer broke the protocol: ") + error.what() + ".";
        }
    }

    /// Once the end has been told: leaves the peer its time to close a released association.
    void awaitClose()
    {
        if (m_association.state() == Association::State::released) {
            m_connection.awaitClose();
        }
    }

private:
    bool send(std::string_view bytes) override { return m_connection.send(bytes); }

    void onStored(const std::string &finalName) override
    {
        // With the gateway gone the file stays in the inbox, where its next start finds it.
        const Record progress{"progress", {{"association", m_job.association}, {"file", finalName}}};
        m_gatewayIsThere = m_channel.send(progress) && m_gatewayIsThere;
    }

    std::optional<std::string> exchange()
    {
        if (!send(m_association.accept())) {
            return "The peer went away before it was answered.";
        }
        std::optional<SteadyClock::time_point> deadline;
        while (m_association.state() == Association::State::open) {
            if (!deadline && (m_connection.stopRequested() || !m_gatewayIsThere)) {
                deadline = SteadyClock::now() + kGraceAfterStop;
                // An object may be under way though nothing of it has been read yet.
                if (const auto bytes = m_connection.receive()) {
                    if (auto failure = takeReceived(*bytes)) {
                        return failure;
                    }
                    continue;
                }
            }
            if (deadline && (!m_association.isInsideObject() || SteadyClock::now() >= *deadline)) {
                return abortFor(AbortReason::notSpecified, "The association was ended by the gateway.");
            }
            if (auto failure = takeWhatComes(deadline)) {
                return failure;
            }
        }
        return ending();
    }

    std::optional<std::string> takeWhatComes(std::optional<SteadyClock::time_point> deadline)
    {
        if (const auto bytes = m_connection.receive()) {
            return takeReceived(*bytes);
        }
        const auto since = SteadyClock::now();
        const PeerConnection::Wait end = m_connection.waitForBytes(deadline);
        m_progress.onWaited(SteadyClock::now() - since);
        if (end == PeerConnection::Wait::silence && !deadline) {
            return abortFor(AbortReason::notSpecified,
                            "The peer was silent for " + std::to_string(m_job.timeout.count()) + " s.");
        }
        return std::nullopt;
    }

    /// \param bytes  none when the peer has closed the connection.
    std::optional<std::string> takeReceived(std::string_view bytes)
    {
        if (bytes.empty()) {
            return "The peer closed the connection without a release.";
        }
        const bool goesOn = m_association.isInsideMessage();
        m_association.take(bytes);
        if (!goesOn || !m_association.isInsideMessage()) {
            m_progress.reset();
        } else if (!m_progress.onBytes(static_cast<std::int64_t>(bytes.size()))) {
            m_channel.send(TurnedAway::record(kObjectTooSlow, m_job.host, 1));
            return abortFor(AbortReason::notSpecified, "The peer sent less than 1 KiB a second.");
        }
        return std::nullopt;
    }

    std::string abortFor(AbortReason reason, std::string why)
    {
        m_connection.abort(reason);
        return why;
    }

    std::optional<std::string> ending() const
    {
        switch (m_association.state()) {
        case Association::State::aborted:
            return "The peer aborted the association.";
        case Association::State::cut:
            return "The peer can't be reached any more.";
        case Association::State::open:
        case Association::State::released:
            break;
        }
        if (m_association.refusedObjects() > 0) {
            return "Objects that could not be kept and were refused: " +
                   std::to_string(m_association.refusedObjects()) + " (" + m_association.lastRefusal() + ").";
        }
        return std::nullopt;
    }

    AssociationJob m_job;
    Channel &m_channel;
    PeerConnection m_connection;
    LeastProgress m_progress;
    Association m_association;
    bool m_gatewayIsThere = true;
};

/// Serves the association and tells its end. \return the status of the process.
int serveAndTell(AssociationJob job, Inbox &inbox, Channel &channel)
{
    const std::string association = job.association;
    std::string failure;
    try {
        AssociationServer server(std::move(job), inbox, channel);
        const std::optional<std::string> why = server.serve();
        if (!why) {
            channel.send(Record{"complete", {{"association", association}}});
            server.awaitClose();
            return 0;
        }
        failure = *why;
    } catch (const std::exception &error) {
        failure = std::string("The association's process failed: ") + error.what();
    }
    channel.send(Record{"failed", {{"association", association}, {"message", failure}}});
    return 1;
}

} // namespace

int runAssociation(AssociationJob job, Inbox &inbox, Channel &channel, pid_t listener)
{
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != listener) {
        ::raise(SIGTERM); // the listener ended before the line above; blocked, so it is found later
    }
    if (!channel.send(Record{"started", {{"association", job.association}, {"peer", job.peer}}})) {
        return 1; // the gateway is gone
    }
    return serveAndTell(std::move(job), inbox, channel);
}

} // namespace gateway::dicom_helper::scp

#include "dicom_helper/scp/listener.h"

#include "dicom_helper/confinement/confinement.h"
#include "dicom_helper/scp/pdus.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <sys/random.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace gateway::dicom_helper::scp {

namespace {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;
using SteadyClock = std::chrono::steady_clock;

// The grace that an association gives itself after a stop, and some for the disk.
constexpr std::chrono::seconds kChildrenDeadline(8);

// When the system has no descriptor left, asking again at once would only spin.
constexpr std::chrono::milliseconds kAcceptPause(200);

// Between two looks at unfinished files whose writers, of a listener that died, were still at work.
constexpr std::chrono::seconds kSweepPause(2);

constexpr auto kNever = SteadyClock::time_point::max();

/// How many associations at once, and how many connections that aren't one yet: a quarter of the descriptors
/// that the system gives us now, and never so many that memory suffers.
std::size_t mostAtOnce()
{
    constexpr std::size_t kMost = SpaceClaims::kSlots;
    rlimit descriptors{};
    if (::getrlimit(RLIMIT_NOFILE, &descriptors) != 0) {
        return kMost;
    }
    return std::clamp<std::size_t>(descriptors.rlim_cur / 4, 1, kMost);
}

/// 128 random bits in hexadecimal digits.
std::string randomText()
{
    std::array<unsigned char, 16> random{};
    if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
        throw std::system_error(errno, std::generic_category(), "getrandom");
    }
    std::string text;
    for (const unsigned char one : random) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        text.push_back(kDigits[one >> 4U]);
        text.push_back(kDigits[one & 15U]);
    }
    return text;
}

/// Blocks the signals that are read from a descriptor, here and in all children.
platform::Descriptor signalDescriptor()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGCHLD);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return platform::Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

} // namespace

Listener::Listener(ListenerSettings settings, Inbox &inbox, Channel &channel)
    : m_settings(std::move(settings)), m_inbox(inbox), m_channel(channel),
      m_listening(listenOn(m_settings.address, m_settings.port)), m_claims(m_settings.reserve),
      m_signals(signalDescriptor())
{
}

int Listener::run()
{
    while (!m_stopping) {
        waitForWork();
    }
    stopAccepting();
    endChildren();
    return 0;
}

/// Channel, signals, listening socket, then the pending peers in order.
std::vector<pollfd> Listener::descriptors() const
{
    const bool accepts = SteadyClock::now() >= m_acceptAgain;
    std::vector<pollfd> entries{{m_channel.descriptor(), POLLIN, 0},
                                {m_signals.get(), POLLIN, 0},
                                {accepts ? m_listening.socket.get() : -1, POLLIN, 0}};
    m_pending.addDescriptors(entries);
    return entries;
}

/// Until the next deadline; negative when there is none.
std::chrono::milliseconds Listener::waitSpan() const
{
    const auto now = SteadyClock::now();
    const auto next = std::min({now < m_acceptAgain ? m_acceptAgain : kNever,
                                m_sweepAgain,
                                m_pending.deadline().value_or(kNever),
                                m_turnedAway.due().value_or(kNever)});
    if (next == kNever) {
        return std::chrono::milliseconds(-1);
    }
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(next - now), std::chrono::milliseconds(0));
}

void Listener::waitForWork()
{
    std::vector<pollfd> entries = descriptors();
    if (::poll(entries.data(), entries.size(), static_cast<int>(waitSpan().count())) < 0 && errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "poll");
    }
    if (entries[1].revents != 0) {
        reapChildren();
    }
    if (entries[0].revents != 0) {
        onChannel();
    }
    if (!m_stopping) {
        m_pending.read(SteadyClock::now(), [this](PendingPeer peer) { startAssociation(std::move(peer)); });
    }
    if (!m_stopping && entries[2].revents != 0) {
        acceptPeers();
    }
    m_turnedAway.tell(m_channel, SteadyClock::now());
    sweepRest();
}

void Listener::sweepRest()
{
    if (SteadyClock::now() >= m_sweepAgain) {
        m_sweepAgain = m_inbox.sweepRest() ? SteadyClock::now() + kSweepPause : kNever;
    }
}

void Listener::onChannel()
{
    Record record;
    if (m_channel.receive(record) != Channel::Receipt::record || record.word == "stop") {
        m_stopping = true;
        return;
    }
    if (record.word == "ping") {
        m_channel.send(Record{"pong", {}});
    } else if (record.word == "after") {
        m_inbox.raise(record.number("time", 0));
    } else if (record.word == "abort") {
        for (const auto &[process, child] : m_children) {
            if (child.association == record.text("association")) {
                ::kill(process, SIGTERM);
            }
        }
    }
}

void Listener::acceptPeers()
{
    for (;;) {
        sockaddr_storage address{};
        socklen_t size = sizeof(address);
        platform::Descriptor socket(::accept4(m_listening.socket.get(),
                                              reinterpret_cast<sockaddr *>(&address),
                                              &size,
                                              SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket.isOpen()) {
            if (errno == EINTR || errno == ECONNABORTED) {
                continue;
            }
            if (errno != EAGAIN) {
                makeRoom();
            }
            return;
        }
        m_pending.add(
            {std::move(socket), describePeer(address), SteadyClock::now() + m_settings.requestDeadline},
            {.most = mostAtOnce(), .mostOfAddress = mostOfAddress()});
    }
}

/// The system gave no descriptor for one more connection.
void Listener::makeRoom()
{
    m_pending.dropOldest();
    m_acceptAgain = SteadyClock::now() + kAcceptPause;
}

/// Of associations, and of connections that aren't one yet: the same share of them where there are fewer than
/// usual.
std::size_t Listener::mostOfAddress() const
{
    return std::max<std::size_t>(m_settings.perAddress * mostAtOnce() / SpaceClaims::kSlots, 1);
}

/// Why this host gets no further association now; nothing where it does.
const char *Listener::whyNot(const std::string &host) const
{
    if (m_children.size() >= mostAtOnce()) {
        return kAllAssociationsTaken;
    }
    const auto ofHost = static_cast<std::size_t>(
        std::ranges::count_if(m_children, [&host](const auto &child) { return child.second.host == host; }));
    return ofHost >= mostOfAddress() ? kAddressHasItsAssociations : nullptr;
}

void Listener::startAssociation(PendingPeer peer)
{
    if (const char *reason = whyNot(peer.host())) {
        m_turnedAway.note(reason, peer.host());
        peer.answer(encodeReject(kLocalLimitExceeded));
        return;
    }
    const std::string random = randomText();
    const std::size_t slot = freeSlot();
    AssociationJob job{.socket = {},
                       .request = peer.takeRequest(),
                       .claim = SpaceClaim(m_claims, slot),
                       .host = peer.host(),
                       .peer = peer.address()};
    job.association = job.peer + "/" + std::to_string(++m_associations) + "/" + random.substr(0, 8);
    job.fileNames = "quorin-" + random + "-";
    job.timeout = m_settings.timeout;
    const Child child{job.host, job.association, job.fileNames, slot};

    m_inbox.takeUpWhatIsThere();
    m_sweepAgain = std::min(m_sweepAgain, SteadyClock::now() + kSweepPause);
    const pid_t listener = ::getpid();
    const pid_t process = ::fork();
    if (process == 0) {
        job.socket = peer.takeSocket();
        becomeAssociation(std::move(job), listener);
    } else if (process > 0) {
        m_children.emplace(process, child);
    } else {
        peer.answer(encodeReject(kLocalLimitExceeded));
    }
}

/// One that no association has; the caller has seen to it that there is one.
std::size_t Listener::freeSlot() const
{
    std::size_t slot = 0;
    while (std::ranges::any_of(m_children, [slot](const auto &child) { return child.second.slot == slot; })) {
        ++slot;
    }
    return slot;
}

/// In the new process: lets go of everything that is the listener's, and of every right that only that needs.
void Listener::becomeAssociation(AssociationJob job, pid_t listener)
{
    m_listening.socket.close();
    m_signals.close();
    m_pending.clear();
    m_children.clear();
    confine({.places = {{m_inbox.descriptor(), FolderUse::keepFiles}}});
    std::_Exit(runAssociation(std::move(job), m_inbox, m_channel, listener));
}

void Listener::reapChildren()
{
    std::array<signalfd_siginfo, 16> signals{};
    const ssize_t size = ::read(m_signals.get(), signals.data(), sizeof(signals));
    for (std::size_t i = 0; size > 0 && i < static_cast<std::size_t>(size) / sizeof(signalfd_siginfo); ++i) {
        m_stopping = m_stopping || signals[i].ssi_signo != SIGCHLD;
    }
    int status = 0;
    for (pid_t process = 0; (process = ::waitpid(-1, &status, WNOHANG)) > 0;) {
        onChildEnd(process, status);
    }
}

void Listener::onChildEnd(pid_t process, int status)
{
    const auto ended = m_children.extract(process);
    if (ended.empty()) {
        return;
    }
    const Child &child = ended.mapped();
    m_claims.giveBack(child.slot);
    m_inbox.sweep(child.fileNames); // the disk may not have let it tidy up
    m_sweepAgain = {};
    if (WIFEXITED(status) && WEXITSTATUS(status) <= 1) {
        return;
    }
    // It could not tell.
    const std::string why = WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                                : "status " + std::to_string(WEXITSTATUS(status));
    m_channel.send(Record{"leftover", {}});
    m_channel.send(Record{"failed",
                          {{"association", child.association},
                           {"message", "The association's process ended unexpectedly (" + why + ")."}}});
}

void Listener::stopAccepting()
{
    // Shut down first: a child that was made a moment ago may still hold a copy of the socket.
    ::shutdown(m_listening.socket.get(), SHUT_RDWR);
    m_listening.socket.close();
    m_pending.clear();
    m_channel.send(Record{"unbound", {}});
}

void Listener::endChildren()
{
    for (const auto &[process, child] : m_children) {
        ::kill(process, SIGTERM);
    }
    const auto deadline = SteadyClock::now() + kChildrenDeadline;
    bool killed = false;
    while (!m_children.empty()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - SteadyClock::now());
        pollfd entry{m_signals.get(), POLLIN, 0};
        if (!killed && ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0))) == 0) {
            for (const auto &[process, child] : m_children) {
                ::kill(process, SIGKILL);
            }
            killed = true;
        }
        if (killed) {
            ::poll(&entry, 1, -1);
        }
        reapChildren();
    }
}

} // namespace gateway::dicom_helper::scp

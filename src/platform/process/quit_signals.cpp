#include "platform/process/quit_signals.h"

#include "platform/concurrency/main_thread.h"

#include <QtCore/QSocketNotifier>

#include <array>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace gateway::platform {

namespace {

// A signal handler may do little more than write to a descriptor.
std::array<int, 2> signalPipe{-1, -1};

extern "C" void writeSignalByte(int)
{
    const int kept = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = kept;
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

} // namespace

QuitSignals::QuitSignals(std::function<void()> quit)
{
    assertMainThread("QuitSignals");
    if (::pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    m_notifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [call = std::move(quit)] {
        char byte = 0;
        if (::read(signalPipe[0], &byte, 1) == 1) {
            call();
        }
    });
    // Handlers, not a blocked mask: a mask would pass to the programs that are started, handlers don't.
    handle(SIGTERM, writeSignalByte);
    handle(SIGINT, writeSignalByte);
}

QuitSignals::~QuitSignals()
{
    handle(SIGTERM, SIG_DFL);
    handle(SIGINT, SIG_DFL);
    m_notifier.reset();
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe = {-1, -1};
}

} // namespace gateway::platform

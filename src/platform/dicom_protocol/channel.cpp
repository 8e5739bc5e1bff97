#include "platform/dicom_protocol/channel.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <system_error>
#include <vector>

namespace gateway::platform::dicom_protocol {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// Waits until `descriptor` can be read; false when the deadline has passed first.
bool waitReadable(int descriptor, std::optional<SteadyClock::time_point> deadline)
{
    for (;;) {
        int wait = -1;
        if (deadline) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - SteadyClock::now());
            wait = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
        }
        pollfd entry{descriptor, POLLIN, 0};
        const int ready = ::poll(&entry, 1, wait);
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            return true;
        }
        if (ready == 0 && deadline) {
            return false;
        }
    }
}

} // namespace

std::pair<Channel, Channel> Channel::makePair()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    return {Channel(ends[0]), Channel(ends[1])};
}

void Channel::shutdown()
{
    if (isOpen()) {
        ::shutdown(descriptor(), SHUT_RDWR);
    }
}

bool Channel::send(const Record &record)
{
    return send(record, 0);
}

bool Channel::trySend(const Record &record)
{
    return send(record, MSG_DONTWAIT);
}

bool Channel::send(const Record &record, int flags)
{
    const std::string bytes = encode(record);
    for (;;) {
        const ssize_t sent = ::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL | flags);
        if (sent >= 0) {
            return true;
        }
        if (errno != EINTR) {
            return false;
        }
    }
}

Channel::Receipt Channel::receive(Record &record, std::chrono::milliseconds timeout)
{
    std::optional<SteadyClock::time_point> deadline;
    if (timeout.count() >= 0) {
        deadline = SteadyClock::now() + timeout;
    }
    std::vector<char> bytes(kMaxRecordBytes);
    for (;;) {
        if (!waitReadable(descriptor(), deadline)) {
            return Receipt::timeout;
        }
        const ssize_t size = ::recv(descriptor(), bytes.data(), bytes.size(), 0);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size <= 0) {
            return Receipt::closed;
        }
        auto decoded = decode(std::string_view(bytes.data(), static_cast<std::size_t>(size)));
        if (!decoded) {
            return Receipt::broken;
        }
        record = std::move(*decoded);
        return Receipt::record;
    }
}

} // namespace gateway::platform::dicom_protocol

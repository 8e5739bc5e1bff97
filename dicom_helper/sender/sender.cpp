#include "dicom_helper/sender/sender.h"

#include "dicom_helper/confinement/confinement.h"
#include "dicom_helper/sender/store_sender.h"
#include "platform/descriptors/descriptor.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <netdb.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace gateway::dicom_helper::sender {

namespace {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;
using Kind = StoreOutcome::Kind;

/// A listener that says nothing for so long says nothing at all, in seconds.
constexpr time_t kLongestSilence = 15;

std::string text(const Record &job, std::string_view name)
{
    return std::string(job.text(name));
}

const char *wordOf(Kind kind)
{
    switch (kind) {
    case Kind::stored:
        return "stored";
    case Kind::unreachable:
        return "unreachable";
    case Kind::rejected:
        return "rejected";
    case Kind::notTaken:
        return "nottaken";
    case Kind::failed:
        return "failed";
    case Kind::broken:
        return "broken";
    case Kind::silent:
        return "silent";
    }
    return "broken";
}

/// A socket that is connected; nothing when nobody answers there.
std::optional<platform::Descriptor> connectTo(const std::string &address, const std::string &port)
{
    addrinfo wanted{};
    wanted.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV; // nobody is asked for a name
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo *place = nullptr;
    if (::getaddrinfo(address.c_str(), port.c_str(), &wanted, &place) != 0) {
        return std::nullopt;
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(place, &::freeaddrinfo);
    platform::Descriptor connection(::socket(place->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval silence{kLongestSilence, 0};
    const bool isReady =
        connection.isOpen() &&
        ::setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &silence, sizeof(silence)) == 0 &&
        ::setsockopt(connection.get(), SOL_SOCKET, SO_SNDTIMEO, &silence, sizeof(silence)) == 0;
    if (!isReady || ::connect(connection.get(), place->ai_addr, place->ai_addrlen) != 0) {
        return std::nullopt;
    }
    return connection;
}

Record send(const Record &job)
{
    const std::optional<platform::Descriptor> connection = connectTo(text(job, "address"), text(job, "port"));
    StoreOutcome outcome{.kind = Kind::unreachable};
    if (connection) {
        confine({.places = {}});
        outcome = storeSample(connection->get(),
                              {.called = text(job, "called"), .calling = text(job, "calling")},
                              {.study = text(job, "study"),
                               .series = text(job, "series"),
                               .instance = text(job, "instance"),
                               .date = text(job, "date"),
                               .time = text(job, "time")});
    }
    Record answer{wordOf(outcome.kind), {}};
    answer.setNumber("status", outcome.status);
    return answer;
}

} // namespace

int run(Channel channel)
{
    // Nobody else waits for this: a sender never outlives the gateway.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    Record job;
    if (channel.receive(job) == Channel::Receipt::record && job.word == "send") {
        channel.send(send(job));
    }
    // Nothing runs behind this that would miss the files and calls that are forbidden now.
    std::_Exit(EXIT_SUCCESS);
}

} // namespace gateway::dicom_helper::sender

#include "dicom_helper/confinement/fences.h"
#include "dicom_helper/scp/scp.h"
#include "dicom_helper/sender/sender.h"
#include "dicom_helper/unpack/unpack.h"
#include "dicom_helper/worker/worker.h"
#include "platform/dicom_protocol/words.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string_view>

#include <fcntl.h>

namespace {

using gateway::platform::dicom_protocol::Channel;

struct Role
{
    std::string_view name;
    int (*run)(Channel channel);
};

constexpr Role kRoles[] = {
    {"scp", gateway::dicom_helper::scp::run},
    {"worker", gateway::dicom_helper::worker::run},
    {"unpack", gateway::dicom_helper::unpack::run},
    {"sender", gateway::dicom_helper::sender::run},
    {"fences", gateway::dicom_helper::tellFences},
};

/// Takes the gateway's end of the channel; not inherited by anything that is started from here.
bool channelIsThere()
{
    return ::fcntl(gateway::platform::dicom_protocol::kChannelDescriptor, F_SETFD, FD_CLOEXEC) == 0;
}

} // namespace

/// Started by the gateway as `quorin-dicom ROLE`, with the channel as descriptor 3 and nothing else.
int main(int argc, char **argv)
{
    const std::string_view wanted = argc == 2 ? argv[1] : "";
    for (const Role &role : kRoles) {
        if (role.name != wanted) {
            continue;
        }
        if (!channelIsThere()) {
            std::fputs("quorin-dicom: started without a channel; only the gateway starts it.\n", stderr);
            return 2;
        }
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGXFSZ, SIG_IGN); // a file over its limit is a failed write, not the end
        try {
            return role.run(Channel(gateway::platform::dicom_protocol::kChannelDescriptor));
        } catch (const std::exception &error) {
            std::fprintf(stderr, "quorin-dicom: %s\n", error.what());
            return 1;
        }
    }
    std::fputs("usage: quorin-dicom scp|worker|unpack|sender|fences\n", stderr);
    return 2;
}

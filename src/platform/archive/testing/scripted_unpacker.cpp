#include "platform/dicom_protocol/channel.h"
#include "platform/dicom_protocol/words.h"

#include <csignal>

#include <unistd.h>

using gateway::platform::dicom_protocol::Channel;
using gateway::platform::dicom_protocol::Record;

/// Stands for `quorin-dicom unpack` where a test wants one that misbehaves; the job's path tells how.
int main()
{
    Channel channel(gateway::platform::dicom_protocol::kChannelDescriptor);
    Record job;
    if (channel.receive(job) != Channel::Receipt::record) {
        return 1;
    }
    if (job.text("path") == "crash") {
        std::raise(SIGKILL);
    }
    if (job.text("path") == "hang") {
        for (;;) {
            ::pause();
        }
    }
    // Goes on for ever; a gateway that reads no more makes it wait.
    for (int files = 1;; ++files) {
        Record progress{"unpacking", {}};
        progress.setNumber("files", files);
        progress.setNumber("bytes", 10 * files);
        if (!channel.send(progress)) {
            return 0;
        }
    }
}

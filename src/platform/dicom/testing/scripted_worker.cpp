#include "platform/dicom_protocol/channel.h"
#include "platform/dicom_protocol/words.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

using gateway::platform::dicom_protocol::Channel;
using gateway::platform::dicom_protocol::Record;

namespace {

/// What a worker might do with a job; the job's word tells, or the end of the path that is to be parsed.
Record obey(const Record &job, int jobsBefore)
{
    const bool killed = job.word == "parse" && job.text("path").ends_with("crash");
    if (job.word == "parse" && job.text("path").ends_with("pixels")) {
        return {"parsed", {}};
    }
    if (job.word == "hang" || (job.word == "parse" && job.text("path").ends_with("hang"))) {
        for (;;) {
            ::pause();
        }
    }
    if (job.word == "crash" || job.word == "parse_with_version" || killed) {
        std::raise(SIGKILL);
    }
    if (job.word == "convert") {
        // Dies with half of the output written.
        std::ofstream(std::string(job.text("output"))) << "half";
        std::raise(SIGKILL);
    }
    if (job.word == "leave" || (job.word == "leave unless new" && jobsBefore > 0)) {
        std::_Exit(0);
    }
    return {"done", {{"pid", std::to_string(::getpid())}, {"echo", std::string(job.text("echo"))}}};
}

} // namespace

/// Stands for quorin-dicom where a test wants a worker that misbehaves.
int main()
{
    Channel channel(gateway::platform::dicom_protocol::kChannelDescriptor);
    Record job;
    for (int jobs = 0; channel.receive(job) == Channel::Receipt::record; ++jobs) {
        if (!channel.send(obey(job, jobs)) || job.word == "answer and leave") {
            break;
        }
    }
    return 0;
}

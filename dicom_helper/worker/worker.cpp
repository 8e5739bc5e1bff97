#include "dicom_helper/worker/worker.h"

#include "dicom_helper/worker/byte_source.h"
#include "dicom_helper/worker/converter.h"
#include "dicom_helper/worker/elements.h"
#include "dicom_helper/worker/jpeg_ls_codec.h"
#include "dicom_helper/worker/toolkit_object.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <new>
#include <string>

namespace gateway::dicom_helper::worker {

namespace {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;

/// Address space for the libraries, a frame of the largest size in its three forms, and the attributes.
[[maybe_unused]] constexpr rlim_t kAddressSpace = rlim_t{1024} * 1024 * 1024;

constexpr int kConvertingNiceness = 10;

/// Nobody needs a process that had nothing to do for so long; the gateway starts another one.
constexpr std::chrono::seconds kIdle(20);

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QUORIN_RESERVES_ADDRESS_SPACE 1
#endif
#endif

void limit(int resource, rlim_t value)
{
    const rlimit both{value, value};
    ::setrlimit(static_cast<__rlimit_resource>(resource), &both);
}

void prepareProcess()
{
    // A worker never outlives the gateway: its result would belong to nobody.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    // A core file would hold a patient's image.
    limit(RLIMIT_CORE, 0);
#ifndef QUORIN_RESERVES_ADDRESS_SPACE
    limit(RLIMIT_AS, kAddressSpace);
#endif
}

bool isClosed(const Channel &channel)
{
    pollfd entry{channel.descriptor(), 0, 0};
    return ::poll(&entry, 1, 0) > 0 && (entry.revents & (POLLHUP | POLLERR)) != 0;
}

/// The answer where something else than the object stood in the way.
Record trouble(int code, const char *message)
{
    return {"trouble", {{"errno", std::to_string(code)}, {"message", message}}};
}

Record answer(const Record &job, Converter &converter)
try {
    const std::string path(job.text("path"));
    if (job.word == "convert") {
        // Receiving comes first; a process that has converted stays behind it for good.
        ::setpriority(PRIO_PROCESS, 0, kConvertingNiceness);
        return converter.convert(path, std::string(job.text("output")));
    }
    if (job.word != "parse") {
        return {"failed", {{"message", "the job isn't known"}}};
    }
    return parseObject(path);
} catch (const ReadError &error) {
    return trouble(error.code(), error.what());
} catch (const std::bad_alloc &) {
    return trouble(ENOMEM, "the object needs too much memory");
}

} // namespace

int run(Channel channel)
{
    prepareProcess();
    return serve(std::move(channel), kIdle);
}

int serve(Channel channel, std::chrono::milliseconds idle)
{
    prepareToolkit();
    JpegLsCodec codec;
    Converter converter(codec, [&channel] { return isClosed(channel); });
    Record job;
    while (channel.receive(job, idle) == Channel::Receipt::record) {
        if (!channel.send(answer(job, converter))) {
            break;
        }
    }
    return 0;
}

} // namespace gateway::dicom_helper::worker

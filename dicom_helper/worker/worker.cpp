#include "dicom_helper/worker/worker.h"

#include "dicom_helper/confinement/confinement.h"
#include "dicom_helper/descriptor.h"
#include "dicom_helper/worker/byte_source.h"
#include "dicom_helper/worker/converter.h"
#include "dicom_helper/worker/elements.h"
#include "dicom_helper/worker/jpeg_ls_codec.h"
#include "dicom_helper/worker/object_comparison.h"
#include "dicom_helper/worker/sendable.h"
#include "dicom_helper/worker/toolkit_object.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <optional>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace gateway::dicom_helper::worker {

namespace {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;

constexpr int kConvertingNiceness = 10;

/// Nobody needs a process that had nothing to do for so long; the gateway starts another one.
constexpr std::chrono::seconds kIdle(20);

bool isClosed(const Channel &channel)
{
    pollfd entry{channel.descriptor(), 0, 0};
    return ::poll(&entry, 1, 0) > 0 && (entry.revents & (POLLHUP | POLLERR)) != 0;
}

Record convertedAndSendable(const std::string &path, const std::string &output, Converter &converter)
{
    Record made = converter.convert(path, output);
    if (made.word != "converted") {
        return made;
    }
    return made.text("path") == output ? makeConvertedSendable(path, output) : makeSendable(path, output);
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
        return convertedAndSendable(path, std::string(job.text("output")), converter);
    }
    if (job.word == "sendable") {
        return makeSendable(path, std::string(job.text("output")));
    }
    if (job.word == "compare") {
        return compareObjects(path, std::string(job.text("sent")), std::string(job.text("stored")));
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

/// Confines the process to what its first job needs, and says which further jobs it can still do.
class Cell
{
public:
    bool admits(const Record &job)
    {
        const std::string output = std::filesystem::path(job.text("output")).parent_path().string();
        if (!m_output) {
            m_output = output;
            close(output);
        }
        return output.empty() || output == *m_output;
    }

private:
    /// Files are read wherever a job finds them: a person may choose any for an import.
    static void close(const std::string &output)
    {
        const Descriptor root(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
        const Descriptor target(::open(output.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        Confinement confinement{.places = {{root.get(), FolderUse::read}}};
        if (target.isOpen()) {
            confinement.places.push_back({target.get(), FolderUse::keepFiles});
        }
        confine(confinement);
    }

    std::optional<std::string> m_output; // the folder of the first job's output; empty where it had none
};

} // namespace

int run(Channel channel)
{
    // A worker never outlives the gateway: its result would belong to nobody.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    Cell cell;
    std::_Exit(serve(std::move(channel), kIdle, [&cell](const Record &job) { return cell.admits(job); }));
}

int serve(Channel channel, std::chrono::milliseconds idle, const std::function<bool(const Record &)> &admits)
{
    prepareToolkit();
    JpegLsCodec codec;
    Converter converter(codec, [&channel] { return isClosed(channel); });
    Record job;
    while (channel.receive(job, idle) == Channel::Receipt::record && admits(job)) {
        if (!channel.send(answer(job, converter))) {
            break;
        }
    }
    return 0;
}

} // namespace gateway::dicom_helper::worker

#include "dicom_helper/worker/worker.h"

#include "dicom_helper/confinement/confinement.h"
#include "dicom_helper/worker/byte_source.h"
#include "dicom_helper/worker/converter.h"
#include "dicom_helper/worker/elements.h"
#include "dicom_helper/worker/jpeg_ls_codec.h"
#include "dicom_helper/worker/object_comparison.h"
#include "dicom_helper/worker/sendable.h"
#include "dicom_helper/worker/text_decoder.h"
#include "dicom_helper/worker/toolkit_object.h"
#include "platform/descriptors/descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <vector>

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
    if (job.word == "version") {
        return tellVersion(path);
    }
    if (job.word == "compare") {
        return compareObjects(path, std::string(job.text("sent")), std::string(job.text("stored")));
    }
    if (job.word == "parse_with_version") {
        return parseObject(path, Look::whole);
    }
    if (job.word != "parse") {
        return {"failed", {{"message", "the job isn't known"}}};
    }
    return parseObject(path, Look::elements);
} catch (const ReadError &error) {
    return trouble(error.code(), error.what());
} catch (const std::bad_alloc &) {
    return trouble(ENOMEM, "the object needs too much memory");
}

std::string folderOf(std::string_view path)
{
    return std::filesystem::path(path).parent_path().string();
}

/// Confines the process to what its first job needs, and says which further jobs it can still do.
class Cell
{
public:
    bool admits(const Record &job)
    {
        const std::string output = folderOf(job.text("output"));
        if (!m_output) {
            m_output = output;
            m_converts = job.word == "convert";
            close(job);
            return true;
        }
        return (output.empty() || output == *m_output) && (m_converts || job.word != "convert") &&
               std::ranges::none_of(kInputs, [&](const char *input) {
                   return m_isClosed && isForbidden(std::string(job.text(input)));
               });
    }

private:
    static constexpr std::array kInputs{"path", "sent", "stored"};

    /// What jobs read lies in folders of the gateway's: private copies, stored files, those on their way up.
    void close(const Record &job)
    {
        Confinement confinement;
        std::vector<platform::Descriptor> folders;
        const auto open = [&](std::string_view path, FolderUse use) {
            folders.emplace_back(::open(folderOf(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
            if (folders.back().isOpen()) {
                confinement.places.push_back({folders.back().get(), use});
            }
        };
        loadConverters(); // as long as they can be read, like the dictionary
        for (const char *input : kInputs) {
            open(job.text(input), FolderUse::read);
        }
        if (m_converts) {
            loadDictionary(); // takes much longer than a look at a file
        }
        if (!m_output->empty()) {
            open(job.text("output"), FolderUse::read);
            open(job.text("output"), FolderUse::keepFiles);
        }
        m_isClosed = confine(confinement).files;
    }

    /// True for a file that may be closed to this process alone: a fresh one will see.
    static bool isForbidden(const std::string &path)
    {
        const platform::Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        return !file.isOpen() && errno == EACCES;
    }

    std::optional<std::string> m_output; // the folder of the first job's output; empty where it had none
    bool m_converts = false;             // the toolkit's dictionary is loaded
    bool m_isClosed = false;             // around the files
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

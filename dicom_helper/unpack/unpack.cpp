#include "dicom_helper/unpack/unpack.h"

#include "dicom_helper/confinement/confinement.h"
#include "dicom_helper/unpack/output_folder.h"
#include "dicom_helper/unpack/unpacker.h"

#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>

namespace gateway::dicom_helper::unpack {

namespace {

using platform::dicom_protocol::Channel;
using platform::dicom_protocol::Record;

/// An archive that keeps a processor busy for longer is made to.
constexpr std::uint64_t kProcessorSeconds = 3600;

/// The gateway has gone, or wants no more of this job.
struct NobodyWaits
{
};

std::uint64_t sizeIn(const Record &job, std::string_view name)
{
    const std::int64_t value = job.number(name, 0);
    return value > 0 ? static_cast<std::uint64_t>(value) : 0;
}

Record counted(const char *word, const Counts &counts)
{
    Record record{word, {}};
    record.setNumber("files", static_cast<std::int64_t>(counts.files));
    record.setNumber("bytes", static_cast<std::int64_t>(counts.bytes));
    record.setNumber("leftout", static_cast<std::int64_t>(counts.leftOut));
    return record;
}

/// Tells how far the work is, a few times a second.
class ProgressTeller
{
public:
    explicit ProgressTeller(Channel &channel) : m_channel(channel) {}

    void operator()(const Counts &counts)
    {
        constexpr std::chrono::milliseconds kInterval(200);
        const auto now = std::chrono::steady_clock::now();
        if (now - m_told < kInterval) {
            return;
        }
        m_told = now;
        if (!m_channel.send(counted("unpacking", counts))) {
            throw NobodyWaits();
        }
    }

private:
    Channel &m_channel;
    std::chrono::steady_clock::time_point m_told = std::chrono::steady_clock::now();
};

Record unpack(const Record &job, Channel &channel)
{
    const Limits limits{sizeIn(job, "entries"), sizeIn(job, "bytes")};
    try {
        const platform::Descriptor input(::open(std::string(job.text("path")).c_str(), O_RDONLY | O_CLOEXEC));
        OutputFolder folder(std::string(job.text("folder")), sizeIn(job, "reserve"));
        if (!input.isOpen()) {
            throw NoStorage("the archive can't be opened");
        }
        confine({.places = {{folder.descriptor(), FolderUse::fill}},
                 .fileBytes = limits.bytes,
                 .processorSeconds = kProcessorSeconds});
        ArchiveReader archive(input.get());
        return counted("unpacked", unpackAll(archive, folder, limits, ProgressTeller(channel)));
    } catch (const UnreadableArchive &error) {
        return {error.isEncrypted ? "encrypted" : "unreadable", {}};
    } catch (const TooLarge &) {
        return {"toolarge", {}};
    } catch (const std::bad_alloc &) {
        return {"toolarge", {}};
    } catch (const NoStorage &) {
        return {"nostorage", {}};
    }
}

} // namespace

int run(Channel channel)
{
    // Nobody else knows of the folder's contents: an unpacker never outlives the gateway.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Names come as they are; any other locale would lose those that it can't express.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    Record job;
    if (channel.receive(job) == Channel::Receipt::record && job.word == "unpack") {
        try {
            channel.send(unpack(job, channel));
        } catch (const NobodyWaits &) {
            std::_Exit(EXIT_FAILURE);
        }
    }
    // Nothing runs behind this that would miss the files and calls that are forbidden now.
    std::_Exit(EXIT_SUCCESS);
}

} // namespace gateway::dicom_helper::unpack

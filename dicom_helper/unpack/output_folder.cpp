#include "dicom_helper/unpack/output_folder.h"

#include <cerrno>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace gateway::dicom_helper::unpack {

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// The free space is asked for again after so much.
constexpr std::uint64_t kCheckEvery = std::uint64_t{16} * 1024 * 1024;

/// What a file costs beside its content.
constexpr std::uint64_t kCostOfFile = 4096;

/// The errors that tell of the name and not of the storage.
bool isTroubleWithName(int error)
{
    return error == EEXIST || error == ENOTDIR || error == EISDIR || error == ELOOP ||
           error == ENAMETOOLONG || error == EILSEQ || error == EINVAL;
}

} // namespace

OutputFolder::OutputFolder(const std::string &path, std::uint64_t reserve)
    : m_folder(::open(path.c_str(), kFolderFlags)), m_reserve(reserve), m_uncheckedBytes(kCheckEvery)
{
    if (!m_folder.isOpen()) {
        throw NoStorage("the folder can't be opened");
    }
}

/// The new file, or a closed descriptor with errno telling why not.
platform::Descriptor OutputFolder::createAt(const EntryPath &path) const
{
    platform::Descriptor opened;
    int folder = m_folder.get();
    for (const std::string &part : path.folders) {
        if (::mkdirat(folder, part.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
            return {};
        }
        // O_PATH: to pass through it is all that is wanted.
        platform::Descriptor next(
            ::openat(folder, part.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!next.isOpen()) {
            return {};
        }
        opened = std::move(next);
        folder = opened.get();
    }
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return platform::Descriptor(::openat(folder, path.name.c_str(), kFlags, S_IRUSR | S_IWUSR));
}

void OutputFolder::begin(std::string_view path, std::uint64_t number)
{
    constexpr int kAttempts = 100; // an archive may have taken the first plain names on purpose
    leaveReserve(kCostOfFile);
    const std::optional<EntryPath> own = tamedPath(path);
    m_file = own ? createAt(*own) : platform::Descriptor();
    for (int attempt = 0; !m_file.isOpen() && attempt < kAttempts; ++attempt) {
        if ((own || attempt > 0) && !isTroubleWithName(errno)) {
            break;
        }
        m_file = createAt({{}, plainName(path, number, attempt)});
    }
    if (!m_file.isOpen()) {
        throw NoStorage("a file can't be made");
    }
}

void OutputFolder::write(std::span<const std::byte> bytes)
{
    leaveReserve(bytes.size());
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_file.get(), bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            throw NoStorage("a file can't be written");
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written > 0 ? written : 0));
    }
}

void OutputFolder::end()
{
    if (m_file.close() != 0) {
        throw NoStorage("a file can't be closed");
    }
}

void OutputFolder::leaveReserve(std::uint64_t bytes)
{
    m_uncheckedBytes += bytes;
    if (m_uncheckedBytes < kCheckEvery) {
        return;
    }
    m_uncheckedBytes = 0;
    struct statvfs volume{};
    if (::fstatvfs(m_folder.get(), &volume) == 0 && volume.f_bavail * volume.f_frsize < m_reserve) {
        throw NoStorage("the free space is down to the reserve");
    }
}

} // namespace gateway::dicom_helper::unpack

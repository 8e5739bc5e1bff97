#include "dicom_helper/scp/inbox.h"

#include "dicom_helper/scp/refusal.h"
#include "platform/dicom_protocol/words.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace gateway::dicom_helper::scp {

namespace refusal = platform::dicom_protocol::refusal;

namespace {

constexpr char kPartFolder[] = ".part";
constexpr char kOrderFile[] = "order";
constexpr char kIdFile[] = ".id";
constexpr char kOurs[] = "quorin-";

[[noreturn]] void refuse(const std::string &path, int error, const char *code = refusal::kFolderUnusable)
{
    throw Refusal(code, {{"folder", path}, {"error", std::to_string(error)}});
}

/// Whether a failed sync of a folder means that the volume can't do it at all; other trouble may pass.
bool isUnableToSync(int error)
{
    return error == EINVAL || error == ENOTSUP || error == ENOSYS;
}

platform::Descriptor openFolder(int base, const std::string &name, int flags)
{
    return platform::Descriptor(::openat(base, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
}

/// The names in a folder that begin with `prefix`.
std::vector<std::string> namesIn(const platform::Descriptor &folder, std::string_view prefix)
{
    std::vector<std::string> names;
    platform::Descriptor opened = openFolder(folder.get(), ".", 0); // its own position in the folder
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(::fdopendir(opened.get()), ::closedir);
    if (!listing) {
        return names;
    }
    opened.release();
    while (const dirent *entry = ::readdir(listing.get())) {
        if (std::string_view(entry->d_name).starts_with(prefix)) {
            names.emplace_back(entry->d_name);
        }
    }
    return names;
}

std::int64_t nanoseconds(const timespec &time)
{
    constexpr std::int64_t kSecond = 1'000'000'000;
    constexpr std::int64_t kLatest = 9'000'000'000; // seconds; what lies beyond doesn't fit, and is no date
    return time.tv_sec > kLatest ? 0 : static_cast<std::int64_t>(time.tv_sec) * kSecond + time.tv_nsec;
}

/// When the newest of the named files of a folder was modified; 0 without any.
std::int64_t newestOf(const platform::Descriptor &folder, const std::vector<std::string> &names)
{
    std::int64_t newest = 0;
    for (const std::string &name : names) {
        struct stat status{};
        if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
            newest = std::max(newest, nanoseconds(status.st_mtim));
        }
    }
    return newest;
}

/// When the last object of the inbox was acknowledged; 0 without any.
std::int64_t lastOf(const platform::Descriptor &folder, const platform::Descriptor &part)
{
    return std::max(newestOf(part, {kOrderFile}), newestOf(folder, namesIn(folder, kOurs)));
}

/// Its time must have been read before: one of another user is made anew.
platform::Descriptor openOrderFile(const platform::Descriptor &part)
{
    constexpr int kFlags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    platform::Descriptor file(::openat(part.get(), kOrderFile, kFlags, 0600));
    if (!file.isOpen() && ::unlinkat(part.get(), kOrderFile, 0) == 0) {
        file = platform::Descriptor(::openat(part.get(), kOrderFile, kFlags, 0600));
    }
    return file;
}

/// Sets when a file was modified. \return what the volume has kept of it, or the negated errno.
std::int64_t setModified(int file, std::int64_t time)
{
    constexpr std::int64_t kSecond = 1'000'000'000;
    const timespec times[2]{{0, UTIME_OMIT}, {time / kSecond, time % kSecond}};
    struct stat status{};
    if (::futimens(file, times) != 0 || ::fstat(file, &status) != 0) {
        return -errno;
    }
    return nanoseconds(status.st_mtim);
}

/// A folder made a moment ago is only as durable as the entries that lead to it.
void syncWayTo(const std::string &path)
{
    std::filesystem::path folder = std::filesystem::path(path).parent_path();
    while (folder.has_relative_path()) {
        const platform::Descriptor opened = openFolder(AT_FDCWD, folder.string(), 0);
        ::fsync(opened.get());
        folder = folder.parent_path();
    }
}

/// The number that an inbox keeps; empty where it keeps none, or none that can be read.
std::string idIn(const platform::Descriptor &part)
{
    constexpr std::size_t kMost = 64;
    constexpr std::string_view kBlanks = " \t\r\n";
    const platform::Descriptor file(
        ::openat(part.get(), kIdFile, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    std::array<char, kMost> text{};
    const ssize_t count = file.isOpen() ? ::read(file.get(), text.data(), text.size()) : 0;
    const std::string_view read(text.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    const std::size_t first = read.find_first_not_of(kBlanks); // a person's editor may have added some
    const std::size_t last = read.find_last_not_of(kBlanks);
    return first == std::string_view::npos ? std::string()
                                           : std::string(read.substr(first, last - first + 1));
}

/// True where this folder, which is open, stands at the path.
bool standsAt(const std::string &path, const platform::Descriptor &folder)
{
    struct stat there{};
    struct stat ours{};
    return ::stat(path.c_str(), &there) == 0 && ::fstat(folder.get(), &ours) == 0 &&
           there.st_dev == ours.st_dev && there.st_ino == ours.st_ino;
}

int result(int returned)
{
    return returned < 0 ? -errno : returned;
}

} // namespace

Inbox::Inbox(const std::string &path, std::string id) : m_path(path), m_id(std::move(id))
{
    m_folder = openFolder(AT_FDCWD, path, 0);
    if (!m_folder.isOpen()) {
        refuse(path, errno);
    }
    m_part = openFolder(m_folder.get(), kPartFolder, O_NOFOLLOW);
    if (!m_part.isOpen()) {
        refuse(path, errno);
    }
    if (!isTheOne(m_part)) {
        throw Refusal(refusal::kFolderExchanged, {{"folder", path}});
    }
    if (::faccessat(m_folder.get(), ".", W_OK | X_OK, AT_EACCESS) != 0 ||
        ::faccessat(m_part.get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        refuse(path, errno);
    }
    m_order = std::make_unique<AcknowledgementOrder>(lastOf(m_folder, m_part));
    m_orderFile = openOrderFile(m_part);
    if (!m_orderFile.isOpen()) {
        refuse(path, errno);
    }
    requireTimes();
    if (const int synced = syncInbox(); isUnableToSync(-synced)) {
        refuse(path, -synced, refusal::kFolderCannotSync);
    }
    syncWayTo(path);
}

void Inbox::requireTimes()
{
    if (const int stamped = Inbox::stamp(m_orderFile.get()); stamped != 0) {
        refuse(m_path, -stamped, refusal::kFolderCannotKeepTimes);
    }
}

void Inbox::sweep(const std::string &prefix)
{
    for (std::string &name : namesIn(m_part, prefix)) {
        m_rest.push_back(std::move(name));
    }
    sweepRest();
}

bool Inbox::sweepRest()
{
    std::erase_if(m_rest, [this](const std::string &name) { return isGone(name); });
    return !m_rest.empty();
}

/// Removes the file unless its writer has it locked. On a volume without locks nobody can tell: who still
/// writes there finds nothing to give its final name, and refuses the object.
bool Inbox::isGone(const std::string &name)
{
    const platform::Descriptor file(
        ::openat(m_part.get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.isOpen()) {
        return errno == ENOENT;
    }
    const bool isBeingWritten = ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    return !isBeingWritten && (::unlinkat(m_part.get(), name.c_str(), 0) == 0 || errno == ENOENT);
}

bool Inbox::isInPlace() const
{
    return standsAt(m_path, m_folder) && standsAt(m_path + '/' + kPartFolder, m_part);
}

bool Inbox::isTheOne(const platform::Descriptor &part) const
{
    return m_id.empty() || idIn(part) == m_id;
}

void Inbox::takeUpWhatIsThere()
{
    if (isInPlace()) {
        return;
    }
    // Nothing is made: the empty folder under a share that is away must not pass for the inbox.
    platform::Descriptor folder = openFolder(AT_FDCWD, m_path, 0);
    platform::Descriptor part =
        folder.isOpen() ? openFolder(folder.get(), kPartFolder, O_NOFOLLOW) : platform::Descriptor();
    if (part.isOpen() && isTheOne(part)) {
        m_order->raise(lastOf(folder, part));
        m_orderFile = openOrderFile(part);
        m_folder = std::move(folder);
        m_part = std::move(part);
        sweep();
    }
}

int Inbox::create(const std::string &name)
{
    if (!isInPlace()) {
        return -ESTALE;
    }
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    platform::Descriptor file(::openat(m_part.get(), name.c_str(), kFlags, 0600));
    if (!file.isOpen()) {
        return -errno;
    }
    // A volume without locks is served too: only the sweep of another listener's start needs them.
    const bool sweptMeanwhile = ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    struct stat status{};
    if (sweptMeanwhile || ::fstat(file.get(), &status) != 0 || status.st_nlink == 0) {
        removeUnfinished(name);
        return -EAGAIN;
    }
    return file.release();
}

ssize_t Inbox::write(int file, std::string_view bytes)
{
    for (;;) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written >= 0) {
            return written;
        }
        if (errno != EINTR) {
            return -errno;
        }
    }
}

std::int64_t Inbox::size(int file)
{
    struct stat status{};
    return ::fstat(file, &status) != 0 ? -errno : status.st_size;
}

int Inbox::stamp(int file)
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const std::int64_t given =
        m_order->give(nanoseconds(now), [file](std::int64_t time) { return setModified(file, time); });
    if (given < 0) {
        return static_cast<int>(given);
    }
    setModified(m_orderFile.get(), given);
    return 0;
}

int Inbox::sync(int file)
{
    return result(::fsync(file));
}

int Inbox::close(int file)
{
    return result(::close(file));
}

int Inbox::publish(const std::string &name, const std::string &finalName)
{
    if (!isInPlace()) {
        return -ESTALE;
    }
    return result(::renameat(m_part.get(), name.c_str(), m_folder.get(), finalName.c_str()));
}

int Inbox::syncInbox()
{
    return result(::fsync(m_folder.get()));
}

void Inbox::removeUnfinished(const std::string &name)
{
    ::unlinkat(m_part.get(), name.c_str(), 0);
}

void Inbox::removePublished(const std::string &finalName)
{
    ::unlinkat(m_folder.get(), finalName.c_str(), 0);
}

std::int64_t Inbox::availableBytes()
{
    struct statvfs figures{};
    if (::fstatvfs(m_folder.get(), &figures) != 0) {
        return -errno;
    }
    return static_cast<std::int64_t>(figures.f_bavail) * static_cast<std::int64_t>(figures.f_frsize);
}

} // namespace gateway::dicom_helper::scp

// A disk that fails when a test says so: preloaded into a program and all that it starts, it lets calls on
// files fail whose paths match a pattern.
//
// The environment variable FAILING_DISK names a control file of kFileBytes. Its first half is text, one rule
// a line: the call, the errno in decimal, how often to fail ("-" without end) and a pattern of the path
// (fnmatch;
// "*" matches slashes, too). Its second half counts the failures given by each rule, 64 bits each, by the
// line's number. It is mapped once, when the program starts, so it steers confined processes as well; a test
// may write other rules at any moment. Calls: open, read, write, fsync, rename, unlink, stat; "read-behind"
// is a read that begins kBehind bytes from the start of a file or later. A rule of "grain" lets nothing fail:
// its number is that of the seconds whose multiples such files keep as their times. An errno of 0 lets a call
// wait, as a share does that is dead, until all rules are taken away.
//
// Paths of descriptors are those by which they were opened in this process. Reads inside the C library (its
// streams) aren't seen.

// The checked forms of the calls would be inlined into ours.
#undef _FORTIFY_SOURCE

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr std::size_t kTextBytes = 4096;
constexpr std::size_t kFileBytes = 2 * kTextBytes;
constexpr std::size_t kMostRules = kTextBytes / sizeof(std::uint64_t);
constexpr int kDescriptors = 4096;
constexpr std::size_t kLongestPath = 512;
constexpr off64_t kBehind = off64_t{128} * 1024;

struct Control
{
    std::array<char, kTextBytes> text;
    std::array<std::atomic<std::uint64_t>, kMostRules> failures;
};
static_assert(sizeof(Control) == kFileBytes);

/// The next function of that name: the C library's.
template <typename Function>
Function *original(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

#define ORIGINAL(name) static const auto next = original<decltype(::name)>(#name)

Control *mapControl()
{
    const char *path = std::getenv("FAILING_DISK");
    if (path == nullptr) {
        return nullptr;
    }
    ORIGINAL(open);
    const int file = next(path, O_RDWR | O_CLOEXEC);
    if (file < 0) {
        return nullptr;
    }
    void *memory = ::mmap(nullptr, kFileBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<Control *>(memory);
}

Control *control()
{
    static Control *const mapped = mapControl();
    return mapped;
}

/// Mapped before the program's own code runs, and so before anything is forbidden to it.
[[gnu::constructor]] void begin()
{
    control();
}

/// The paths of open descriptors. Two threads never own one descriptor at a time.
std::array<std::array<char, kLongestPath>, kDescriptors> g_paths;

const char *pathOf(int descriptor)
{
    return descriptor >= 0 && descriptor < kDescriptors ? g_paths[static_cast<std::size_t>(descriptor)].data()
                                                        : "";
}

void note(int descriptor, std::string_view path)
{
    if (descriptor >= 0 && descriptor < kDescriptors) {
        auto &place = g_paths[static_cast<std::size_t>(descriptor)];
        const std::size_t size = std::min(path.size(), kLongestPath - 1);
        std::memcpy(place.data(), path.data(), size);
        place[size] = '\0';
    }
}

/// The path that `name` has below an open folder.
std::string below(int folder, const char *name)
{
    return name[0] == '/' || folder == AT_FDCWD ? std::string(name)
                                                : std::string(pathOf(folder)) + '/' + name;
}

/// Returns when all rules are taken away.
void waitForHealth(const Control &rules)
{
    const volatile char &first = rules.text[0];
    while (first != '\0') {
        const timespec rest{0, 10'000'000};
        ::nanosleep(&rest, nullptr);
    }
}

/// True when the call must fail now; errno says how.
bool fails(const char *call, const char *path)
{
    Control *const rules = control();
    if (rules == nullptr || rules->text[0] == '\0' || path[0] == '\0') {
        return false;
    }
    const std::string text(rules->text.data(), ::strnlen(rules->text.data(), kTextBytes));
    std::size_t begin = 0;
    for (std::size_t line = 0; begin < text.size() && line < kMostRules; ++line) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string rule = text.substr(begin, end - begin);
        begin = end + 1;
        std::array<char, 16> wanted{};
        std::array<char, 16> times{};
        std::array<char, kLongestPath> pattern{};
        int code = 0;
        if (std::sscanf(
                rule.c_str(), "%15s %d %15s %511[^\n]", wanted.data(), &code, times.data(), pattern.data()) !=
                4 ||
            std::strcmp(wanted.data(), call) != 0 || ::fnmatch(pattern.data(), path, 0) != 0) {
            continue;
        }
        const std::uint64_t before = rules->failures[line]++;
        if (code == 0) {
            waitForHealth(*rules);
            return false;
        }
        if (code < 0) {
            if (before + 1 == std::strtoull(times.data(), nullptr, 10)) {
                ::kill(::getpid(), SIGKILL);
            }
            return false;
        }
        if (times[0] == '-' || before < std::strtoull(times.data(), nullptr, 10)) {
            errno = code;
            return true;
        }
        --rules->failures[line];
    }
    return false;
}

/// What a coarse volume makes of times that are to be set; nothing where the path lies on none.
std::optional<std::array<timespec, 2>> asKept(const char *path, const timespec *times)
{
    if (times == nullptr || !fails("grain", path)) {
        return std::nullopt;
    }
    std::array<timespec, 2> kept{times[0], times[1]};
    for (timespec &time : kept) {
        if (time.tv_nsec != UTIME_OMIT && time.tv_nsec != UTIME_NOW) {
            time = {time.tv_sec - time.tv_sec % errno, 0};
        }
    }
    return kept;
}

bool readFails(int descriptor, off64_t offset)
{
    const char *path = pathOf(descriptor);
    return fails("read", path) || (offset >= kBehind && fails("read-behind", path));
}

mode_t modeFrom(int flags, va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(arguments, unsigned)) : 0;
}

template <typename Open>
int opened(const std::string &path, Open open)
{
    if (fails("open", path.c_str())) {
        return -1;
    }
    const int descriptor = open();
    note(descriptor, path);
    return descriptor;
}

} // namespace

// NOLINTBEGIN: the names and signatures are the C library's.
extern "C" {

#define OPEN(name)                                                                                           \
    int name(const char *path, int flags, ...)                                                               \
    {                                                                                                        \
        ORIGINAL(name);                                                                                      \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = modeFrom(flags, arguments);                                                      \
        va_end(arguments);                                                                                   \
        return opened(path, [&] { return next(path, flags, mode); });                                        \
    }
OPEN(open)
OPEN(open64)

#define OPENAT(name)                                                                                         \
    int name(int folder, const char *path, int flags, ...)                                                   \
    {                                                                                                        \
        ORIGINAL(name);                                                                                      \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = modeFrom(flags, arguments);                                                      \
        va_end(arguments);                                                                                   \
        return opened(below(folder, path), [&] { return next(folder, path, flags, mode); });                 \
    }
OPENAT(openat)
OPENAT(openat64)

// What calls become where the compiler knows the sizes (_FORTIFY_SOURCE).
#define CHECKED_OPEN(name)                                                                                   \
    int name(const char *path, int flags)                                                                    \
    {                                                                                                        \
        static const auto next = original<int(const char *, int)>(#name);                                    \
        return opened(path, [&] { return next(path, flags); });                                              \
    }
CHECKED_OPEN(__open_2)
CHECKED_OPEN(__open64_2)

#define CHECKED_OPENAT(name)                                                                                 \
    int name(int folder, const char *path, int flags)                                                        \
    {                                                                                                        \
        static const auto next = original<int(int, const char *, int)>(#name);                               \
        return opened(below(folder, path), [&] { return next(folder, path, flags); });                       \
    }
CHECKED_OPENAT(__openat_2)
CHECKED_OPENAT(__openat64_2)

ssize_t __read_chk(int descriptor, void *to, size_t size, size_t room)
{
    static const auto next = original<ssize_t(int, void *, size_t, size_t)>("__read_chk");
    return fails("read", pathOf(descriptor)) ? -1 : next(descriptor, to, size, room);
}

#define CHECKED_PREAD(name)                                                                                  \
    ssize_t name(int descriptor, void *to, size_t size, off64_t offset, size_t room)                         \
    {                                                                                                        \
        static const auto next = original<ssize_t(int, void *, size_t, off64_t, size_t)>(#name);             \
        return readFails(descriptor, offset) ? -1 : next(descriptor, to, size, offset, room);                \
    }
CHECKED_PREAD(__pread_chk)
CHECKED_PREAD(__pread64_chk)

int close(int descriptor)
{
    ORIGINAL(close);
    note(descriptor, {});
    return next(descriptor);
}

int dup(int descriptor)
{
    ORIGINAL(dup);
    const int copy = next(descriptor);
    note(copy, pathOf(descriptor));
    return copy;
}

ssize_t read(int descriptor, void *to, size_t size)
{
    ORIGINAL(read);
    return fails("read", pathOf(descriptor)) ? -1 : next(descriptor, to, size);
}

ssize_t pread(int descriptor, void *to, size_t size, off_t offset)
{
    ORIGINAL(pread);
    return readFails(descriptor, offset) ? -1 : next(descriptor, to, size, offset);
}

ssize_t pread64(int descriptor, void *to, size_t size, off64_t offset)
{
    ORIGINAL(pread64);
    return readFails(descriptor, offset) ? -1 : next(descriptor, to, size, offset);
}

ssize_t write(int descriptor, const void *from, size_t size)
{
    ORIGINAL(write);
    return fails("write", pathOf(descriptor)) ? -1 : next(descriptor, from, size);
}

ssize_t pwrite(int descriptor, const void *from, size_t size, off_t offset)
{
    ORIGINAL(pwrite);
    return fails("write", pathOf(descriptor)) ? -1 : next(descriptor, from, size, offset);
}

ssize_t pwrite64(int descriptor, const void *from, size_t size, off64_t offset)
{
    ORIGINAL(pwrite64);
    return fails("write", pathOf(descriptor)) ? -1 : next(descriptor, from, size, offset);
}

int fsync(int descriptor)
{
    ORIGINAL(fsync);
    return fails("fsync", pathOf(descriptor)) ? -1 : next(descriptor);
}

int fdatasync(int descriptor)
{
    ORIGINAL(fdatasync);
    return fails("fsync", pathOf(descriptor)) ? -1 : next(descriptor);
}

int rename(const char *from, const char *to)
{
    ORIGINAL(rename);
    return fails("rename", from) ? -1 : next(from, to);
}

int renameat(int fromFolder, const char *from, int toFolder, const char *to)
{
    ORIGINAL(renameat);
    return fails("rename", below(fromFolder, from).c_str()) ? -1 : next(fromFolder, from, toFolder, to);
}

int unlink(const char *path)
{
    ORIGINAL(unlink);
    return fails("unlink", path) ? -1 : next(path);
}

int futimens(int descriptor, const struct timespec times[2])
{
    ORIGINAL(futimens);
    const auto kept = asKept(pathOf(descriptor), times);
    return next(descriptor, kept ? kept->data() : times);
}

int utimensat(int folder, const char *path, const struct timespec times[2], int flags)
{
    ORIGINAL(utimensat);
    const auto kept = asKept(below(folder, path).c_str(), times);
    return next(folder, path, kept ? kept->data() : times, flags);
}

int stat(const char *path, struct stat *about)
{
    ORIGINAL(stat);
    return fails("stat", path) ? -1 : next(path, about);
}

int stat64(const char *path, struct stat64 *about)
{
    ORIGINAL(stat64);
    return fails("stat", path) ? -1 : next(path, about);
}

int access(const char *path, int mode)
{
    ORIGINAL(access);
    return fails("stat", path) ? -1 : next(path, mode);
}

int fstat(int descriptor, struct stat *about)
{
    ORIGINAL(fstat);
    return fails("stat", pathOf(descriptor)) ? -1 : next(descriptor, about);
}

int statx(int folder, const char *path, int flags, unsigned mask, struct statx *about)
{
    ORIGINAL(statx);
    return path[0] != '\0' && fails("stat", below(folder, path).c_str())
               ? -1
               : next(folder, path, flags, mask, about);
}
}
// NOLINTEND

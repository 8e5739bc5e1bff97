// Counts the calls by which programs touch the files below a folder, over all their processes and threads,
// and strikes at one of them.
//
//     step_tracer --below DIR [--but DIR]... [--all] [--kill N | --fail N ERRNO | --fail-on N ERRNO]
//                 (--session LEADER | -- PROGRAM [ARGUMENT]...)
//
// It traces what a session holds at this moment, or a program from its first call on, and all that they
// start. Counted are calls that change something; with --all also those that open, read, ask or close. --kill
// sends SIGKILL to all of them when call N begins, and none of them does anything any more. --fail lets call
// N do nothing and return the error; --fail-on does so from call N on with every call of its name in its
// folder. A close that fails has closed.
//
// It writes to standard output: "ready" and the session when it traces, "N process call path" for each
// counted call, "hit" after the one that it struck at, and "ended" when nothing is left to trace. SIGTERM
// ends the tracing; the programs go on, healthy.

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr int kNone = -1;
constexpr unsigned long kCloneRange = FICLONE;

/// Where a call has what it works on: the number of an argument, or kNone.
struct Call
{
    std::string_view name;
    int folder;     ///< an open folder to which the path is relative
    int path;       ///< a path
    int descriptor; ///< an open file, where there is no path
    bool changes;
    int flags = kNone; ///< where an opening says whether it changes something
};

const std::map<long, Call> &calls()
{
    static const std::map<long, Call> table{
        {SYS_open, {"open", kNone, 0, kNone, false, 1}},
        {SYS_openat, {"openat", 0, 1, kNone, false, 2}},
        {SYS_creat, {"creat", kNone, 0, kNone, true}},
        {SYS_read, {"read", kNone, kNone, 0, false}},
        {SYS_pread64, {"pread64", kNone, kNone, 0, false}},
        {SYS_readv, {"readv", kNone, kNone, 0, false}},
        {SYS_preadv, {"preadv", kNone, kNone, 0, false}},
        {SYS_getdents64, {"getdents64", kNone, kNone, 0, false}},
        {SYS_lseek, {"lseek", kNone, kNone, 0, false}},
        {SYS_stat, {"stat", kNone, 0, kNone, false}},
        {SYS_lstat, {"lstat", kNone, 0, kNone, false}},
        {SYS_fstat, {"fstat", kNone, kNone, 0, false}},
        {SYS_newfstatat, {"newfstatat", 0, 1, kNone, false}},
        {SYS_statx, {"statx", 0, 1, kNone, false}},
        {SYS_statfs, {"statfs", kNone, 0, kNone, false}},
        {SYS_fstatfs, {"fstatfs", kNone, kNone, 0, false}},
        {SYS_access, {"access", kNone, 0, kNone, false}},
        {SYS_faccessat, {"faccessat", 0, 1, kNone, false}},
        {SYS_faccessat2, {"faccessat2", 0, 1, kNone, false}},
        {SYS_readlink, {"readlink", kNone, 0, kNone, false}},
        {SYS_readlinkat, {"readlinkat", 0, 1, kNone, false}},
        {SYS_write, {"write", kNone, kNone, 0, true}},
        {SYS_pwrite64, {"pwrite64", kNone, kNone, 0, true}},
        {SYS_writev, {"writev", kNone, kNone, 0, true}},
        {SYS_pwritev, {"pwritev", kNone, kNone, 0, true}},
        {SYS_fsync, {"fsync", kNone, kNone, 0, true}},
        {SYS_fdatasync, {"fdatasync", kNone, kNone, 0, true}},
        {SYS_syncfs, {"syncfs", kNone, kNone, 0, true}},
        {SYS_close, {"close", kNone, kNone, 0, false}},
        {SYS_ftruncate, {"ftruncate", kNone, kNone, 0, true}},
        {SYS_truncate, {"truncate", kNone, 0, kNone, true}},
        {SYS_fallocate, {"fallocate", kNone, kNone, 0, true}},
        {SYS_copy_file_range, {"copy_file_range", kNone, kNone, 2, true}},
        {SYS_sendfile, {"sendfile", kNone, kNone, 0, true}},
        {SYS_ioctl, {"ioctl", kNone, kNone, 0, true}},
        {SYS_rename, {"rename", kNone, 0, kNone, true}},
        {SYS_renameat, {"renameat", 0, 1, kNone, true}},
        {SYS_renameat2, {"renameat2", 0, 1, kNone, true}},
        {SYS_link, {"link", kNone, 1, kNone, true}},
        {SYS_linkat, {"linkat", 2, 3, kNone, true}},
        {SYS_symlink, {"symlink", kNone, 1, kNone, true}},
        {SYS_symlinkat, {"symlinkat", 1, 2, kNone, true}},
        {SYS_unlink, {"unlink", kNone, 0, kNone, true}},
        {SYS_unlinkat, {"unlinkat", 0, 1, kNone, true}},
        {SYS_mkdir, {"mkdir", kNone, 0, kNone, true}},
        {SYS_mkdirat, {"mkdirat", 0, 1, kNone, true}},
        {SYS_rmdir, {"rmdir", kNone, 0, kNone, true}},
        {SYS_utimensat, {"utimensat", 0, 1, kNone, true}},
        {SYS_chmod, {"chmod", kNone, 0, kNone, true}},
        {SYS_fchmod, {"fchmod", kNone, kNone, 0, true}},
        {SYS_fchmodat, {"fchmodat", 0, 1, kNone, true}},
        {SYS_chown, {"chown", kNone, 0, kNone, true}},
        {SYS_fchown, {"fchown", kNone, kNone, 0, true}},
        {SYS_fchownat, {"fchownat", 0, 1, kNone, true}},
        {SYS_flock, {"flock", kNone, kNone, 0, false}},
    };
    return table;
}

struct Options
{
    std::string below;
    std::vector<std::string> but;
    bool all = false;
    bool kills = false;
    bool goesOn = false;
    long strikeAt = 0; ///< 0: only counts
    int error = 0;
    pid_t session = 0;
    std::vector<char *> program;
};

volatile std::sig_atomic_t g_told = 0;

[[noreturn]] void die(const std::string &what)
{
    std::fprintf(stderr, "step_tracer: %s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(2);
}

std::string linkAt(const std::string &path)
{
    std::error_code error;
    return fs::read_symlink(path, error).string();
}

std::string textAt(pid_t thread, std::uint64_t address)
{
    std::string text;
    std::array<char, 256> piece{};
    while (address != 0 && text.size() < 4096) {
        // Up to the end of the page, beyond which there may be nothing.
        const std::size_t size = std::min<std::size_t>(piece.size(), 4096 - address % 4096);
        const iovec here{piece.data(), size};
        const iovec there{reinterpret_cast<void *>(address), size}; // NOLINT: another process's address
        const ssize_t got = ::process_vm_readv(thread, &here, 1, &there, 1, 0);
        if (got <= 0) {
            break;
        }
        const std::string_view read(piece.data(), static_cast<std::size_t>(got));
        const std::size_t end = read.find('\0');
        text += read.substr(0, end);
        if (end != std::string_view::npos) {
            break;
        }
        address += static_cast<std::uint64_t>(got);
    }
    return text;
}

/// Traces threads, counts their calls and strikes.
class Tracer
{
public:
    explicit Tracer(Options options) : m_options(std::move(options)) {}

    void attachTo(pid_t session);
    void start();
    void run();

private:
    bool seize(pid_t thread);
    void stopped(pid_t thread, int status);
    void atCall(pid_t thread);
    void enters(pid_t thread, const __ptrace_syscall_info &info);
    void leaves(pid_t thread);
    bool isCounted(const Call &call, const __ptrace_syscall_info &info) const;
    std::string pathOf(pid_t thread, const Call &call, const __ptrace_syscall_info &info) const;
    bool isWatched(const std::string &path) const;
    bool isStruck(const Call &call, const std::string &path);
    void killAll();

    const Options m_options;
    pid_t m_session = 0;
    long m_count = 0;
    bool m_hasKilled = false;
    std::optional<std::pair<std::string, std::string>>
        m_failing; ///< a call's name and its folder, from the hit on
    std::set<pid_t> m_threads;
    std::set<pid_t> m_struck; ///< threads in a call that fails
};

constexpr long kTraced = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK |
                         PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC;

std::vector<pid_t> numbersIn(const std::string &folder)
{
    std::vector<pid_t> numbers;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (std::ranges::all_of(name, [](char letter) { return letter >= '0' && letter <= '9'; })) {
            numbers.push_back(std::atoi(name.c_str()));
        }
    }
    return numbers;
}

bool Tracer::seize(pid_t thread)
{
    if (m_threads.contains(thread) || ::ptrace(PTRACE_SEIZE, thread, 0, kTraced) != 0) {
        return false;
    }
    m_threads.insert(thread);
    ::ptrace(PTRACE_INTERRUPT, thread, 0, 0);
    return true;
}

/// Until a look finds no thread that is new: each may start others before it is traced.
void Tracer::attachTo(pid_t session)
{
    m_session = session;
    for (bool found = true; found;) {
        found = false;
        for (const pid_t process : numbersIn("/proc")) {
            if (::getsid(process) != session) {
                continue;
            }
            for (const pid_t thread : numbersIn("/proc/" + std::to_string(process) + "/task")) {
                found = seize(thread) || found;
            }
        }
    }
    if (m_threads.empty()) {
        errno = ESRCH;
        die("the session");
    }
}

void Tracer::start()
{
    std::array<int, 2> gate{};
    if (::pipe2(gate.data(), O_CLOEXEC) != 0) {
        die("pipe2");
    }
    const pid_t child = ::fork();
    if (child < 0) {
        die("fork");
    }
    if (child == 0) {
        ::setsid();
        char open = 0;
        if (::read(gate[0], &open, 1) == 1) { // traced by now
            ::execv(m_options.program.front(), m_options.program.data());
        }
        std::_Exit(127);
    }
    m_session = child;
    if (!seize(child)) {
        die("the program");
    }
    if (::write(gate[1], "", 1) != 1) {
        die("the program's start");
    }
    ::close(gate[0]);
    ::close(gate[1]);
}

void Tracer::run()
{
    std::printf("ready %d\n", m_session);
    while (g_told == 0 || !m_struck.empty()) {
        int status = 0;
        const pid_t thread = ::waitpid(-1, &status, __WALL);
        if (thread < 0 && errno == EINTR) {
            continue;
        }
        if (thread < 0) {
            std::puts("ended");
            return;
        }
        if (WIFSTOPPED(status)) {
            m_threads.insert(thread);
            stopped(thread, status);
        } else {
            m_threads.erase(thread);
            m_struck.erase(thread);
        }
    }
}

void Tracer::stopped(pid_t thread, int status)
{
    if (m_hasKilled) {
        ::kill(thread, SIGKILL); // begun when the others were killed, and told of only now
        return;
    }
    const int signal = WSTOPSIG(status);
    const int event = status >> 16;
    if (signal == (SIGTRAP | 0x80)) {
        atCall(thread);
    } else if (event == PTRACE_EVENT_STOP && signal != SIGTRAP) {
        ::ptrace(PTRACE_LISTEN, thread, 0, 0); // stopped by job control, and to stay so
    } else {
        ::ptrace(PTRACE_SYSCALL, thread, 0, event != 0 ? 0 : signal);
    }
}

void Tracer::atCall(pid_t thread)
{
    __ptrace_syscall_info info{};
    if (::ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof(info), &info) > 0) {
        if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
            enters(thread, info);
        } else if (info.op == PTRACE_SYSCALL_INFO_EXIT) {
            leaves(thread);
        }
    }
    ::ptrace(PTRACE_SYSCALL, thread, 0, 0);
}

void Tracer::enters(pid_t thread, const __ptrace_syscall_info &info)
{
    const auto found = calls().find(static_cast<long>(info.entry.nr));
    if (g_told != 0 || found == calls().end() || !isCounted(found->second, info)) {
        return;
    }
    const Call &call = found->second;
    const std::string path = pathOf(thread, call, info);
    if (!isWatched(path)) {
        return;
    }
    ++m_count;
    std::string process;
    std::getline(std::ifstream("/proc/" + std::to_string(thread) + "/comm"), process);
    std::printf("%ld %s %s %s\n", m_count, process.c_str(), call.name.data(), path.c_str());
    if (!isStruck(call, path)) {
        return;
    }
    if (m_options.kills) {
        killAll();
        return;
    }
    m_struck.insert(thread);
    if (call.name != "close") {
        ::ptrace(PTRACE_POKEUSER, thread, offsetof(user_regs_struct, orig_rax), -1L);
    }
}

void Tracer::leaves(pid_t thread)
{
    if (m_struck.erase(thread) > 0) {
        ::ptrace(
            PTRACE_POKEUSER, thread, offsetof(user_regs_struct, rax), -static_cast<long>(m_options.error));
    }
}

bool Tracer::isCounted(const Call &call, const __ptrace_syscall_info &info) const
{
    const bool changes =
        call.flags == kNone
            ? call.changes
            : (info.entry.args[call.flags] & (O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY))) != 0;
    return (changes || m_options.all) && !(call.name == "ioctl" && info.entry.args[1] != kCloneRange);
}

std::string Tracer::pathOf(pid_t thread, const Call &call, const __ptrace_syscall_info &info) const
{
    const std::string own = "/proc/" + std::to_string(thread);
    const auto opened = [&](int argument) {
        return linkAt(own + "/fd/" + std::to_string(static_cast<int>(info.entry.args[argument])));
    };
    if (call.path == kNone) {
        return opened(call.descriptor);
    }
    const std::string path = textAt(thread, info.entry.args[call.path]);
    if (path.starts_with('/')) {
        return path;
    }
    const bool isBelowOwn =
        call.folder == kNone || static_cast<int>(info.entry.args[call.folder]) == AT_FDCWD;
    const std::string folder = isBelowOwn ? linkAt(own + "/cwd") : opened(call.folder);
    return path.empty() ? folder : folder + '/' + path;
}

bool Tracer::isWatched(const std::string &path) const
{
    const auto isBelow = [&path](const std::string &folder) {
        return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
    };
    return isBelow(m_options.below) && std::ranges::none_of(m_options.but, isBelow);
}

bool Tracer::isStruck(const Call &call, const std::string &path)
{
    const std::string folder = path.substr(0, path.rfind('/'));
    if (m_count == m_options.strikeAt) {
        std::puts("hit");
        if (m_options.goesOn) {
            m_failing.emplace(call.name, folder);
        }
        return true;
    }
    return m_failing && m_failing->first == call.name && m_failing->second == folder;
}

void Tracer::killAll()
{
    m_hasKilled = true;
    for (const pid_t thread : m_threads) {
        ::kill(thread, SIGKILL); // of any thread ends its whole process
    }
}

[[noreturn]] void misused()
{
    std::fputs("see the head of step_tracer.cpp\n", stderr);
    std::exit(2);
}

std::string next(char **&argument)
{
    if (*++argument == nullptr) {
        misused();
    }
    return *argument;
}

Options optionsOf(char **argument)
{
    Options options;
    while (*++argument != nullptr) {
        const std::string_view option = *argument;
        if (option == "--below") {
            options.below = next(argument);
        } else if (option == "--but") {
            options.but.push_back(next(argument));
        } else if (option == "--all") {
            options.all = true;
        } else if (option == "--kill") {
            options.kills = true;
            options.strikeAt = std::stol(next(argument));
        } else if (option == "--fail" || option == "--fail-on") {
            options.goesOn = option == "--fail-on";
            options.strikeAt = std::stol(next(argument));
            options.error = std::stoi(next(argument));
        } else if (option == "--session") {
            options.session = std::stoi(next(argument));
        } else if (option == "--") {
            while (*++argument != nullptr) {
                options.program.push_back(*argument);
            }
            options.program.push_back(nullptr);
            return options;
        } else {
            misused();
        }
    }
    return options;
}

} // namespace

int main(int, char **arguments)
{
    Options options = optionsOf(arguments);
    if (options.below.empty() || (options.session == 0) == options.program.empty()) {
        misused();
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    struct sigaction told{}; // without SA_RESTART: it ends a wait
    told.sa_handler = [](int) { g_told = 1; };
    ::sigaction(SIGTERM, &told, nullptr);

    const pid_t session = options.session;
    Tracer tracer(std::move(options));
    if (session != 0) {
        tracer.attachTo(session);
    } else {
        tracer.start();
    }
    tracer.run();
    return 0;
}

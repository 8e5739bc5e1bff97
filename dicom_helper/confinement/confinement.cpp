#include "dicom_helper/confinement/confinement.h"

#include "platform/descriptors/descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <span>
#include <vector>

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace gateway::dicom_helper {

namespace {

// A sanitizer reserves address space.
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

/// A core file would hold a patient's image, in a pipe as well.
void keepNoCore()
{
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    limit(RLIMIT_CORE, 0);
}

void limitResources(const Confinement &confinement)
{
    constexpr rlim_t kDescriptors = 64;
    keepNoCore();
    limit(RLIMIT_NOFILE, kDescriptors);
    if (confinement.processorSeconds) {
        limit(RLIMIT_CPU, *confinement.processorSeconds);
    }
    if (confinement.fileBytes) {
        limit(RLIMIT_FSIZE, *confinement.fileBytes);
    }
#ifndef QUORIN_RESERVES_ADDRESS_SPACE
    // The libraries, a frame of the largest size in its three forms, dictionaries of the largest common size.
    constexpr rlim_t kAddressSpace = rlim_t{1024} * 1024 * 1024;
    limit(RLIMIT_AS, kAddressSpace);
#endif
}

std::uint64_t rightsOf(FolderUse use)
{
    switch (use) {
    case FolderUse::read:
        return LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    case FolderUse::fill:
        return LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG;
    case FolderUse::keepFiles:
        return LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_REMOVE_FILE |
               LANDLOCK_ACCESS_FS_REFER;
    }
    return 0;
}

bool movesFiles(const Confinement &confinement)
{
    return std::ranges::any_of(confinement.places,
                               [](const auto &place) { return place.use == FolderUse::keepFiles; });
}

/// Leaves nothing of the file system but the places. \return whether that could be had.
bool confineFiles(const Confinement &confinement)
{
    constexpr std::uint64_t kFirstVersion = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
    constexpr int kVersionWithMoves = 2; // the first one denies every move from folder to folder
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < (movesFiles(confinement) ? kVersionWithMoves : 1)) {
        return false;
    }
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = kFirstVersion | (version >= kVersionWithMoves ? LANDLOCK_ACCESS_FS_REFER : 0);
    const platform::Descriptor rules(static_cast<int>(
        ::syscall(SYS_landlock_create_ruleset, &handled, sizeof(handled.handled_access_fs), 0)));
    if (!rules.isOpen()) {
        return false;
    }
    bool isWhole = true;
    for (const Confinement::Place &place : confinement.places) {
        landlock_path_beneath_attr below{};
        below.allowed_access = rightsOf(place.use) & handled.handled_access_fs;
        below.parent_fd = place.folder;
        isWhole = ::syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &below, 0) == 0 &&
                  isWhole;
    }
    return isWhole && ::syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
}

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
constexpr std::uint32_t kArchitecture = 0;
#endif

/// Calls that reach the network, another program, another process or the system itself. A list of what is
/// forbidden rather than of what is allowed: it can't break with the next version of a library.
constexpr std::array kForbiddenCalls{SYS_socket,
                                     SYS_socketpair,
                                     SYS_connect,
                                     SYS_bind,
                                     SYS_execve,
                                     SYS_execveat,
                                     SYS_io_uring_setup,
                                     SYS_pidfd_getfd,
                                     SYS_process_vm_readv,
                                     SYS_process_vm_writev,
                                     SYS_ptrace,
                                     SYS_mount,
                                     SYS_unshare,
                                     SYS_setns,
                                     SYS_bpf,
                                     SYS_userfaultfd,
                                     SYS_perf_event_open,
                                     SYS_add_key,
                                     SYS_keyctl};

/// Calls that end other processes.
constexpr std::array kEndingCalls{SYS_kill, SYS_pidfd_open, SYS_pidfd_send_signal};

/// \return whether the kernel has taken the list.
bool forbid(std::span<const int> calls)
{
    constexpr std::uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;
    constexpr std::uint32_t kForeignTable = 0x40000000; // from here on: the x32 numbers of the same calls
    std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
                                     BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArchitecture, 1, 0),
                                     BPF_STMT(BPF_RET | BPF_K, kRefuse),
                                     BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                     BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, kForeignTable, 0, 1),
                                     BPF_STMT(BPF_RET | BPF_K, kRefuse)};
    for (const int call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, kRefuse));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return kArchitecture != 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

} // namespace

Fences confine(const Confinement &confinement)
{
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    limitResources(confinement);
    const bool files = confineFiles(confinement);
    return {.files = files, .calls = forbid(kForbiddenCalls) && forbid(kEndingCalls)};
}

bool confineListener()
{
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    keepNoCore();
    return forbid(kForbiddenCalls);
}

} // namespace gateway::dicom_helper

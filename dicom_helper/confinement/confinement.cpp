#include "dicom_helper/confinement/confinement.h"

#include "platform/descriptors/descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include <asm/sockios.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sched.h>
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

/// Calls that need no open file and no right to read or write to harm what isn't the process's own: files of
/// its user's that Landlock doesn't speak of, other processes, memory that outlives it.
constexpr std::array kReachingCalls{SYS_kill,
                                    SYS_tkill,
                                    SYS_rt_sigqueueinfo,
                                    SYS_rt_tgsigqueueinfo,
                                    SYS_pidfd_open,
                                    SYS_pidfd_send_signal,
                                    SYS_setpriority,
                                    SYS_ioprio_set,
                                    SYS_sched_setaffinity,
                                    SYS_sched_setattr,
                                    SYS_sched_setparam,
                                    SYS_sched_setscheduler,
                                    SYS_truncate,
                                    SYS_fchmodat,
                                    SYS_fchownat,
                                    SYS_setxattr,
                                    SYS_lsetxattr,
                                    SYS_removexattr,
                                    SYS_lremovexattr,
                                    SYS_shmget,
                                    SYS_msgget,
                                    SYS_semget,
                                    SYS_mq_open,
                                    SYS_memfd_create,
#if defined(__x86_64__) // where the same has an older form
                                    SYS_chmod,
                                    SYS_chown,
                                    SYS_lchown,
                                    SYS_utime,
                                    SYS_utimes,
                                    SYS_futimesat,
                                    SYS_fork,
                                    SYS_vfork,
#endif
                                    452}; // fchmodat2 (6.6), which older headers don't name

constexpr std::uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;
constexpr std::uint32_t kUnknown = SECCOMP_RET_ERRNO | ENOSYS;

using Filter = std::vector<sock_filter>;

/// Where half of an argument lies; both processors have the lower one first.
constexpr std::uint32_t placeOf(std::size_t argument, std::size_t half)
{
    return static_cast<std::uint32_t>(offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t) +
                                      half * sizeof(std::uint32_t));
}

void refuse(Filter &filter, int call, std::uint32_t how = kRefuse)
{
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, how));
}

/// Decides a call for good: it stays where the argument is that value, all 64 bits of it.
void allowOnlyWith(Filter &filter, int call, std::size_t argument, std::uint32_t value)
{
    filter.insert(filter.end(),
                  {BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 6),
                   BPF_STMT(BPF_LD | BPF_W | BPF_ABS, placeOf(argument, 0)),
                   BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 2),
                   BPF_STMT(BPF_LD | BPF_W | BPF_ABS, placeOf(argument, 1)),
                   BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0),
                   BPF_STMT(BPF_RET | BPF_K, kRefuse),
                   BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)});
}

/// Decides a call for good: it stays where the argument, of which the kernel takes 32 bits, is none of the
/// values.
void refuseWith(Filter &filter, int call, std::size_t argument, std::span<const std::uint32_t> values)
{
    const auto length = static_cast<unsigned char>(2 * values.size() + 2);
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, length));
    filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, placeOf(argument, 0)));
    for (const std::uint32_t value : values) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, kRefuse));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
}

/// Threads stay, processes don't.
void refuseProcesses(Filter &filter)
{
    refuse(filter, SYS_clone3, kUnknown); // its flags can't be seen; the library takes the other call then
    filter.insert(filter.end(),
                  {BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 4),
                   BPF_STMT(BPF_LD | BPF_W | BPF_ABS, placeOf(0, 0)),
                   BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_THREAD, 1, 0),
                   BPF_STMT(BPF_RET | BPF_K, kRefuse),
                   BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)});
}

/// What every filter begins with: the calls of this processor, by their own numbers.
Filter beginFilter()
{
    constexpr std::uint32_t kForeignTable = 0x40000000; // from here on: the x32 numbers of the same calls
    Filter filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
                  BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArchitecture, 1, 0),
                  BPF_STMT(BPF_RET | BPF_K, kRefuse),
                  BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                  BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, kForeignTable, 0, 1),
                  BPF_STMT(BPF_RET | BPF_K, kRefuse)};
    for (const int call : kForbiddenCalls) {
        refuse(filter, call);
    }
    return filter;
}

/// \return whether the kernel has taken it.
bool install(Filter filter)
{
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    return kArchitecture != 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

bool confineCalls()
{
    // A file's owner for signals may be any process of the user, and the signal any signal.
    constexpr std::array<std::uint32_t, 3> kSignalOwner{F_SETOWN, F_SETOWN_EX, F_SETSIG};
    constexpr std::array<std::uint32_t, 2> kSignalOwnerByDevice{FIOSETOWN, SIOCSPGRP};
    Filter filter = beginFilter();
    for (const int call : kReachingCalls) {
        refuse(filter, call);
    }
    refuseProcesses(filter);
    allowOnlyWith(filter, SYS_tgkill, 0, static_cast<std::uint32_t>(::getpid()));
    allowOnlyWith(filter, SYS_prlimit64, 0, 0);
    allowOnlyWith(filter, SYS_utimensat, 1, 0); // the times of an open file
    refuseWith(filter, SYS_fcntl, 1, kSignalOwner);
    refuseWith(filter, SYS_ioctl, 1, kSignalOwnerByDevice);
    return install(std::move(filter));
}

} // namespace

Fences confine(const Confinement &confinement)
{
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    limitResources(confinement);
    const bool files = confineFiles(confinement);
    return {.files = files, .calls = confineCalls()};
}

bool confineListener()
{
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    keepNoCore();
    return install(beginFilter());
}

} // namespace gateway::dicom_helper

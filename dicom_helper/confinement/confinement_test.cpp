#include "dicom_helper/confinement/confinement.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <thread>
#include <tuple>

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace gateway::dicom_helper {
namespace {

class Confinement : public ::testing::Test
{
protected:
    /// Whether something works in a process of its own that was confined to the folder.
    bool works(const std::function<bool(int folder)> &something, FolderUse use = FolderUse::fill) const
    {
        const int folder =
            ::open(m_folder.path().toLocal8Bit().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const bool did = worksInAProcess([&] {
            confine({.places = {{folder, use}}, .fileBytes = 1000});
            return something(folder);
        });
        ::close(folder);
        return did;
    }

    static bool worksInAProcess(const std::function<bool()> &something)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(something() ? 0 : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    static bool canExecute()
    {
        char name[] = "/bin/true";
        char *arguments[] = {name, nullptr};
        return ::execv(name, arguments) == 0; // which doesn't return where it works
    }

    static bool hasLandlock()
    {
        return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
    }

    QTemporaryDir m_folder;
    QTemporaryDir m_elsewhere;
};

TEST_F(Confinement, LeavesMakingFilesAndFoldersBelowTheFolder)
{
    EXPECT_TRUE(works([](int folder) {
        if (::mkdirat(folder, "sub", S_IRWXU) != 0) {
            return false;
        }
        const int sub = ::openat(folder, "sub", O_PATH | O_DIRECTORY);
        const int file = ::openat(sub, "file", O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
        return ::write(file, "x", 1) == 1;
    }));
}

TEST_F(Confinement, LeavesMakingMovingAndRemovingFilesWhereTheyAreKept)
{
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(QStringLiteral(".part")));

    EXPECT_TRUE(works(
        [](int folder) {
            const int file = ::openat(folder, ".part/a", O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
            return ::write(file, "x", 1) == 1 && ::renameat(folder, ".part/a", folder, "a") == 0 &&
                   ::fsync(folder) == 0 && ::unlinkat(folder, "a", 0) == 0;
        },
        FolderUse::keepFiles));
}

TEST_F(Confinement, LeavesReadingAndNoMoreWhereFilesAreRead)
{
    if (!hasLandlock()) {
        GTEST_SKIP() << "this kernel has no Landlock";
    }
    QFile file(m_folder.filePath(QStringLiteral("file")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    EXPECT_TRUE(works([](int folder) { return ::openat(folder, "file", O_RDONLY) >= 0; }, FolderUse::read));
    EXPECT_FALSE(works([](int folder) { return ::openat(folder, "file", O_WRONLY) >= 0; }, FolderUse::read));
    EXPECT_FALSE(works([](int folder) { return ::unlinkat(folder, "file", 0) == 0; }, FolderUse::read));
}

TEST_F(Confinement, TakesTheRestOfTheFileSystem)
{
    if (!hasLandlock()) {
        GTEST_SKIP() << "this kernel has no Landlock";
    }
    const QByteArray other = m_elsewhere.filePath(QStringLiteral("file")).toLocal8Bit();

    EXPECT_FALSE(works([&](int) { return ::open(other.constData(), O_WRONLY | O_CREAT, S_IRUSR) >= 0; }));
    EXPECT_FALSE(works([](int) { return ::open("/etc/passwd", O_RDONLY) >= 0; }));
    EXPECT_FALSE(works([](int folder) { return ::symlinkat("/etc/passwd", folder, "link") == 0; }));
    EXPECT_FALSE(works([](int folder) { return ::mkfifoat(folder, "pipe", S_IRUSR) == 0; }));
    EXPECT_FALSE(QFile::exists(QString::fromLocal8Bit(other)));
}

TEST_F(Confinement, TakesTheNetworkAndOtherPrograms)
{
    EXPECT_FALSE(works([](int) { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }));
    EXPECT_FALSE(works([](int) { return ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }));
    EXPECT_FALSE(works([](int) { return canExecute(); }));
    EXPECT_FALSE(works(
        [](int) { return ::syscall(SYS_process_vm_readv, ::getppid(), nullptr, 0, nullptr, 0, 0) == 0; }));
}

TEST_F(Confinement, LeavesOtherProcessesAlone)
{
    const pid_t parent = ::getpid();
    const int priority = ::getpriority(PRIO_PROCESS, 0);
    EXPECT_FALSE(works([=](int) { return ::kill(parent, 0) == 0; }));
    EXPECT_FALSE(works([=](int) { return ::syscall(SYS_tgkill, parent, parent, 0) == 0; }));
    EXPECT_FALSE(works([=](int) { return ::syscall(SYS_tkill, parent, 0) == 0; }));
    EXPECT_FALSE(works([=](int) {
        siginfo_t info{};
        info.si_code = SI_QUEUE;
        return ::syscall(SYS_rt_sigqueueinfo, parent, 0, &info) == 0;
    }));
    EXPECT_FALSE(works([=](int folder) { return ::fcntl(folder, F_SETOWN, parent) == 0; }));
    EXPECT_FALSE(works([](int folder) { return ::fcntl(folder, F_SETSIG, SIGKILL) == 0; }));
    EXPECT_FALSE(works([=](int) {
        rlimit limits{};
        return ::prlimit(parent, RLIMIT_NOFILE, nullptr, &limits) == 0;
    }));
    EXPECT_FALSE(works([=](int) { return ::setpriority(PRIO_PROCESS, static_cast<id_t>(parent), 19) == 0; }));
    EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), priority);
}

TEST_F(Confinement, LeavesAProcessItsOwnSignalsAndLimits)
{
    EXPECT_TRUE(works([](int) {
        ::signal(SIGUSR1, SIG_IGN);
        rlimit limits{};
        return ::raise(SIGUSR1) == 0 && ::getrlimit(RLIMIT_NOFILE, &limits) == 0;
    }));
}

TEST_F(Confinement, TakesProcessesAndLeavesThreads)
{
    EXPECT_FALSE(works([](int) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(0);
        }
        return child > 0;
    }));
    EXPECT_TRUE(works([](int) {
        bool did = false;
        std::thread([&did] { did = true; }).join();
        return did;
    }));
}

/// Landlock says nothing of these, or its first versions don't.
TEST_F(Confinement, LeavesFilesThatItMayNotOpenAsTheyAre)
{
    const QString path = m_elsewhere.filePath(QStringLiteral("stored"));
    QFile stored(path);
    ASSERT_TRUE(stored.open(QIODevice::WriteOnly) && stored.write("an image") == 8 && stored.flush());
    const QByteArray name = path.toLocal8Bit();
    struct stat before = {};
    ASSERT_EQ(::stat(name.constData(), &before), 0);

    EXPECT_FALSE(works([&](int) { return ::truncate(name.constData(), 0) == 0; }));
    EXPECT_FALSE(works([&](int) { return ::chmod(name.constData(), S_IRWXO) == 0; }));
    EXPECT_FALSE(works([&](int) { return ::fchmodat(AT_FDCWD, name.constData(), S_IRWXO, 0) == 0; }));
    EXPECT_FALSE(works([&](int) { return ::chown(name.constData(), 1, 1) == 0; }));
    EXPECT_FALSE(works([&](int) { return ::lchown(name.constData(), 1, 1) == 0; }));
    EXPECT_FALSE(works([&](int) { return ::utimensat(AT_FDCWD, name.constData(), nullptr, 0) == 0; }));
    EXPECT_FALSE(works([&](int) { return ::setxattr(name.constData(), "user.a", "b", 1, 0) == 0; }));

    struct stat after = {};
    ASSERT_EQ(::stat(name.constData(), &after), 0);
    EXPECT_EQ(
        std::tuple(after.st_size, after.st_mode, after.st_uid, after.st_ctim.tv_sec, after.st_ctim.tv_nsec),
        std::tuple(
            before.st_size, before.st_mode, before.st_uid, before.st_ctim.tv_sec, before.st_ctim.tv_nsec));
}

TEST_F(Confinement, LeavesTheTimesOfAFileThatIsOpen)
{
    EXPECT_TRUE(works([](int folder) {
        const int file = ::openat(folder, "file", O_WRONLY | O_CREAT, S_IRUSR | S_IWUSR);
        const timespec times[2] = {{1, 0}, {1, 0}};
        return ::futimens(file, times) == 0;
    }));
}

TEST_F(Confinement, TakesMemoryThatWouldOutliveIt)
{
    EXPECT_FALSE(works([](int) { return ::shmget(IPC_PRIVATE, 4096, S_IRUSR) >= 0; }));
    EXPECT_FALSE(works([](int) { return ::memfd_create("memory", 0) >= 0; }));
}

TEST_F(Confinement, BoundsTheSizeOfAFileAndKeepsNoCore)
{
    EXPECT_FALSE(works([](int folder) {
        ::signal(SIGXFSZ, SIG_IGN);
        const int file = ::openat(folder, "file", O_WRONLY | O_CREAT, S_IRUSR | S_IWUSR);
        return ::ftruncate(file, 1001) == 0;
    }));
    EXPECT_TRUE(works([](int) {
        rlimit core{1, 1};
        return ::getrlimit(RLIMIT_CORE, &core) == 0 && core.rlim_max == 0;
    }));
}

TEST_F(Confinement, LeavesAListenerItsProcessesAndFilesAndNoMore)
{
    EXPECT_FALSE(worksInAProcess([] { return confineListener() && ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }));
    EXPECT_FALSE(worksInAProcess([] { return confineListener() && canExecute(); }));
    EXPECT_TRUE(worksInAProcess([] {
        rlimit core{1, 1};
        return confineListener() && ::getrlimit(RLIMIT_CORE, &core) == 0 && core.rlim_max == 0;
    }));
    EXPECT_TRUE(worksInAProcess([this] {
        const QByteArray file = m_folder.filePath(QStringLiteral("file")).toLocal8Bit();
        const bool makesFiles =
            confineListener() && ::open(file.constData(), O_WRONLY | O_CREAT | O_EXCL, S_IRUSR) >= 0;
        const pid_t child = ::fork();
        if (child == 0) {
            ::pause();
        }
        int status = 0;
        return makesFiles && ::kill(child, SIGKILL) == 0 && ::waitpid(child, &status, 0) == child &&
               WIFSIGNALED(status);
    }));
}

TEST_F(Confinement, OfAListenersChildTakesWhatTheListenerHadLeft)
{
    EXPECT_FALSE(works([](int) { return ::kill(::getppid(), 0) == 0; }));
    EXPECT_TRUE(worksInAProcess([this] {
        return confineListener() && works([](int folder) {
                   return ::openat(folder, "own", O_WRONLY | O_CREAT, S_IRUSR) >= 0 &&
                          ::kill(::getppid(), 0) != 0;
               });
    }));
}

} // namespace
} // namespace gateway::dicom_helper

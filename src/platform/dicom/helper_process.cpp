#include "platform/dicom/helper_process.h"

#include "platform/dicom_protocol/words.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace gateway::platform {

namespace {

using dicom_protocol::Channel;

void require(int error, const char *what)
{
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), what);
    }
}

/// What the new process finds: its descriptors, default signals, a group of its own.
class SpawnPlan
{
public:
    explicit SpawnPlan(int channelEnd)
    {
        require(::posix_spawn_file_actions_init(&m_actions), "posix_spawn");
        require(::posix_spawnattr_init(&m_attributes), "posix_spawn");
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_adddup2(&m_actions, channelEnd, dicom_protocol::kChannelDescriptor);
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, dicom_protocol::kChannelDescriptor + 1);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        ::posix_spawnattr_setsigmask(&m_attributes, &none);
        ::posix_spawnattr_setsigdefault(&m_attributes, &all);
        ::posix_spawnattr_setpgroup(&m_attributes, 0);
        ::posix_spawnattr_setflags(&m_attributes,
                                   POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnPlan()
    {
        ::posix_spawnattr_destroy(&m_attributes);
        ::posix_spawn_file_actions_destroy(&m_actions);
    }
    SpawnPlan(const SpawnPlan &) = delete;
    SpawnPlan &operator=(const SpawnPlan &) = delete;

    pid_t start(const QString &program, const QString &role)
    {
        std::string path = QFile::encodeName(program).toStdString();
        std::string argument = role.toStdString();
        char *arguments[] = {path.data(), argument.data(), nullptr};
        pid_t process = -1;
        require(::posix_spawn(&process, path.c_str(), &m_actions, &m_attributes, arguments, environ),
                path.c_str());
        return process;
    }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

} // namespace

QString helperProgramPath()
{
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/quorin-dicom");
    const QString named = qEnvironmentVariable("QUORIN_DICOM_HELPER");
    return QFileInfo::exists(beside) || named.isEmpty() ? beside : named;
}

HelperProcess::HelperProcess(const QString &program, const QString &role)
{
    auto [ours, theirs] = Channel::makePair();
    m_process = SpawnPlan(theirs.descriptor()).start(program, role);
    m_processDescriptor = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, m_process, 0)));
    m_channel = std::move(ours);
    if (!m_processDescriptor.isOpen()) {
        const int error = errno;
        kill();
        ::waitpid(m_process, nullptr, 0);
        require(error, "pidfd_open");
    }
}

HelperProcess::~HelperProcess()
{
    m_channel.close();
    if (!m_status) {
        kill();
        wait(std::chrono::milliseconds(-1));
    }
}

void HelperProcess::kill()
{
    if (m_processDescriptor.isOpen()) {
        ::syscall(SYS_pidfd_send_signal, m_processDescriptor.get(), SIGKILL, nullptr, 0);
    } else {
        ::kill(m_process, SIGKILL);
    }
}

void HelperProcess::killGroup()
{
    ::kill(-m_process, SIGKILL);
}

std::optional<int> HelperProcess::wait(std::chrono::milliseconds timeout)
{
    using SteadyClock = std::chrono::steady_clock;
    const auto deadline = SteadyClock::now() + timeout;
    while (!m_status) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - SteadyClock::now());
        const auto bounded = std::clamp<std::int64_t>(left.count(), 0, INT_MAX);
        pollfd entry{m_processDescriptor.get(), POLLIN, 0};
        const int ready = ::poll(&entry, 1, timeout.count() < 0 ? -1 : static_cast<int>(bounded));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        int status = 0;
        if (ready == 0 || ::waitpid(m_process, &status, 0) != m_process) {
            return std::nullopt;
        }
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_status;
}

} // namespace gateway::platform

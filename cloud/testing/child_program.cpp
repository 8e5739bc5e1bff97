#include "cloud/testing/child_program.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <vector>

namespace gateway::cloud::testing {

ChildProgram::~ChildProgram()
{
    signal(SIGKILL);
    wait();
}

bool ChildProgram::start(const QStringList &command)
{
    int output[2] = {-1, -1};
    if (pipe2(output, O_CLOEXEC) != 0) {
        return false;
    }
    std::vector<QByteArray> words;
    words.reserve(static_cast<std::size_t>(command.size()));
    for (const QString &word : command) {
        words.push_back(QFile::encodeName(word));
    }
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (QByteArray &word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions,
                                     STDERR_FILENO,
                                     QFile::encodeName(errorPath()).constData(),
                                     O_WRONLY | O_CREAT | O_TRUNC,
                                     S_IRUSR | S_IWUSR);
    const int error = posix_spawnp(&m_pid, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);
    m_output = output[0];
    m_pid = error == 0 ? m_pid : -1;
    return error == 0;
}

QString ChildProgram::readLine()
{
    QByteArray line;
    char letter = 0;
    while (read(m_output, &letter, 1) == 1 && letter != '\n') {
        line.append(letter);
    }
    return QString::fromUtf8(line);
}

int ChildProgram::wait()
{
    int status = -1;
    if (m_pid > 0) {
        while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
    }
    m_pid = -1;
    if (m_output >= 0) {
        close(m_output);
        m_output = -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ChildProgram::signal(int number) const
{
    if (m_pid > 0) {
        ::kill(m_pid, number);
    }
}

QString ChildProgram::standardError() const
{
    QFile file(errorPath());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace gateway::cloud::testing

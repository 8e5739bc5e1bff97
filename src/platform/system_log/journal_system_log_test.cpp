#include "platform/system_log/journal_system_log.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace gateway::platform {

namespace {

const QString kSubsystem = QStringLiteral("com.example");
const QString kCategory = QStringLiteral("listener");

/// The reading end of what a system log writes to its descriptor.
class Lines
{
public:
    Lines() { EXPECT_EQ(::pipe(m_ends.data()), 0); }
    ~Lines() { closeAll(); }
    Lines(const Lines &) = delete;
    Lines &operator=(const Lines &) = delete;

    int descriptor() const { return m_ends[1]; }

    /// All lines without the time that each begins with.
    std::string readAll()
    {
        ::close(std::exchange(m_ends[1], -1));
        std::string text;
        std::array<char, 4096> part{};
        for (ssize_t size = 0; (size = ::read(m_ends[0], part.data(), part.size())) > 0;) {
            text.append(part.data(), static_cast<std::size_t>(size));
        }
        static const std::regex time("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z (.*\n)");
        return std::regex_replace(text, time, "$1");
    }

private:
    void closeAll()
    {
        for (const int end : m_ends) {
            if (end >= 0) {
                ::close(end);
            }
        }
    }

    std::array<int, 2> m_ends{};
};

/// A datagram socket where the journal's would be, below a folder that a process can take for its root.
class JournalSocket
{
public:
    JournalSocket()
    {
        const QString folder = m_root.filePath(QStringLiteral("run/systemd/journal"));
        QDir().mkpath(folder);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(folder + QStringLiteral("/socket"));
        EXPECT_LT(path.size(), qsizetype{sizeof address.sun_path});
        std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
        m_socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    }

    ~JournalSocket() { ::close(m_socket); }
    JournalSocket(const JournalSocket &) = delete;
    JournalSocket &operator=(const JournalSocket &) = delete;

    QByteArray root() const { return QFile::encodeName(m_root.path()); }

    /// The next entry, in the journal's own form; empty when none is there.
    std::string receive() const
    {
        std::string entry(65536, '\0');
        const ssize_t size = ::recv(m_socket, entry.data(), entry.size(), MSG_DONTWAIT);
        entry.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        return entry;
    }

private:
    QTemporaryDir m_root;
    int m_socket = -1;
};

/// Runs `body` in a process of its own that takes `root` for its root folder. \return its exit code.
template <typename Body>
int runBelow(const QByteArray &root, Body body)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        if (::chroot(root.constData()) != 0 || ::chdir("/") != 0) {
            ::_exit(99);
        }
        body();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The form of a field whose value has line ends: name, line end, length, value, line end.
std::string binaryField(const std::string &name, const std::string &value)
{
    std::string length(8, '\0');
    for (std::size_t i = 0; i < length.size(); ++i) {
        length[i] = static_cast<char>((value.size() >> (8 * i)) & 0xffU);
    }
    return name + "\n" + length + value + "\n";
}

} // namespace

TEST(JournalSystemLog, SendsItsFieldsToTheJournalsSocket)
{
    const JournalSocket journal;

    const int code = runBelow(journal.root(), [] {
        JournalSystemLog log;
        log.write(SystemLogLevel::debug, kSubsystem, kCategory, QStringLiteral("ünïcode"));
        log.write(SystemLogLevel::error, kSubsystem, kCategory, QStringLiteral("two\nPRIORITY=7"));
    });

    ASSERT_EQ(code, 0) << "needs the right to change the root folder";
    const std::string first = journal.receive();
    EXPECT_NE(first.find("PRIORITY=7\n"), std::string::npos) << first;
    EXPECT_NE(first.find("MESSAGE=\u00fcn\u00efcode\n"), std::string::npos) << first;
    EXPECT_NE(first.find("QUORIN_SUBSYSTEM=com.example\n"), std::string::npos) << first;
    EXPECT_NE(first.find("QUORIN_CATEGORY=listener\n"), std::string::npos) << first;
    EXPECT_EQ(first.find("CODE_FILE"), std::string::npos) << first;
    const std::string second = journal.receive();
    EXPECT_NE(second.find("PRIORITY=3\n"), std::string::npos) << second;
    EXPECT_NE(second.find(binaryField("MESSAGE", "two\nPRIORITY=7")), std::string::npos) << second;
    EXPECT_EQ(journal.receive(), "");
}

TEST(JournalSystemLog, WritesLinesWhereThereIsNoJournal)
{
    Lines lines;
    JournalSystemLog log(std::nullopt, lines.descriptor());

    log.write(SystemLogLevel::info, kSubsystem, kCategory, QStringLiteral("started"));
    log.write(SystemLogLevel::error, kSubsystem, kCategory, QStringLiteral("two\nlines\x1b[31m"));

    EXPECT_EQ(lines.readAll(),
              "com.example [listener] info: started\n"
              "com.example [listener] error: two lines [31m\n");
}

TEST(JournalSystemLog, LooksForTheJournalsSocket)
{
    const QTemporaryDir empty;
    Lines lines;

    const int code = runBelow(QFile::encodeName(empty.path()), [&] {
        ::dup2(lines.descriptor(), STDERR_FILENO);
        JournalSystemLog().write(SystemLogLevel::info, kSubsystem, kCategory, QStringLiteral("started"));
    });

    ASSERT_EQ(code, 0) << "needs the right to change the root folder";
    EXPECT_EQ(lines.readAll(), "com.example [listener] info: started\n");
}

TEST(JournalSystemLog, WritesALineWhenTheJournalRefuses)
{
    Lines lines;
    JournalSystemLog log([](const iovec *, int) { return -ECONNREFUSED; }, lines.descriptor());

    log.write(SystemLogLevel::info, kSubsystem, kCategory, QStringLiteral("started"));

    EXPECT_EQ(lines.readAll(), "com.example [listener] info: started\n");
}

TEST(JournalSystemLog, KeepsDebugMessagesFromATerminalButNotFromAJournal)
{
    Lines lines;
    JournalSystemLog terminal(std::nullopt, lines.descriptor());
    const JournalSystemLog journal([](const iovec *, int) { return 0; }, -1);

    terminal.write(SystemLogLevel::debug, kSubsystem, kCategory, QStringLiteral("detail"));

    EXPECT_FALSE(terminal.enabled(SystemLogLevel::debug));
    EXPECT_TRUE(terminal.enabled(SystemLogLevel::info));
    EXPECT_TRUE(journal.enabled(SystemLogLevel::debug));
    EXPECT_EQ(lines.readAll(), "");
}

TEST(JournalSystemLog, LinesOfManyThreadsDontMix)
{
    Lines lines;
    JournalSystemLog log(std::nullopt, lines.descriptor());
    std::vector<std::thread> threads;
    threads.reserve(4);

    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                log.write(SystemLogLevel::info, kSubsystem, kCategory, QString(40, u'x'));
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    const QStringList written = QString::fromStdString(lines.readAll()).split(u'\n', Qt::SkipEmptyParts);
    EXPECT_EQ(written.size(), 200);
    for (const QString &line : written) {
        EXPECT_EQ(line, QStringLiteral("com.example [listener] info: ") + QString(40, u'x'));
    }
}

} // namespace gateway::platform

#include "platform/files/file_system.h"

#include "platform/files/files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>

namespace gateway::platform {

namespace {

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

mode_t modeOf(const QString &path)
{
    struct stat status{};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777U : 0;
}

template <typename Step>
int codeOf(Step step)
{
    try {
        step();
        return 0;
    } catch (const FileError &error) {
        return error.code();
    }
}

/// A disk with no room beyond some bytes a file, as far as this process can tell.
class SmallFiles
{
public:
    explicit SmallFiles(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit small{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }

    ~SmallFiles()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        static_cast<void>(std::signal(SIGXFSZ, m_handler));
    }

    SmallFiles(const SmallFiles &) = delete;
    SmallFiles &operator=(const SmallFiles &) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

class SystemFiles : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    QStringList names() const
    {
        return QDir(m_folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

    FileSystem &files = systemFiles();

private:
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(SystemFiles, MakeAFileForItsOwnerAloneWhateverTheUmask)
{
    const mode_t before = ::umask(0);
    files.create(path(QStringLiteral("a")), "content");
    files.makeFolder(path(QStringLiteral("folder")));
    ::umask(before);

    EXPECT_EQ(read(path(QStringLiteral("a"))), "content");
    EXPECT_EQ(modeOf(path(QStringLiteral("a"))), 0600U);
    EXPECT_EQ(modeOf(path(QStringLiteral("folder"))), 0700U);
}

TEST_F(SystemFiles, NeverOverwriteWhatExists)
{
    files.create(path(QStringLiteral("a")), "old");
    files.create(path(QStringLiteral("b")), "new");

    EXPECT_EQ(codeOf([&] { files.create(path(QStringLiteral("a")), "new"); }), EEXIST);
    EXPECT_EQ(codeOf([&] { files.copy(path(QStringLiteral("b")), path(QStringLiteral("a"))); }), EEXIST);
    EXPECT_EQ(codeOf([&] { files.link(path(QStringLiteral("b")), path(QStringLiteral("a"))); }), EEXIST);
    EXPECT_EQ(read(path(QStringLiteral("a"))), "old");
}

TEST_F(SystemFiles, CopyEveryByteAndShareNone)
{
    QByteArray bytes(3 * 1024 * 1024 + 7, '\0');
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 31 % 251);
    }
    files.create(path(QStringLiteral("a")), bytes);

    files.copy(path(QStringLiteral("a")), path(QStringLiteral("b")));
    QFile source(path(QStringLiteral("a")));
    ASSERT_TRUE(source.open(QIODevice::WriteOnly));
    source.close();

    EXPECT_EQ(read(path(QStringLiteral("b"))), bytes);
    EXPECT_EQ(modeOf(path(QStringLiteral("b"))), 0600U);
}

TEST_F(SystemFiles, CopyAnEmptyFile)
{
    files.create(path(QStringLiteral("a")), {});

    files.copy(path(QStringLiteral("a")), path(QStringLiteral("b")));

    EXPECT_EQ(read(path(QStringLiteral("b"))), QByteArray());
}

TEST_F(SystemFiles, ADiskWithoutRoomLeavesNoPartOfAFile)
{
    files.create(path(QStringLiteral("a")), QByteArray(100'000, 'x'));
    const SmallFiles full(50'000);

    EXPECT_EQ(codeOf([&] { files.copy(path(QStringLiteral("a")), path(QStringLiteral("b"))); }), EFBIG);
    EXPECT_EQ(codeOf([&] { files.create(path(QStringLiteral("c")), QByteArray(100'000, 'x')); }), EFBIG);
    EXPECT_EQ(names(), (QStringList{QStringLiteral("a")}));
}

TEST_F(SystemFiles, AMissingSourceIsAnErrorThatNamesNoPath)
{
    try {
        files.copy(path(QStringLiteral("missing")), path(QStringLiteral("b")));
        FAIL() << "copied a missing file";
    } catch (const FileError &error) {
        EXPECT_EQ(error.code(), ENOENT);
        EXPECT_EQ(error.message(), QStringLiteral("Could not open a file: No such file or directory"));
    }
    EXPECT_TRUE(names().isEmpty());
}

TEST_F(SystemFiles, LinkRenameAndRemove)
{
    files.create(path(QStringLiteral("a")), "content");

    files.link(path(QStringLiteral("a")), path(QStringLiteral("b")));
    files.rename(path(QStringLiteral("b")), path(QStringLiteral("c")));
    files.remove(path(QStringLiteral("a")));

    EXPECT_EQ(names(), (QStringList{QStringLiteral("c")}));
    EXPECT_EQ(read(path(QStringLiteral("c"))), "content");
    EXPECT_EQ(codeOf([&] { files.remove(path(QStringLiteral("a"))); }), ENOENT);
}

TEST_F(SystemFiles, ARenameToANewNameNeverReplaces)
{
    files.create(path(QStringLiteral("a")), "content");
    files.create(path(QStringLiteral("b")), "other");

    const auto rename = [&](const QString &to) { files.renameToNew(path(QStringLiteral("a")), path(to)); };
    EXPECT_EQ(codeOf([&] { rename(QStringLiteral("b")); }), EEXIST);
    EXPECT_EQ(read(path(QStringLiteral("b"))), "other");
    rename(QStringLiteral("c"));

    EXPECT_EQ(names(), (QStringList{QStringLiteral("b"), QStringLiteral("c")}));
    EXPECT_EQ(read(path(QStringLiteral("c"))), "content");
}

TEST_F(SystemFiles, KeepATimeToTheNanosecond)
{
    constexpr std::chrono::nanoseconds kTime(1'700'000'000'123'456'789);
    files.create(path(QStringLiteral("a")), "content");

    files.setModified(path(QStringLiteral("a")), kTime);

    EXPECT_EQ(fileIdentity(path(QStringLiteral("a")))->modified, kTime);
}

TEST_F(SystemFiles, FilesWithTheSameBytesAreTold)
{
    files.create(path(QStringLiteral("a")), "content");
    files.create(path(QStringLiteral("b")), "content");
    files.create(path(QStringLiteral("c")), "contend");
    files.link(path(QStringLiteral("a")), path(QStringLiteral("d")));

    const auto same = [&](const char *other) {
        return haveSameContent(path(QStringLiteral("a")), path(QString::fromLatin1(other)));
    };
    EXPECT_TRUE(same("b"));
    EXPECT_FALSE(same("c"));
    EXPECT_TRUE(same("d"));
    EXPECT_FALSE(same("missing"));
}

TEST(FileError, TellsPassingTroubleFromLasting)
{
    EXPECT_TRUE(FileError("write a file", ENOSPC).maySucceedLater());
    EXPECT_TRUE(FileError("write a file", ESTALE).maySucceedLater());
    EXPECT_FALSE(FileError("write a file", EACCES).maySucceedLater());
    EXPECT_FALSE(FileError("write a file", ENOENT).maySucceedLater());
}

} // namespace gateway::platform

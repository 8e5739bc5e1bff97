#include "platform/files/files.h"

#include "platform/files/testing/dying_file_system.h"
#include "platform/files/testing/faulty_file_system.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace gateway::platform {

using testing::FaultyFileSystem;

namespace {

class Files : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_folder.filePath(name); }

    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    QStringList names() const
    {
        return QDir(m_folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

    ino_t inode(const QString &name) const
    {
        struct stat status{};
        return ::stat(QFile::encodeName(path(name)).constData(), &status) == 0 ? status.st_ino : 0;
    }

private:
    QTemporaryDir m_folder;
};

const QString kA = QStringLiteral("a");
const QString kB = QStringLiteral("b");

} // namespace

TEST_F(Files, AFileIsWrittenOverItsOldContentAndNothingElseStays)
{
    writeFileDurably(path(kA), "old");
    writeFileDurably(path(kA), "new");

    EXPECT_EQ(read(kA), "new");
    EXPECT_EQ(names(), QStringList{kA});
}

TEST_F(Files, EachFailingStepOfAWriteLeavesTheOldContentOrTheNewAndNoPartFile)
{
    FaultyFileSystem faulty;
    writeFileDurably(path(kA), "probe", faulty);
    const int steps = faulty.steps();

    for (int step = 0; step < steps; ++step) {
        writeFileDurably(path(kA), "old");
        faulty.failStep(step, ENOSPC);
        EXPECT_THROW(writeFileDurably(path(kA), "new", faulty), FileError) << step;
        EXPECT_TRUE(read(kA) == "old" || read(kA) == "new") << step;
        EXPECT_EQ(names(), QStringList{kA}) << step;
    }
    EXPECT_EQ(steps, 3);
}

TEST_F(Files, WhatAWriterThatDiedLeftGoesWithTheNextWriteAndNothingElseDoes)
{
    const pid_t process = ::fork();
    if (process == 0) {
        testing::DyingFileSystem dying;
        dying.dieBefore(1);
        writeFileDurably(path(kA), "cut", dying);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    ASSERT_EQ(WEXITSTATUS(status), testing::kDied);
    ASSERT_EQ(names().size(), 1) << "it could tidy nothing up";
    EXPECT_TRUE(isPartOf(path(kA), names().first()));
    EXPECT_FALSE(isPartOf(path(kB), names().first()));
    writeFileDurably(path(kB), "other");
    ASSERT_EQ(names().size(), 2);

    writeFileDurably(path(kA), "whole");

    EXPECT_EQ(names(), (QStringList{kA, kB}));
    EXPECT_EQ(read(kA), "whole");
}

TEST_F(Files, AStoreCopyLinksWhereItMay)
{
    writeFileDurably(path(kA), "content");

    copyForStore(path(kA), path(kB), CopyManner::mayLink);

    EXPECT_EQ(inode(kA), inode(kB));
}

TEST_F(Files, AStoreCopyOwnsItsContentUnlessTold)
{
    writeFileDurably(path(kA), "content");

    copyForStore(path(kA), path(kB));

    EXPECT_NE(inode(kA), inode(kB));
    EXPECT_EQ(read(kB), "content");
}

TEST_F(Files, AStoreCopyCopiesWhereLinksDontWork)
{
    writeFileDurably(path(kA), "content");
    FaultyFileSystem faulty;
    faulty.failStep(0, EXDEV);

    copyForStore(path(kA), path(kB), CopyManner::mayLink, faulty);

    EXPECT_NE(inode(kA), inode(kB));
    EXPECT_EQ(read(kB), "content");
}

TEST_F(Files, EachFailingStepOfAStoreCopyLeavesTheSourceAndNoDestination)
{
    for (const CopyManner manner : {CopyManner::ownContent, CopyManner::mayLink}) {
        const int first = manner == CopyManner::mayLink ? 1 : 0; // a failing link is copied instead
        const int steps = manner == CopyManner::mayLink ? 3 : 2;
        for (int step = first; step < steps; ++step) {
            writeFileDurably(path(kA), "content");
            FaultyFileSystem faulty;
            faulty.failStep(step, EIO);
            EXPECT_THROW(copyForStore(path(kA), path(kB), manner, faulty), FileError) << step;
            EXPECT_EQ(names(), QStringList{kA}) << step;
            EXPECT_EQ(read(kA), "content") << step;
        }
    }
}

TEST_F(Files, AStoreCopyNeverTouchesADestinationThatExists)
{
    writeFileDurably(path(kA), "new");
    writeFileDurably(path(kB), "old");

    EXPECT_THROW(copyForStore(path(kA), path(kB), CopyManner::mayLink), FileError);
    EXPECT_THROW(copyForStore(path(kA), path(kB), CopyManner::ownContent), FileError);
    EXPECT_EQ(read(kB), "old");
}

TEST_F(Files, FoldersAreMadeWithThoseAboveThemAndMayExist)
{
    const QString deep = path(QStringLiteral("x/y/z"));

    makeFoldersDurably(deep);
    makeFoldersDurably(deep);

    EXPECT_TRUE(QFileInfo(deep).isDir());
}

TEST_F(Files, AFileInTheWayOfAFolderIsAnError)
{
    writeFileDurably(path(kA), "content");

    EXPECT_THROW(makeFoldersDurably(path(kA)), FileError);
    EXPECT_THROW(makeFoldersDurably(path(QStringLiteral("a/b"))), FileError);
    EXPECT_EQ(read(kA), "content");
}

TEST_F(Files, SizesAreOfRegularFilesAlone)
{
    writeFileDurably(path(kA), QByteArray(10'000, 'x'));

    EXPECT_EQ(fileSizeBytes(path(kA)), 10'000);
    EXPECT_FALSE(fileSizeBytes(path(QStringLiteral("missing"))));
    EXPECT_FALSE(fileSizeBytes(path(QStringLiteral("."))));
}

TEST_F(Files, AVolumeHasRoomAndAMissingPathHasNoVolume)
{
    const auto figures = volumeFigures(path(QStringLiteral(".")));

    ASSERT_TRUE(figures);
    EXPECT_GT(figures->totalBytes, 0);
    EXPECT_GE(figures->availableBytes, 0);
    EXPECT_LE(figures->availableBytes, figures->totalBytes);
    EXPECT_FALSE(volumeFigures(path(QStringLiteral("missing"))));
}

TEST_F(Files, AFileIsReadableWhenItsLastByteIs)
{
    writeFileDurably(path(u"whole"_qs), QByteArray(300'000, 'a'));

    EXPECT_TRUE(isReadable(path(u"whole"_qs)));
    EXPECT_FALSE(isReadable(path(u"missing"_qs)));
    EXPECT_FALSE(isReadable(u"/proc/self/mem"_qs)) << "which opens, and whose first read fails with EIO";
}

TEST_F(Files, AbsenceIsCertainOnlyWhereTheFolderCanBeAsked)
{
    QFile::link(path(kB), path(kB)); // asking where it leads fails

    EXPECT_TRUE(isKnownToBeAbsent(path(kA)));
    EXPECT_FALSE(isKnownToBeAbsent(path(kB)));
    EXPECT_FALSE(isKnownToBeAbsent(path(kB) + QStringLiteral("/a"))) << "its folder can't be asked";
    EXPECT_FALSE(isKnownToBeAbsent(path(QStringLiteral("away/a")))) << "its folder is away";
}

TEST(StandardizedPath, IsWorkedOutOnTheTextAlone)
{
    EXPECT_EQ(standardizedPath(QStringLiteral("/a/./b//c/../d/")), QStringLiteral("/a/b/d"));
    EXPECT_EQ(standardizedPath(QStringLiteral("/../../a")), QStringLiteral("/a"));
    EXPECT_EQ(standardizedPath(QStringLiteral("../a/../../b")), QStringLiteral("../../b"));
    EXPECT_EQ(standardizedPath(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(standardizedPath(QStringLiteral("/a/..")), QStringLiteral("/"));
    EXPECT_EQ(standardizedPath(QString()), QString());
    EXPECT_EQ(standardizedPath(QStringLiteral("/a/.../..b")), QStringLiteral("/a/.../..b"));
}

} // namespace gateway::platform

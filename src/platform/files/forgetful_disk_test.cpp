#include "platform/files/testing/forgetful_disk.h"

#include "platform/files/files.h"
#include "platform/files/testing/faulty_file_system.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <gtest/gtest.h>

#include <cerrno>

namespace gateway::platform {

using testing::FaultyFileSystem;
using testing::ForgetfulDisk;

namespace {

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
}

class AForgetfulDisk : public ::testing::Test
{
protected:
    AForgetfulDisk() { QDir(m_folder.path()).mkdir(QStringLiteral("root")); }

    QString root() const { return m_folder.filePath(QStringLiteral("root")); }
    QString path(const QString &name) const { return root() + u'/' + name; }

    QStringList names() const
    {
        return QDir(root()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

    void writeCarelessly(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

private:
    QTemporaryDir m_folder;
};

const QString kA = QStringLiteral("a");
const QString kB = QStringLiteral("b");

} // namespace

TEST_F(AForgetfulDisk, LosesANameWhoseFolderWasntSynced)
{
    ForgetfulDisk disk(root());

    disk.create(path(kA), "content");
    disk.cutPower();

    EXPECT_TRUE(names().isEmpty());
}

TEST_F(AForgetfulDisk, EmptiesAFileThatWasntSynced)
{
    ForgetfulDisk disk(root());

    writeCarelessly(kA, "content");
    disk.syncFolder(root());
    disk.cutPower();

    EXPECT_EQ(read(path(kA)), "");
    EXPECT_EQ(names(), QStringList{kA});
}

TEST_F(AForgetfulDisk, TakesARenameAndARemovalBackWhenTheFolderWasntSynced)
{
    writeCarelessly(kA, "kept");
    writeCarelessly(kB, "kept too");
    ForgetfulDisk disk(root());

    disk.rename(path(kA), path(QStringLiteral("c")));
    disk.remove(path(kB));
    disk.cutPower();

    EXPECT_EQ(read(path(kA)), "kept");
    EXPECT_EQ(read(path(kB)), "kept too");
    EXPECT_FALSE(names().contains(QStringLiteral("c")));
}

TEST_F(AForgetfulDisk, KeepsWhatADurableWriteHasReturnedFor)
{
    ForgetfulDisk disk(root());

    writeFileDurably(path(kA), "old", disk);
    writeFileDurably(path(kA), "new", disk);
    disk.cutPower();

    EXPECT_EQ(read(path(kA)), "new");
    EXPECT_EQ(names(), QStringList{kA});
}

TEST_F(AForgetfulDisk, KeepsWhatADurableCopyFolderAndRenameHaveReturnedFor)
{
    for (const CopyManner manner : {CopyManner::ownContent, CopyManner::mayLink}) {
        ForgetfulDisk disk(root());
        writeCarelessly(kA, "content"); // as an inbox file would be whose writer never synced it

        makeFoldersDurably(path(QStringLiteral("x/y")), disk);
        copyForStore(path(kA), path(QStringLiteral("x/copy")), manner, disk);
        renameDurably(path(QStringLiteral("x/copy")), path(QStringLiteral("x/y/copy")), disk);
        disk.cutPower();

        EXPECT_EQ(read(path(QStringLiteral("x/y/copy"))), "content");
        EXPECT_EQ(read(path(QStringLiteral("x/copy"))), "(none)");
        QDir(path(QStringLiteral("x"))).removeRecursively();
    }
}

TEST_F(AForgetfulDisk, AWriteCutShortAtAnyStepLeavesTheOldContentOrTheNew)
{
    for (int step = 0; step < 3; ++step) {
        writeFileDurably(path(kA), "old");
        ForgetfulDisk disk(root());
        FaultyFileSystem stopping(disk);
        stopping.failFromStep(step, EIO);

        EXPECT_THROW(writeFileDurably(path(kA), "new", stopping), FileError);
        disk.cutPower();

        EXPECT_EQ(read(path(kA)), "old") << "the name wasn't synced after step " << step;
    }
}

} // namespace gateway::platform

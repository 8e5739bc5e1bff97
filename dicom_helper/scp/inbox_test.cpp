#include "dicom_helper/scp/inbox.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>

#include <sys/stat.h>

using gateway::dicom_helper::scp::Inbox;

namespace {

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}

void put(const QString &path)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
}

} // namespace

TEST(Inbox, IsMadeWithAllThatLeadsToIt)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("a/b/inbox"));

    Inbox inbox(folder.toStdString());

    EXPECT_TRUE(QDir(folder + QStringLiteral("/.part")).exists());
}

TEST(Inbox, AFileIsReadableByItsOwnerAlone)
{
    const QTemporaryDir home;
    Inbox inbox(home.path().toStdString());

    const int file = inbox.create("quorin-a-1.part");

    struct stat status{};
    ASSERT_EQ(::fstat(file, &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    inbox.close(file);
}

TEST(Inbox, AnExistingFileOrLinkIsNeverWritten)
{
    const QTemporaryDir home;
    Inbox inbox(home.path().toStdString());
    put(home.filePath(QStringLiteral(".part/quorin-a-1.part")));
    ASSERT_TRUE(QFile::link(home.filePath(QStringLiteral("elsewhere")),
                            home.filePath(QStringLiteral(".part/quorin-a-2.part"))));

    EXPECT_EQ(inbox.create("quorin-a-1.part"), -EEXIST);
    EXPECT_EQ(inbox.create("quorin-a-2.part"), -EEXIST);
    EXPECT_FALSE(QFile::exists(home.filePath(QStringLiteral("elsewhere"))));
}

TEST(Inbox, ASweepTakesWhatNobodyWritesAndNothingElse)
{
    const QTemporaryDir home;
    Inbox inbox(home.path().toStdString());
    const int alive = inbox.create("quorin-a-1.part");
    put(home.filePath(QStringLiteral(".part/quorin-b-1.part")));
    put(home.filePath(QStringLiteral(".part/notes")));
    put(home.filePath(QStringLiteral("quorin-c-1.dcm")));

    Inbox(home.path().toStdString()).sweep();

    EXPECT_EQ(namesIn(home.filePath(QStringLiteral(".part"))),
              QStringList({QStringLiteral("notes"), QStringLiteral("quorin-a-1.part")}));
    EXPECT_EQ(namesIn(home.path()), QStringList({QStringLiteral("quorin-c-1.dcm")}));
    inbox.close(alive);
}

TEST(Inbox, APartFolderThatIsALinkIsRefused)
{
    const QTemporaryDir home;
    const QTemporaryDir elsewhere;
    ASSERT_TRUE(QFile::link(elsewhere.path(), home.filePath(QStringLiteral(".part"))));

    EXPECT_THROW(Inbox(home.path().toStdString()), std::runtime_error);
}

TEST(Inbox, NoInboxAtAllIsRefused)
{
    EXPECT_THROW(Inbox{""}, std::runtime_error);
}

TEST(Inbox, KnowsTheFreeSpace)
{
    const QTemporaryDir home;

    EXPECT_GT(Inbox(home.path().toStdString()).availableBytes(), 0);
}

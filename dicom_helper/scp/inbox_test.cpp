#include "dicom_helper/scp/inbox.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

using gateway::dicom_helper::scp::Inbox;

namespace {

QStringList namesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}

void put(const QString &path, const QByteArray &content = {})
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

/// Makes what a listener expects to find. \return the folder.
std::string inboxAt(const QString &folder)
{
    EXPECT_TRUE(QDir().mkpath(folder + QStringLiteral("/.part")));
    return folder.toStdString();
}

/// What a listener that has just been started gives an object. \return nanoseconds since 1970.
std::int64_t stampedFile(const QTemporaryDir &home, const std::string &name)
{
    Inbox inbox(inboxAt(home.path()));
    const int file = inbox.create(name);
    EXPECT_EQ(inbox.stamp(file), 0);
    struct stat status{};
    EXPECT_EQ(::fstat(file, &status), 0);
    inbox.close(file);
    return status.st_mtim.tv_sec * std::int64_t{1'000'000'000} + status.st_mtim.tv_nsec;
}

} // namespace

TEST(Inbox, IsNeverMadeWhereItIsNotThere)
{
    const QTemporaryDir home;
    const QString mountPoint = home.filePath(QStringLiteral("inbox"));
    ASSERT_TRUE(QDir().mkdir(mountPoint));

    EXPECT_THROW(Inbox{mountPoint.toStdString()}, std::runtime_error);
    EXPECT_THROW(Inbox{home.filePath(QStringLiteral("a/b")).toStdString()}, std::runtime_error);

    EXPECT_TRUE(QDir(mountPoint).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    EXPECT_FALSE(QDir(home.filePath(QStringLiteral("a"))).exists());
}

TEST(Inbox, EachFileHasALaterTimeThanTheOneBeforeAlsoInTheNextListener)
{
    const QTemporaryDir home;
    const std::int64_t first = stampedFile(home, "quorin-a-1.part");
    const std::int64_t second = stampedFile(home, "quorin-a-2.part");

    EXPECT_GT(first, 0);
    EXPECT_GT(second, first);
}

TEST(Inbox, TheTimesOfFilesGoOnRisingAfterTheClockWasSetBack)
{
    constexpr std::int64_t kLongAhead = 4'000'000'000; // seconds: the clock was wrong once, and is right now
    const QTemporaryDir home;
    stampedFile(home, "quorin-a-1.part");
    const timespec times[2]{{0, UTIME_OMIT}, {kLongAhead, 0}};
    const QByteArray order = QFile::encodeName(home.filePath(QStringLiteral(".part/order")));
    ASSERT_EQ(::utimensat(AT_FDCWD, order.constData(), times, 0), 0);

    const std::int64_t second = stampedFile(home, "quorin-a-2.part");
    EXPECT_GT(second, kLongAhead * 1'000'000'000);
    EXPECT_GT(stampedFile(home, "quorin-a-3.part"), second);
}

TEST(Inbox, TheTimesGoOnRisingInTheFolderThatHasComeInThePlaceOfTheOldOne)
{
    constexpr std::int64_t kAhead = 4'000'000'000; // seconds
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("inbox"));
    Inbox inbox(inboxAt(folder));
    ASSERT_TRUE(QDir().rename(folder, home.filePath(QStringLiteral("old"))));
    ASSERT_TRUE(QDir().mkpath(folder + QStringLiteral("/.part")));
    put(folder + QStringLiteral("/quorin-b-1.dcm"));
    const timespec times[2]{{0, UTIME_OMIT}, {kAhead, 0}};
    const QByteArray waiting = QFile::encodeName(folder + QStringLiteral("/quorin-b-1.dcm"));
    ASSERT_EQ(::utimensat(AT_FDCWD, waiting.constData(), times, 0), 0);

    inbox.takeUpWhatIsThere();
    const int file = inbox.create("quorin-b-2.part");
    ASSERT_EQ(inbox.stamp(file), 0);

    struct stat status{};
    EXPECT_EQ(::fstat(file, &status), 0);
    inbox.close(file);
    EXPECT_GE(status.st_mtim.tv_sec, kAhead);
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/.part/order")));
}

TEST(Inbox, AnOrderFileThatCannotBeOpenedIsMadeAnew)
{
    const QTemporaryDir home;
    ASSERT_TRUE(QDir().mkpath(home.filePath(QStringLiteral(".part"))));
    const QString order = home.filePath(QStringLiteral(".part/order"));
    ASSERT_TRUE(QFile::link(home.filePath(QStringLiteral("elsewhere")), order));

    EXPECT_GT(stampedFile(home, "quorin-a-1.part"), 0);

    EXPECT_TRUE(QFileInfo(order).isFile() && !QFileInfo(order).isSymLink());
}

TEST(Inbox, AFileIsReadableByItsOwnerAlone)
{
    const QTemporaryDir home;
    Inbox inbox(inboxAt(home.path()));

    const int file = inbox.create("quorin-a-1.part");

    struct stat status{};
    ASSERT_EQ(::fstat(file, &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    inbox.close(file);
}

TEST(Inbox, TakesNothingWhileItsFolderIsAwayAndGoesOnWhenItIsBack)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("inbox"));
    const QString away = home.filePath(QStringLiteral("away"));
    Inbox inbox(inboxAt(folder));
    const int begun = inbox.create("quorin-a-1.part");
    ASSERT_GE(begun, 0);
    inbox.close(begun);
    ASSERT_TRUE(QDir().rename(folder, away));

    EXPECT_EQ(inbox.create("quorin-a-2.part"), -ESTALE);
    EXPECT_EQ(inbox.publish("quorin-a-1.part", "quorin-a-1.dcm"), -ESTALE);
    ASSERT_TRUE(QDir().mkdir(folder)); // what lies under a share
    inbox.takeUpWhatIsThere();
    EXPECT_EQ(inbox.create("quorin-a-3.part"), -ESTALE);
    EXPECT_TRUE(QDir(folder).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));

    ASSERT_TRUE(QDir().rmdir(folder));
    ASSERT_TRUE(QDir().rename(away, folder));
    EXPECT_EQ(inbox.publish("quorin-a-1.part", "quorin-a-1.dcm"), 0);
    EXPECT_EQ(namesIn(folder), QStringList{QStringLiteral("quorin-a-1.dcm")});
}

TEST(Inbox, TakesUpTheFolderThatHasComeInThePlaceOfTheOldOne)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("inbox"));
    Inbox inbox(inboxAt(folder));
    ASSERT_TRUE(QDir().rename(folder, home.filePath(QStringLiteral("old"))));
    ASSERT_TRUE(QDir().mkpath(folder + QStringLiteral("/.part")));

    inbox.takeUpWhatIsThere();
    const int file = inbox.create("quorin-b-1.part");

    EXPECT_GE(file, 0);
    inbox.close(file);
    EXPECT_EQ(namesIn(folder + QStringLiteral("/.part")),
              QStringList({QStringLiteral("order"), QStringLiteral("quorin-b-1.part")}));
}

TEST(Inbox, OfAnotherNumberIsNeverTakenUp)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("inbox"));
    const QString away = home.filePath(QStringLiteral("away"));
    const std::string path = inboxAt(folder);
    EXPECT_THROW(Inbox(path, "0123"), std::runtime_error) << "it keeps none";
    put(folder + QStringLiteral("/.part/.id"), "0123\n");
    Inbox inbox(path, "0123");
    ASSERT_TRUE(QDir().rename(folder, away));
    inboxAt(folder);

    inbox.takeUpWhatIsThere();
    EXPECT_EQ(inbox.create("quorin-a-1.part"), -ESTALE);
    put(folder + QStringLiteral("/.part/.id"), "4567\n");
    inbox.takeUpWhatIsThere();
    EXPECT_EQ(inbox.create("quorin-a-1.part"), -ESTALE);
    EXPECT_THROW(Inbox(path, "0123"), std::runtime_error);

    put(folder + QStringLiteral("/.part/.id"),
        " 0123\r\n"); // another name of the same volume, edited by a person
    inbox.takeUpWhatIsThere();
    EXPECT_GE(inbox.create("quorin-a-1.part"), 0);
}

TEST(Inbox, TakesUpItsFolderForWhatIsUnfinishedThatHasBeenMadeAnew)
{
    const QTemporaryDir home;
    const std::string path = inboxAt(home.path());
    Inbox inbox(path);
    ASSERT_TRUE(QDir(home.filePath(QStringLiteral(".part"))).removeRecursively());
    EXPECT_LT(inbox.create("quorin-a-1.part"), 0);

    inboxAt(home.path());
    inbox.takeUpWhatIsThere();

    EXPECT_GE(inbox.create("quorin-a-1.part"), 0);
}

TEST(Inbox, AnExistingFileOrLinkIsNeverWritten)
{
    const QTemporaryDir home;
    Inbox inbox(inboxAt(home.path()));
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
    Inbox inbox(inboxAt(home.path()));
    const int alive = inbox.create("quorin-a-1.part");
    put(home.filePath(QStringLiteral(".part/quorin-b-1.part")));
    put(home.filePath(QStringLiteral(".part/notes")));
    put(home.filePath(QStringLiteral("quorin-c-1.dcm")));

    Inbox(home.path().toStdString()).sweep();

    EXPECT_EQ(
        namesIn(home.filePath(QStringLiteral(".part"))),
        QStringList({QStringLiteral("notes"), QStringLiteral("order"), QStringLiteral("quorin-a-1.part")}));
    EXPECT_EQ(namesIn(home.path()), QStringList({QStringLiteral("quorin-c-1.dcm")}));
    inbox.close(alive);
}

TEST(Inbox, WhatASweepHadToLeaveGoesWithItsWriter)
{
    const QTemporaryDir home;
    Inbox former(inboxAt(home.path()));
    const int alive = former.create("quorin-a-1.part");
    Inbox inbox(home.path().toStdString());
    inbox.sweep();

    EXPECT_TRUE(inbox.sweepRest());
    EXPECT_TRUE(QFile::exists(home.filePath(QStringLiteral(".part/quorin-a-1.part"))));

    former.close(alive);
    EXPECT_FALSE(inbox.sweepRest());
    EXPECT_EQ(namesIn(home.filePath(QStringLiteral(".part"))), QStringList(QStringLiteral("order")));
}

TEST(Inbox, AFolderThatHasComeBackIsSwept)
{
    const QTemporaryDir home;
    const QString folder = home.filePath(QStringLiteral("inbox"));
    const QString away = home.filePath(QStringLiteral("away"));
    Inbox inbox(inboxAt(folder));
    ASSERT_TRUE(QDir().rename(folder, away));
    ASSERT_TRUE(QDir().mkdir(folder));
    inbox.takeUpWhatIsThere();
    put(away + QStringLiteral("/.part/quorin-a-1.part")); // by an association that went with it

    inboxAt(folder);
    put(folder + QStringLiteral("/.part/quorin-b-1.part"));
    inbox.takeUpWhatIsThere();

    EXPECT_EQ(namesIn(folder + QStringLiteral("/.part")), QStringList(QStringLiteral("order")));
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

    EXPECT_GT(Inbox(inboxAt(home.path())).availableBytes(), 0);
}

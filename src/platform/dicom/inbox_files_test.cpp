#include "platform/dicom/inbox_files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <initializer_list>

namespace gateway::platform {

namespace {

void touch(const QString &path, qint64 secondsSinceEpoch)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(
        file.setFileTime(QDateTime::fromSecsSinceEpoch(secondsSinceEpoch), QFile::FileModificationTime));
}

} // namespace

TEST(InboxFiles, AreTheCompleteOnesOfTheListenerOldestFirst)
{
    const QTemporaryDir folder;
    const QString older = folder.filePath(QStringLiteral("quorin-ffffffffffffffffffffffffffffffff-12.dcm"));
    const QString newer = folder.filePath(QStringLiteral("quorin-00000000000000000000000000000000-1.dcm"));
    touch(newer, 2000);
    touch(older, 1000);

    const QStringList found = completeInboxFiles(folder.path());

    EXPECT_EQ(found, QStringList({older, newer}));
}

TEST(InboxFiles, WhatOthersPutThereIsNotTouched)
{
    const QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral(".part")));
    for (const char *name : {"scan.dcm",
                             "quorin-notes.dcm",
                             "quorin-00000000000000000000000000000000-1.dcm.bak",
                             ".part/quorin-00000000000000000000000000000000-1.part"}) {
        touch(folder.filePath(QString::fromLatin1(name)), 1000);
    }

    EXPECT_TRUE(completeInboxFiles(folder.path()).isEmpty());
}

TEST(InboxFiles, AFolderThatIsNotThereHoldsNone)
{
    EXPECT_TRUE(completeInboxFiles(QStringLiteral("/nowhere/at/all")).isEmpty());
}

TEST(InboxFiles, AFileThatAHelperNamesHasTheListenersNameAndAPlaceInTheInbox)
{
    const QTemporaryDir folder;
    const QString name = QStringLiteral("quorin-00000000000000000000000000000000-1.dcm");
    const QString other = QStringLiteral("notes.dcm");
    touch(folder.filePath(other), 1000);

    EXPECT_EQ(inboxFile(folder.path(), name), folder.filePath(name));
    EXPECT_EQ(inboxFile(folder.path() + u'/', name), folder.filePath(name)) << "as a listing tells it";
    EXPECT_FALSE(inboxFile(folder.path(), other));
    EXPECT_FALSE(inboxFile(folder.path() + QStringLiteral("/sub"), QStringLiteral("../") + name));
}

} // namespace gateway::platform

#include "receive/inbox.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

class Inbox : public ::testing::Test
{
protected:
    QString write(const QString &name, const QByteArray &content = "content") const
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }

    QTemporaryDir m_folder;
};

TEST_F(Inbox, SetsTwoFilesOfOneNameAside)
{
    EXPECT_FALSE(setAside(write(u"same.dcm"_qs, "first")).error);
    EXPECT_FALSE(setAside(write(u"same.dcm"_qs, "second")).error);

    EXPECT_EQ(QDir(m_folder.filePath(u".rejected"_qs)).entryList(QDir::Files).size(), 2);
}

TEST_F(Inbox, TellsWhatWasSetAsideAndNotWhatOthersPutThere)
{
    EXPECT_FALSE(setAside(write(u"quorin-a-1.dcm"_qs)).error);
    write(u".rejected/letter.dcm"_qs);
    write(u".rejected/letter.txt"_qs);

    const QStringList files = setAsideFiles(m_folder.path());

    ASSERT_EQ(files.size(), 1);
    EXPECT_TRUE(files.front().endsWith(u"-quorin-a-1.dcm"_qs));
}

TEST_F(Inbox, TellsWhyAFileCouldNotBeRemoved)
{
    const InboxRemoval removal = removeFromInbox(m_folder.filePath(u"gone"_qs));

    ASSERT_TRUE(removal.error.has_value());
    EXPECT_EQ(removal.error->code, ENOENT);
}

} // namespace
} // namespace gateway::receive

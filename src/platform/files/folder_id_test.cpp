#include "platform/files/folder_id.h"

#include "platform/files/file_error.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::platform {
namespace {

TEST(FolderId, IsKeptWithTheFolder)
{
    const QTemporaryDir home;
    ASSERT_EQ(folderId(home.path()), QString());

    const QString given = giveFolderId(home.path());

    EXPECT_EQ(given.size(), 32);
    EXPECT_EQ(folderId(home.path()), given);
}

TEST(FolderId, IsAnotherOneForEachFolder)
{
    const QTemporaryDir one;
    const QTemporaryDir other;

    EXPECT_NE(giveFolderId(one.path()), giveFolderId(other.path()));
}

TEST(FolderId, IsNotKnownOfAFolderThatIsAway)
{
    const QTemporaryDir home;

    EXPECT_EQ(folderId(home.filePath(QStringLiteral("away"))), std::nullopt);
    EXPECT_THROW(giveFolderId(home.filePath(QStringLiteral("away"))), FileError);
}

TEST(FolderId, OfAFileThatHoldsSomethingElseIsNone)
{
    const QTemporaryDir home;
    QFile file(home.filePath(QStringLiteral(".id")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("0123\n") > 0);
    file.close();

    EXPECT_EQ(folderId(home.path()), QString());
}

} // namespace
} // namespace gateway::platform

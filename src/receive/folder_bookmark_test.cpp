#include "receive/folder_bookmark.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

TEST(FolderBookmark, KeepsThePathAndFindsTheFolderAgain)
{
    const QTemporaryDir folder;

    const auto bookmark = makeFolderBookmark(folder.path());

    ASSERT_EQ(bookmark, folder.path().toUtf8());
    const auto resolved = resolveFolderBookmark(*bookmark);
    ASSERT_TRUE(resolved.has_value());
    EXPECT_EQ(resolved->path, folder.path());
    EXPECT_FALSE(resolved->isStale);
}

TEST(FolderBookmark, IsNotMadeOfWhatIsNoFolder)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"file"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    EXPECT_FALSE(makeFolderBookmark(file.fileName()).has_value());
    EXPECT_FALSE(makeFolderBookmark(folder.filePath(u"missing"_qs)).has_value());
    EXPECT_FALSE(makeFolderBookmark({}).has_value());
}

TEST(FolderBookmark, IsStaleWhenItWouldNotBeKeptThisWay)
{
    const QTemporaryDir folder;
    ASSERT_TRUE(QDir().mkpath(folder.filePath(u"in"_qs)));

    const auto resolved = resolveFolderBookmark(folder.filePath(u"in/../in"_qs).toUtf8());

    ASSERT_TRUE(resolved.has_value());
    EXPECT_EQ(resolved->path, folder.filePath(u"in"_qs));
    EXPECT_TRUE(resolved->isStale);
}

TEST(FolderBookmark, LeadsNowhereWhenTheFolderHasGoneOrTheBytesAreNoPath)
{
    EXPECT_FALSE(resolveFolderBookmark("/no/such/folder").has_value());
    EXPECT_FALSE(resolveFolderBookmark("relative").has_value());
    EXPECT_FALSE(resolveFolderBookmark({}).has_value());
}

} // namespace
} // namespace gateway::receive

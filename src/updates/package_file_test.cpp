#include "updates/package_file.h"

#include "updates/testing/feed_text.h"
#include "updates/testing/signing_key.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>

namespace gateway::updates::testing {

namespace {

struct PackageFiles : ::testing::Test
{
    QStringList names() const
    {
        return QDir(folder.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    QTemporaryDir folder;
    AppcastItem item = itemFor("0123456789");
};

} // namespace

TEST_F(PackageFiles, GoOnWhereTheyEnded)
{
    {
        PackageFile file(folder.path(), item);
        file.append("01234");
    }
    PackageFile file(folder.path(), item);
    EXPECT_EQ(file.size(), 5);

    file.append("56789");
    file.verify();

    EXPECT_EQ(QFileInfo(file.path()).size(), 10);
}

TEST_F(PackageFiles, DoNotGoOnFromAnotherPackageAndRemoveWhatIsLeftOfIt)
{
    PackageFile(folder.path(), itemFor("an older package")).append("an older");

    const PackageFile file(folder.path(), item);

    EXPECT_EQ(file.size(), 0);
    EXPECT_EQ(names(), QStringList{QFileInfo(file.path()).fileName()});
}

TEST_F(PackageFiles, TakeNoMoreThanWasSigned)
{
    PackageFile file(folder.path(), item);
    file.append("012345678");

    EXPECT_EQ(failureOf([&] { file.append("9x"); }), UpdateFailure::damaged);

    EXPECT_EQ(file.size(), 0);
}

TEST_F(PackageFiles, BeginAnewWhereMoreIsThereThanThePackageHas)
{
    QFile large(PackageFile(folder.path(), item).path());
    ASSERT_TRUE(large.open(QIODevice::WriteOnly));
    large.write(QByteArray(11, 'x'));
    large.close();

    EXPECT_EQ(PackageFile(folder.path(), item).size(), 0);
}

TEST_F(PackageFiles, AreRemovedWhenTheyAreNotWhatWasSigned)
{
    for (const QByteArray &content : {QByteArray("012345678x"), QByteArray("01234"), QByteArray()}) {
        PackageFile file(folder.path(), item);
        file.append(content);

        EXPECT_EQ(failureOf([&] { file.verify(); }), UpdateFailure::damaged);
        EXPECT_EQ(names(), QStringList());
    }
}

TEST_F(PackageFiles, LeaveRoomForImages)
{
    const qint64 more = std::numeric_limits<qint64>::max() - item.length;

    EXPECT_EQ(failureOf([&] { const PackageFile file(folder.path(), item, more); }), UpdateFailure::noRoom);
}

TEST_F(PackageFiles, NeedNoMoreRoomOnceAllIsThere)
{
    PackageFile(folder.path(), item).append("0123456789");

    PackageFile file(folder.path(), item, std::numeric_limits<qint64>::max() - item.length);
    file.verify();

    EXPECT_EQ(file.size(), 10);
}

TEST_F(PackageFiles, NeedAFolderThatCanBeMade)
{
    const QString blocked = folder.filePath(u"file"_qs);
    QFile file(blocked);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    EXPECT_EQ(failureOf([&] { const PackageFile package(blocked + u"/below"_qs, item); }),
              UpdateFailure::notWritable);
}

} // namespace gateway::updates::testing

#include "platform/files/folder_entries.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::platform {

namespace {

using Kind = FolderEntry::Kind;

class FolderEntries : public ::testing::Test
{
protected:
    void write(const QString &name, qsizetype size) const
    {
        QFile file(m_folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(QByteArray(size, 'x')), size);
    }

    QByteArray path() const { return QFile::encodeName(m_folder.path()); }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(FolderEntries, TellEachNameOnceAndWhatItIs)
{
    write(QStringLiteral("a"), 1);
    write(QStringLiteral(".hidden"), 1);
    ASSERT_TRUE(QDir(m_folder.path()).mkdir(QStringLiteral("folder")));
    ASSERT_TRUE(
        QFile::link(m_folder.filePath(QStringLiteral("a")), m_folder.filePath(QStringLiteral("link"))));

    QMap<QByteArray, Kind> seen;
    const bool isWhole = visitFolder(path(), [&](const FolderEntry &entry) {
        ASSERT_FALSE(seen.contains(entry.name()));
        seen.insert(entry.name(), entry.kind().value());
    });

    EXPECT_TRUE(isWhole);
    EXPECT_EQ(seen,
              (QMap<QByteArray, Kind>{{"a", Kind::regularFile},
                                      {".hidden", Kind::regularFile},
                                      {"folder", Kind::folder},
                                      {"link", Kind::other}}));
}

TEST_F(FolderEntries, TellWhatAFileOccupiesNotHowLongItIs)
{
    write(QStringLiteral("sparse"), 1);
    ASSERT_TRUE(QFile::resize(m_folder.filePath(QStringLiteral("sparse")), 1 << 30));

    qint64 bytes = -1;
    visitFolder(path(), [&](const FolderEntry &entry) { bytes = entry.allocatedBytes().value(); });

    EXPECT_GE(bytes, 0);
    EXPECT_LT(bytes, 1 << 20);
}

TEST_F(FolderEntries, TellNothingOfAFileThatHasGone)
{
    write(QStringLiteral("a"), 1);

    visitFolder(path(), [&](const FolderEntry &entry) {
        ASSERT_TRUE(QFile::remove(m_folder.filePath(QStringLiteral("a"))));
        EXPECT_FALSE(entry.allocatedBytes());
    });
}

TEST_F(FolderEntries, OfAMissingFolderCantBeRead)
{
    EXPECT_FALSE(visitFolder(path() + "/missing", [](const FolderEntry &) { FAIL(); }));
    EXPECT_FALSE(folderChangedAt(path() + "/missing"));
}

TEST_F(FolderEntries, ChangeTheirFolderWhenANameComes)
{
    const auto before = folderChangedAt(path()).value();

    // The volume's clock ticks coarsely; a name a try until it has.
    int names = 0;
    while (folderChangedAt(path()).value() == before) {
        write(QString::number(names++), 0);
    }

    EXPECT_GT(folderChangedAt(path()).value(), before);
}

} // namespace gateway::platform

#include "index/index_examination.h"

#include "index/testing/temporary_index.h"
#include "platform/sqlite/sqlite_error.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <gtest/gtest.h>

#include <functional>

namespace gateway::index {

namespace {

using Kind = UnrecordedFile::Kind;
using testing::TemporaryIndex;

const QVariantMap kChanged{{QStringLiteral("ImageComments"), QStringLiteral("corrected")}};

/// The machine's disk, with something that happens when a folder is synced: a file has its name then, and no
/// rows yet.
class WatchedDisk final : public platform::FileSystem
{
public:
    std::function<void()> whenFolderIsSynced;

    void create(const QString &path, const QByteArray &bytes) override { m_below.create(path, bytes); }
    void copy(const QString &from, const QString &to) override { m_below.copy(from, to); }
    void link(const QString &from, const QString &to) override { m_below.link(from, to); }
    void rename(const QString &from, const QString &to) override { m_below.rename(from, to); }
    void renameToNew(const QString &from, const QString &to) override { m_below.renameToNew(from, to); }
    void setModified(const QString &path, std::chrono::nanoseconds time) override
    {
        m_below.setModified(path, time);
    }
    void remove(const QString &path) override { m_below.remove(path); }
    void makeFolder(const QString &path) override { m_below.makeFolder(path); }
    void syncFile(const QString &path) override { m_below.syncFile(path); }
    void syncFolder(const QString &path) override
    {
        m_below.syncFolder(path);
        if (whenFolderIsSynced) {
            whenFolderIsSynced();
        }
    }

private:
    platform::FileSystem &m_below = platform::systemFiles();
};

class Examination : public ::testing::Test
{
protected:
    QString importOne(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    /// Puts an image into the store behind the index's back.
    void put(const QString &pathString, const QVariantMap &elements)
    {
        const QString path = home.index().fileURL(pathString).toLocalFile();
        QDir().mkpath(QFileInfo(path).path());
        testing::writeSyntheticFile(path, elements);
    }

    Kind kindOf(const QString &pathString) { return examination().lookAt(pathString).kind; }
    IndexExamination examination() { return home.index().examination(); }

    QStringList pathsOfRows()
    {
        return home.rows(QStringLiteral("SELECT DISTINCT pathString FROM DicomImage ORDER BY pathString"));
    }

    WatchedDisk disk;
    TemporaryIndex home{disk};
};

} // namespace

TEST_F(Examination, FindsNothingWrongWithASoundFile)
{
    importOne(QStringLiteral("9.1"));

    EXPECT_EQ(examination().complaints({}), 0);
    EXPECT_EQ(examination().rowsWithoutFile({}), 0);
    EXPECT_EQ(examination().pendingRemovals(), 0);
}

TEST_F(Examination, HearsOfRowsWithoutTheirParent)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("PRAGMA foreign_keys = 0; UPDATE DicomImage SET series = 777"));

    EXPECT_GT(examination().complaints({}), 0);
}

TEST_F(Examination, ReadsTheRecordedFilesInPagesWithTheirStates)
{
    const QString sent = importOne(QStringLiteral("9.1"), {{QStringLiteral("numberOfFrames"), 2}});
    const QString waiting = importOne(QStringLiteral("9.2"));
    const QString underWay = importOne(QStringLiteral("9.3"));
    home.index().recordUploadResult({}, sent, true);
    home.execute(QStringLiteral("UPDATE DicomImage SET syncState = 3 WHERE pathString = '%1'").arg(underWay));

    QList<RecordedFile> all;
    QString last;
    for (auto page = examination().recordedFiles(last, 2, {}); !page.isEmpty();
         page = examination().recordedFiles(last, 2, {})) {
        all += page;
        last = page.last().storagePath;
    }

    EXPECT_EQ(all,
              (QList<RecordedFile>{{sent, true, false}, {waiting, false, false}, {underWay, false, true}}));
    EXPECT_EQ(examination().recordedFile(waiting), (RecordedFile{waiting, false, false}));
    EXPECT_EQ(examination().recordedFile(QStringLiteral("10000/99.dcm")), std::nullopt);
}

TEST_F(Examination, CountsRowsThatNameNoFile)
{
    importOne(QStringLiteral("9.1"));
    home.execute(QStringLiteral("UPDATE DicomImage SET pathString = ''"));

    EXPECT_EQ(examination().rowsWithoutFile({}), 1);
}

TEST_F(Examination, TellsAnImageWithoutRowsFromARecordedOneAndFromNoImage)
{
    const QString recorded = importOne(QStringLiteral("9.1"));
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QStringLiteral("9.7")));
    put(QStringLiteral("10000/78.dcm"),
        TemporaryIndex::image(QStringLiteral("9.8"), {{QStringLiteral("patientUID"), QString()}}));
    QFile broken(home.index().fileURL(QStringLiteral("10000/79.dcm")).toLocalFile());
    ASSERT_TRUE(broken.open(QIODevice::WriteOnly));

    EXPECT_EQ(kindOf(recorded), Kind::none);
    EXPECT_EQ(kindOf(QStringLiteral("10000/77.dcm")), Kind::image);
    EXPECT_EQ(kindOf(QStringLiteral("10000/78.dcm")), Kind::unreadable);
    EXPECT_EQ(kindOf(QStringLiteral("10000/79.dcm")), Kind::unreadable);
    EXPECT_EQ(kindOf(QStringLiteral("10000/80.dcm")), Kind::none); // gone meanwhile
}

TEST_F(Examination, TakesAFileInTheHandsOfAnImportForNoOrphan)
{
    int looks = 0;
    disk.whenFolderIsSynced = [&] {
        const QString path = QStringLiteral("10000/0.dcm");
        if (QFileInfo::exists(home.index().fileURL(path).toLocalFile())) {
            ++looks;
            EXPECT_EQ(kindOf(path), Kind::none);
        }
    };

    EXPECT_EQ(importOne(QStringLiteral("9.1")), QStringLiteral("10000/0.dcm"));

    EXPECT_GT(looks, 0);
    disk.whenFolderIsSynced = nullptr;
    home.execute(QStringLiteral("DELETE FROM DicomImage"));
    EXPECT_EQ(kindOf(QStringLiteral("10000/0.dcm")), Kind::image); // the import has let go of it
}

TEST_F(Examination, SeesWhatAnImportLeftThatCouldNotBeSaved)
{
    home.execute(
        QStringLiteral("CREATE TRIGGER fails BEFORE INSERT ON Study BEGIN SELECT RAISE(ABORT, 'no'); END"));
    EXPECT_THROW(importOne(QStringLiteral("9.1")), GatewayImportError);

    EXPECT_EQ(kindOf(QStringLiteral("10000/0.dcm")), Kind::image);
}

TEST_F(Examination, TakesAFileThatWaitsForItsRemovalForNoOrphan)
{
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QStringLiteral("9.7")));
    home.execute(QStringLiteral("INSERT INTO PendingRemoval VALUES ('10000/77.dcm')"));

    EXPECT_EQ(kindOf(QStringLiteral("10000/77.dcm")), Kind::none);
    EXPECT_EQ(examination().pendingRemovals(), 1);
}

TEST_F(Examination, KnowsTheEarlierCopyOfAnImageThatWasSentAgain)
{
    const QString first = importOne(QStringLiteral("9.1"));
    const QString second = importOne(QStringLiteral("9.1"), kChanged);

    EXPECT_EQ(kindOf(first), Kind::none);
    EXPECT_EQ(kindOf(second), Kind::none);
    home.execute(QStringLiteral("DELETE FROM SupersededFile"));
    EXPECT_EQ(kindOf(first), Kind::earlierCopy);
    EXPECT_TRUE(examination().record(examination().lookAt(first)));
    EXPECT_EQ(pathsOfRows(), QStringList{second});
}

TEST_F(Examination, RecordsAnImageWhereItLies)
{
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QStringLiteral("9.7")));

    EXPECT_TRUE(examination().record(examination().lookAt(QStringLiteral("10000/77.dcm"))));

    EXPECT_EQ(pathsOfRows(), QStringList{QStringLiteral("10000/77.dcm")});
    EXPECT_EQ(home.index().counts().notSynced.images, 1);
    EXPECT_EQ(kindOf(QStringLiteral("10000/77.dcm")), Kind::none);
    EXPECT_EQ(home.number(QStringLiteral("SELECT nextFileNumber FROM Ledger")), 78);
}

TEST_F(Examination, RecordsNothingTwice)
{
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QStringLiteral("9.7")));
    const UnrecordedFile found = examination().lookAt(QStringLiteral("10000/77.dcm"));

    EXPECT_TRUE(examination().record(found));
    home.index().recordUploadResult({}, QStringLiteral("10000/77.dcm"), true);

    EXPECT_FALSE(examination().record(found));
    EXPECT_EQ(home.index().counts().syncedImages, 1);
}

TEST_F(Examination, GivesAnImageWhoseFileIsGoneTheCopyThatIsThere)
{
    const QString lost = importOne(QStringLiteral("9.1"));
    home.index().recordUploadResult({}, lost, false);
    QFile::remove(home.index().fileURL(lost).toLocalFile());
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QStringLiteral("9.1")));

    EXPECT_TRUE(examination().record(examination().lookAt(QStringLiteral("10000/77.dcm"))));

    EXPECT_EQ(pathsOfRows(), QStringList{QStringLiteral("10000/77.dcm")});
    EXPECT_EQ(home.index().counts().failedImages, 0);
}

TEST_F(Examination, PrefersTheLaterOfTwoCopiesAndNeverTurnsBack)
{
    const QString first = importOne(QStringLiteral("9.1"));
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QStringLiteral("9.1"), kChanged));

    EXPECT_TRUE(examination().record(examination().lookAt(QStringLiteral("10000/77.dcm"))));

    EXPECT_EQ(kindOf(first), Kind::none);
    EXPECT_FALSE(examination().record(examination().lookAt(QStringLiteral("10000/77.dcm"))));
    EXPECT_EQ(pathsOfRows(), QStringList{QStringLiteral("10000/77.dcm")});
}

TEST_F(Examination, KeepsImagesWithoutAnIdentityApart)
{
    importOne(QString());
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QString()));

    EXPECT_EQ(kindOf(QStringLiteral("10000/77.dcm")), Kind::image);
}

TEST_F(Examination, KnowsTheFormOfItsOwnPathsOnly)
{
    EXPECT_TRUE(examination().lookAt(QStringLiteral("10000/77.dcm")).place);
    EXPECT_TRUE(examination().lookAt(QStringLiteral("20000/10000.")).place);
    for (const QString &other : {QStringLiteral("20000/77.dcm"),
                                 QStringLiteral("77.dcm"),
                                 QStringLiteral("10000/copy of 77.dcm"),
                                 QStringLiteral("10000/x/77.dcm")}) {
        EXPECT_FALSE(examination().lookAt(other).place) << other.toStdString();
    }
}

TEST_F(Examination, SaysSoWhenTroubleStoodInTheWay)
{
    put(QStringLiteral("10000/77.dcm"), TemporaryIndex::image(QStringLiteral("9.7")));

    for (const auto fate : {platform::ParsedFile::Fate::trouble, platform::ParsedFile::Fate::unavailable}) {
        home.parser.breakDown(fate);
        EXPECT_EQ(examination().lookAt(QStringLiteral("10000/77.dcm")).kind,
                  UnrecordedFile::Kind::unexamined);
    }
}

} // namespace gateway::index

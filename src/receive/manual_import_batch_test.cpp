#include "receive/manual_import_batch.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "receive/testing/barred_folder.h"
#include "receive/testing/fake_archive_unpacking.h"
#include "receive/testing/fake_imports.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QUrl>

#include <gtest/gtest.h>

#include <algorithm>

#include <sys/stat.h>

namespace gateway::receive {
namespace {

class ImportBatch : public ::testing::Test
{
protected:
    QString put(const QString &name, const QByteArray &content) const
    {
        const QString path = m_home.filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return path;
    }

    /// Works a selection through on this thread.
    ManualImportReport run(const QString &selected)
    {
        ManualImportBatch batch({m_imports,
                                 m_unpacking,
                                 m_clock,
                                 [this] { return m_available; },
                                 [this](const ManualImportReport &) { countCopies(); }},
                                {m_temporary.path(), {}},
                                {});
        return batch.run({QUrl::fromLocalFile(selected)});
    }

    void countCopies()
    {
        int copies = 0;
        QDirIterator files(m_temporary.path(), QDir::Files, QDirIterator::Subdirectories);
        for (; files.hasNext(); ++copies) {
            files.next();
        }
        m_mostCopies = std::max(m_mostCopies, copies);
    }

    std::optional<qint64> m_available; ///< where the gateway keeps its files; unknown at first
    int m_mostCopies = 0;              ///< of our own that lay there behind a step
    QTemporaryDir m_home;
    QTemporaryDir m_temporary;
    platform::testing::ManualClock m_clock;
    testing::FakeImports m_imports;
    testing::FakeArchiveUnpacking m_unpacking;
};

TEST_F(ImportBatch, TakesAFolderThatCanNotBeReadForAnEmptyOneAndTellsOfIt)
{
    put(u"s/a.dcm"_qs, "DICM a");
    put(u"s/barred/b.dcm"_qs, "DICM b");
    const QString folder = m_home.filePath(u"s/barred"_qs);
    ::chmod(QFile::encodeName(m_home.path()).constData(), S_IRWXU | S_IXGRP | S_IXOTH);
    ::chmod(QFile::encodeName(m_temporary.path()).constData(), S_IRWXU | S_IRWXG | S_IRWXO);
    const testing::BarredFolder barred(folder);

    const ManualImportReport report = run(m_home.filePath(u"s"_qs));

    EXPECT_EQ(report.candidateFiles, 1);
    EXPECT_EQ(report.importedFiles, 1);
    EXPECT_EQ(report.skippedFiles, 0) << "nobody knows how many files it holds";
    EXPECT_EQ(report.skipped.value(SkipReason::unreadable), (SkippedFiles{1, QStringList{folder}}));
    EXPECT_TRUE(report.mayMissImages());
}

TEST_F(ImportBatch, KeepsNoCopyThatHasServed)
{
    put(u"s/a.dcm"_qs, "DICM a");
    put(u"s/b.dcm"_qs, "DICM b");
    put(u"s/c.txt"_qs, "no image");

    EXPECT_EQ(run(m_home.filePath(u"s"_qs)).importedFiles, 2);

    EXPECT_EQ(m_mostCopies, 0);
}

TEST_F(ImportBatch, WantsRoomForItsCopyAndForTheIndexsOwn)
{
    const QByteArray content = "DICM" + QByteArray(1'000'000, 'x');
    const QString file = put(u"a.dcm"_qs, content);

    m_available = ManualImportBatch::kReserveBytes + 2 * content.size() - 1;
    EXPECT_EQ(run(file).skipped.value(SkipReason::storage).count, 1);
    m_available = ManualImportBatch::kReserveBytes + 2 * content.size();
    EXPECT_EQ(run(file).importedFiles, 1);
}

} // namespace
} // namespace gateway::receive

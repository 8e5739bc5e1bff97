#pragma once

#include "index/testing/temporary_index.h"
#include "platform/files/testing/faulty_file_system.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <gtest/gtest.h>

#include <chrono>

namespace gateway::index::testing {

/// An index and store from which images go, on a disk that can be made to fail.
///
/// Owner: a test. Thread: main.
class Deletion : public ::testing::Test
{
protected:
    QString importOne(const QString &uid, const QVariantMap &changes = {})
    {
        return home.import(TemporaryIndex::image(uid, changes));
    }

    /// An image that was uploaded now. \return its stored path.
    QString uploaded(const QString &uid, const QVariantMap &changes = {})
    {
        const QString path = importOne(uid, changes);
        index.recordUploadResult({}, path, true);
        return path;
    }

    LocalPruneResult pruneAll()
    {
        home.clock.advance(std::chrono::milliseconds(1));
        return index.pruneSyncedImages(home.clock.now());
    }

    bool isStored(const QString &path) const { return QFile::exists(index.fileURL(path).toLocalFile()); }

    QStringList storedFiles() const
    {
        QStringList files;
        QDirIterator walk(home.fileStoreRoot(), QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            files.append(walk.next());
        }
        return files;
    }

    std::int64_t noted() { return home.number(QStringLiteral("SELECT count(*) FROM PendingRemoval")); }

    platform::testing::FaultyFileSystem disk;
    TemporaryIndex home{disk};
    DicomDB &index = home.index();
};

} // namespace gateway::index::testing

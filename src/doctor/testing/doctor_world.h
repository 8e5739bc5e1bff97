#pragma once

#include "doctor/doctor.h"
#include "index/testing/temporary_index.h"
#include "log/writing/testing/recording_log.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMap>

#include <gtest/gtest.h>

namespace gateway::doctor::testing {

using index::testing::TemporaryIndex;

/// How often each kind was found, and how often it was mended.
using Counts = QMap<FindingKind, std::pair<qint64, qint64>>;

inline bool nothingAwaitsRemoval(const QString & /*path*/)
{
    return false;
}

/// A home with an index, a file store and an incoming folder, and a doctor to look at it. Thread: main.
struct DoctorTest : ::testing::Test
{
    DoctorTest() { QDir().mkpath(inbox()); }

    QString inbox() const { return home.path(QStringLiteral("Import")); }

    Diagnosis examine(bool repair = false)
    {
        return Doctor(home.index(), folders, emitter, home.clock, awaitsRemoval).examine(repair, {});
    }

    Counts counts(bool repair = false)
    {
        Counts found;
        for (const Finding &finding : examine(repair).findings) {
            found.insert(finding.kind, {finding.count, finding.mended});
        }
        return found;
    }

    /// Imports an image. \return its stored path.
    QString importOne(const QString &uid) { return home.import(TemporaryIndex::image(uid)); }

    QString pathOf(const QString &storagePath) { return home.index().fileURL(storagePath).toLocalFile(); }

    void lose(const QString &storagePath) { ASSERT_TRUE(QFile::remove(pathOf(storagePath))); }

    /// Puts an image into the store behind the index's back.
    void put(const QString &storagePath, const QString &uid)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(pathOf(storagePath)).path()));
        index::testing::writeSyntheticFile(pathOf(storagePath), TemporaryIndex::image(uid));
    }

    static void write(const QString &path)
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write("text"), 4);
    }

    /// Writes a file that was received just now.
    void receive(const QString &path)
    {
        write(path);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(home.clock.now(), QFileDevice::FileModificationTime));
    }

    /// Every file below the file store with its bytes.
    QMap<QString, QByteArray> filesInStore()
    {
        QMap<QString, QByteArray> files;
        QDir store(home.fileStoreRoot());
        for (const QString &bucket : store.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            for (const QString &name : QDir(store.filePath(bucket)).entryList(QDir::Files)) {
                QFile file(store.filePath(bucket + u'/' + name));
                EXPECT_TRUE(file.open(QIODevice::ReadOnly));
                files.insert(bucket + u'/' + name, file.readAll());
            }
        }
        return files;
    }

    qint64 rows() { return home.number(QStringLiteral("SELECT count(*) FROM DicomImage")); }

    TemporaryIndex home;
    std::function<bool(const QString &path)> awaitsRemoval = nothingAwaitsRemoval;
    platform::UserDefaults defaults{home.path(QStringLiteral("settings.sqlite"))};
    core::Settings settings{defaults};
    receive::IncomingFolders folders{defaults, settings, {inbox(), home.path({})}};
    log::testing::RecordingLog logged;
    log::StoreLogEmitter emitter{logged, home.clock};
};

} // namespace gateway::doctor::testing

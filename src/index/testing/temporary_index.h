#pragma once

#include "index/dicom_db.h"
#include "index/testing/synthetic_files.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/file_system.h"
#include "platform/notifications/notification_center.h"

#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVariantMap>

#include <optional>
#include <utility>

namespace gateway::index::testing {

/// A real index and file store in a throw-away home, with synthetic files for images and a manual clock.
///
/// Owner: a test. Thread: main; the index itself any.
class TemporaryIndex
{
public:
    /// \param fileStoreRoot  where the file store lies instead of in the home.
    explicit TemporaryIndex(platform::FileSystem &files = platform::systemFiles(),
                            QString fileStoreRoot = {});

    DicomDB &index() { return *m_index; }

    /// Closes the index and opens it again, as a new process would.
    void reopen();
    void close() { m_index.reset(); }

    QString indexFile() const { return path(QStringLiteral("index/QuorinGateway.sqlite")); }
    QString fileStoreRoot() const { return m_fileStoreRoot; }
    QString path(const QString &name) const { return m_home.filePath(name); }

    /// The elements of one image of one frame; `changes` win.
    static QVariantMap image(const QString &sopInstanceUID, const QVariantMap &changes = {});

    /// Writes a synthetic file in the home and gives its URL.
    QUrl file(const QVariantMap &elements, const QString &name = QStringLiteral("source.dcm"));

    /// Imports an image a millisecond later than the one before. \return the stored path of its rows.
    QString import(const QVariantMap &elements);

    /// Runs SQL on the index file through a connection of its own.
    void execute(const QString &sql);

    /// The rows of a query as texts, columns joined by "|", NULL as "-".
    QStringList rows(const QString &sql);
    std::int64_t number(const QString &sql);

    /// The files that went from the store since the last call, by their stored paths, in order, and why.
    QList<std::pair<QString, RemovalReason>> removals();

    /// How often "QuorinGateway.localSyncStateChanged" was posted since the last call.
    int announcements();

    platform::testing::ManualClock clock;
    SyntheticParser parser;
    platform::NotificationCenter notifications;
    platform::MainExecutor main;

private:
    QTemporaryDir m_home;
    platform::FileSystem &m_files;
    const QString m_fileStoreRoot;

public:
    platform::UserDefaults defaults;

private:
    platform::Mutex m_removalsMutex;
    QList<std::pair<QString, RemovalReason>> m_removals QUORIN_GUARDED_BY(m_removalsMutex);
    int m_announcements = 0;
    platform::NotificationCenter::Token m_observer;
    std::optional<DicomDB> m_index;
};

} // namespace gateway::index::testing

#include "index/testing/temporary_index.h"

#include "core/notification_names.h"
#include "platform/sqlite/database.h"

#include <QtCore/QDir>

#include <utility>

namespace gateway::index::testing {

using platform::Database;

TemporaryIndex::TemporaryIndex(platform::FileSystem &files, QString fileStoreRoot)
    : m_files(files), m_fileStoreRoot(fileStoreRoot.isEmpty() ? path(QStringLiteral("Pavan Data"))
                                                              : std::move(fileStoreRoot)),
      defaults(path(QStringLiteral("defaults.sqlite"))),
      m_observer(notifications.observe(core::kLocalSyncStateChanged,
                                       [this](const QVariantMap &) { ++m_announcements; }))
{
    reopen();
}

void TemporaryIndex::reopen()
{
    close();
    m_index.emplace(DicomDBPaths{indexFile(), fileStoreRoot()},
                    DicomDBCollaborators{defaults,
                                         parser,
                                         notifications,
                                         main,
                                         clock,
                                         m_files,
                                         [this](const QUrl &file, RemovalReason reason) {
                                             const QDir root(m_fileStoreRoot);
                                             const platform::MutexLock lock(m_removalsMutex);
                                             m_removals.append(
                                                 {root.relativeFilePath(file.toLocalFile()), reason});
                                         }});
}

QList<std::pair<QString, RemovalReason>> TemporaryIndex::removals()
{
    const platform::MutexLock lock(m_removalsMutex);
    return std::exchange(m_removals, {});
}

QVariantMap TemporaryIndex::image(const QString &sopInstanceUID, const QVariantMap &changes)
{
    QVariantMap elements{{QStringLiteral("patientUID"), QStringLiteral("PAT1")},
                         {QStringLiteral("patientName"), QStringLiteral("Doe^Jane")},
                         {QStringLiteral("studyID"), QStringLiteral("1.2")},
                         {QStringLiteral("seriesID"), QStringLiteral("1.2.3")},
                         {QStringLiteral("seriesInstanceUID"), QStringLiteral("1.2.3")},
                         {QStringLiteral("SOPUID"), sopInstanceUID},
                         {QStringLiteral("modality"), QStringLiteral("CT")}};
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        elements.insert(change.key(), change.value());
    }
    return elements;
}

QUrl TemporaryIndex::file(const QVariantMap &elements, const QString &name)
{
    writeSyntheticFile(path(name), elements);
    return QUrl::fromLocalFile(path(name));
}

QString TemporaryIndex::import(const QVariantMap &elements)
{
    clock.advance(std::chrono::milliseconds(1));
    m_index->importFile(file(elements));
    return rows(QStringLiteral("SELECT pathString FROM DicomImage ORDER BY createDate DESC, pk DESC"))
        .value(0);
}

void TemporaryIndex::execute(const QString &sql)
{
    Database::open(indexFile(), Database::Access::readWrite).exec(sql.toStdString());
}

QStringList TemporaryIndex::rows(const QString &sql)
{
    Database database = Database::open(indexFile(), Database::Access::readOnly);
    QStringList result;
    platform::Statement row = database.prepare(sql.toStdString());
    while (row.step()) {
        QStringList columns;
        for (int column = 0; column < row.columnCount(); ++column) {
            columns.append(row.isNull(column) ? QStringLiteral("-") : row.text(column));
        }
        result.append(columns.join(QLatin1Char('|')));
    }
    return result;
}

std::int64_t TemporaryIndex::number(const QString &sql)
{
    return rows(sql).value(0).toLongLong();
}

int TemporaryIndex::announcements()
{
    main.drain();
    return std::exchange(m_announcements, 0);
}

} // namespace gateway::index::testing

// Taking a file in.

#include "index/dicom_db.h"
#include "index/import_elements.h"
#include "index/patience.h"
#include "platform/dicom/dicom_parsing.h"
#include "platform/files/file_error.h"

#include <QtCore/QVariantMap>

namespace gateway::index {

using Blame = GatewayImportError::Blame;
using Kind = GatewayImportError::Kind;
using platform::FileError;
using platform::SqliteError;

namespace {

/// A private copy that goes when the import doesn't come as far as moving it.
class PrivateCopy
{
public:
    PrivateCopy(FileStore &files, QString path) : m_files(files), m_path(std::move(path)) {}

    ~PrivateCopy()
    {
        if (!m_moved) {
            m_files.dropPrivateCopy(m_path);
        }
    }

    PrivateCopy(const PrivateCopy &) = delete;
    PrivateCopy &operator=(const PrivateCopy &) = delete;

    const QString &path() const { return m_path; }
    void wasMoved() { m_moved = true; }

private:
    FileStore &m_files;
    const QString m_path;
    bool m_moved = false;
};

/// Tells the file store that the import of a moved file is over, however it ends.
class ImportUnderWay
{
public:
    ImportUnderWay(FileStore &files, StoredFile file) : m_files(files), m_file(std::move(file)) {}
    ~ImportUnderWay() { m_files.importEnded(m_file); }

    ImportUnderWay(const ImportUnderWay &) = delete;
    ImportUnderWay &operator=(const ImportUnderWay &) = delete;

private:
    FileStore &m_files;
    const StoredFile m_file;
};

QString copyPatiently(FileStore &files, Patience &patience, const QString &source, ImportSource hands)
{
    try {
        return patience.untilDone([&] { return files.takePrivateCopy(source, hands); });
    } catch (const FileError &error) {
        throw GatewayImportError(Kind::copyToTemporaryFailed, Blame::storage, error.message());
    }
}

QVariantMap parse(platform::DicomParsing &parser, const QString &path)
{
    const platform::ParsedFile file = parser.parse(path);
    const auto refuse = [&file](Blame blame) {
        throw GatewayImportError(Kind::dicomParseFailed, blame, file.message, file.code);
    };
    switch (file.fate) {
    case platform::ParsedFile::Fate::parsed:
        break;
    case platform::ParsedFile::Fate::notDicom:
        refuse(Blame::file);
        break;
    case platform::ParsedFile::Fate::trouble:
        refuse(Blame::reading);
        break;
    case platform::ParsedFile::Fate::unavailable:
        refuse(Blame::storage);
        break;
    }
    return file.elements;
}

StoredFile movePatiently(FileStore &files, Patience &patience, PrivateCopy &copy)
{
    std::optional<StoredFile> stored;
    try {
        stored = patience.untilDone([&] { return files.moveIn(copy.path()); });
        copy.wasMoved();
        patience.untilDone([&] { files.makeDurable(*stored); });
        return *stored;
    } catch (const FileError &error) {
        if (stored) {
            files.discard(*stored); // no row refers to it, and the source is where it was
            files.importEnded(*stored);
        }
        throw GatewayImportError(Kind::moveToLocalDirectoryFailed, Blame::storage, error.message());
    }
}

} // namespace

ImportedFileSummary DicomDB::importFile(const QUrl &url, ImportSource source)
{
    const QString path = url.toLocalFile();
    if (path.isEmpty()) {
        throw GatewayImportError(Kind::invalidSourceURL, Blame::file);
    }
    Patience patience(m_with.clock, m_stop.get_token());
    PrivateCopy copy(m_files, copyPatiently(m_files, patience, path, source));
    const QVariantMap found = parse(m_with.parser, copy.path());
    const StoredFile stored = movePatiently(m_files, patience, copy);
    const ImportUnderWay underWay(m_files, stored);

    ImportedFileSummary summary;
    summary.patientUID = elements::text(found, QStringLiteral("patientUID")).value_or(QString());
    summary.studyID = elements::text(found, QStringLiteral("studyID")).value_or(QString());
    if (summary.patientUID.isEmpty()) {
        throw GatewayImportError(Kind::databaseSaveRejected, Blame::file);
    }
    try {
        patience.untilDone([&] {
            m_store.write([&](platform::Database &database) {
                summary.seriesKeys = recordImport(database, found, stored, nowInMilliseconds());
            });
        });
    } catch (const SqliteError &error) {
        throw GatewayImportError(Kind::databaseSaveRejected, Blame::storage, error.message());
    }
    return summary;
}

ImportedFileSummary DBService::importFile(const QUrl &url)
{
    return m_index.importFile(url, m_source);
}

} // namespace gateway::index

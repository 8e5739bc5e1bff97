#pragma once

#include "cloud/store/archive_index.h"
#include "cloud/store/part_file.h"

#include <QtCore/QString>

#include <memory>
#include <vector>

namespace gateway::cloud {

/// The archive: files on disk and the index that knows them.
///
/// A row of the index never leads to a missing or partial file, whenever the process or the machine dies:
/// files are synced and in their place before the row is committed, and deleted after the row is gone. What a
/// crash leaves over is removed at the next opening. Owner: CloudService. Thread: any.
class InstanceStore
{
public:
    /// \param folder   made where it is missing; one process at a time.
    /// \param durable  false gives up on surviving a power cut, for measuring without the disk.
    /// \throws std::system_error, platform::SqliteError
    InstanceStore(const QString &folder, bool durable);

    /// A new file to receive an instance in. \throws std::system_error
    std::unique_ptr<PartFile> newPart() const;

    /// Reads what was received and, where it is DICOM, moves it to its place. It is not known yet: see
    /// commit().
    /// \throws DicomFormatError, std::system_error
    NewInstance place(PartFile &part) const;

    /// Makes placed instances known, all or none; when it returns they are durable.
    /// \throws std::system_error, platform::SqliteError  nothing is known then, and the files are gone.
    void commit(const std::vector<NewInstance> &instances);

    /// Takes placed files away again. Thread: any.
    void discard(const std::vector<NewInstance> &instances) const;

    /// Removes a scope. \return how many instances it held.
    std::size_t remove(const InstanceScope &scope);

    QString pathOf(const QString &file) const { return m_folder + QStringLiteral("/instances/") + file; }

    const ArchiveIndex &index() const { return m_index; }

private:
    void makeFolders() const;
    void sweep() const;
    void syncAll(const std::vector<NewInstance> &instances) const;

    const QString m_folder;
    const bool m_durable;
    ArchiveIndex m_index;
};

} // namespace gateway::cloud

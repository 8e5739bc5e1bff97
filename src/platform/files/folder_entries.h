#pragma once

#include <QtCore/QByteArray>

#include <chrono>
#include <functional>
#include <optional>

namespace gateway::platform {

/// One name in a folder that is being read.
///
/// Owner: `visitFolder`, for the length of the visit. Thread: that of the visit.
class FolderEntry
{
public:
    enum class Kind
    {
        regularFile,
        folder,
        other ///< links among them: they aren't followed
    };

    FolderEntry(int folder, QByteArray name, quint64 number, std::optional<Kind> kind)
        : m_folder(folder), m_name(std::move(name)), m_number(number), m_kind(kind)
    {
    }

    /// The name as the file system spells it.
    const QByteArray &name() const { return m_name; }

    /// The number of the inode, as the folder has it.
    quint64 number() const { return m_number; }

    /// What it is; asks the disk only where the folder itself doesn't tell. Nothing when it can't be asked.
    std::optional<Kind> kind() const;

    /// The bytes that it occupies on its volume; asks the disk. Nothing when it can't be asked.
    std::optional<qint64> allocatedBytes() const;

private:
    const int m_folder;
    const QByteArray m_name;
    const quint64 m_number;
    const std::optional<Kind> m_kind;
};

/// Calls `visit` for each name in the folder, in no order, "." and ".." left out. Thread: any.
///
/// \param path  as the file system spells it.
/// \return false when the folder can't be read, or not to its end.
bool visitFolder(const QByteArray &path, const std::function<void(const FolderEntry &)> &visit);

/// When a name last came into the folder or left it, since the epoch; nothing when it can't be asked.
/// Thread: any.
std::optional<std::chrono::nanoseconds> folderChangedAt(const QByteArray &path);

} // namespace gateway::platform

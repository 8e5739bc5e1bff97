#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

struct archive;
struct archive_entry;

namespace gateway::dicom_helper::unpack {

/// The archive can't be read to its end: damaged, protected, or of a kind that isn't known.
struct UnreadableArchive : std::runtime_error
{
    explicit UnreadableArchive(bool encrypted)
        : std::runtime_error(encrypted ? "the archive is protected by a password"
                                       : "the archive can't be read"),
          isEncrypted(encrypted)
    {
    }

    bool isEncrypted;
};

/// Reads a zip or rar archive, told by its content, from the first entry to the last.
///
/// Owner: the job. Thread: the job's.
class ArchiveReader
{
public:
    enum class Kind
    {
        file,
        folder,
        other ///< a link, a device, a pipe
    };

    struct Entry
    {
        std::string path; ///< any bytes, from whoever made the archive
        Kind kind = Kind::other;
    };

    /// Reads from an open file; borrows the descriptor. \throws UnreadableArchive
    explicit ArchiveReader(int descriptor);

    /// Reads from memory; borrows it. \throws UnreadableArchive
    explicit ArchiveReader(std::span<const std::byte> bytes);

    /// Goes to the next entry; nothing behind the last. \throws UnreadableArchive
    std::optional<Entry> next();

    /// More of the present entry's content; 0 at its end. \throws UnreadableArchive
    std::size_t read(std::span<std::byte> to);

private:
    struct Freed
    {
        void operator()(archive *reader) const;
    };

    ArchiveReader();
    void require(bool works) const;
    bool isEncrypted() const;

    std::unique_ptr<archive, Freed> m_archive;
    archive_entry *m_entry = nullptr; // owned by the archive
};

} // namespace gateway::dicom_helper::unpack

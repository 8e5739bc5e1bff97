#include "dicom_helper/unpack/archive_reader.h"

#include <archive.h>
#include <archive_entry.h>

#include <cstring>
#include <new>

namespace gateway::dicom_helper::unpack {

namespace {

constexpr std::size_t kBlockBytes = std::size_t{256} * 1024;

ArchiveReader::Kind kindOf(archive_entry *entry)
{
    if (archive_entry_hardlink(entry) != nullptr || archive_entry_symlink(entry) != nullptr) {
        return ArchiveReader::Kind::other;
    }
    switch (archive_entry_filetype(entry)) {
    case AE_IFREG:
    case 0: // an archive that keeps no modes
        return ArchiveReader::Kind::file;
    case AE_IFDIR:
        return ArchiveReader::Kind::folder;
    default:
        return ArchiveReader::Kind::other;
    }
}

/// A name that can't be turned into the locale's encoding is given as UTF-8, or else not at all.
std::string pathOf(archive_entry *entry)
{
    const char *path = archive_entry_pathname(entry);
    if (path == nullptr) {
        path = archive_entry_pathname_utf8(entry);
    }
    return path == nullptr ? std::string() : std::string(path);
}

} // namespace

void ArchiveReader::Freed::operator()(archive *reader) const
{
    archive_read_free(reader);
}

ArchiveReader::ArchiveReader() : m_archive(archive_read_new())
{
    if (!m_archive) {
        throw std::bad_alloc();
    }
    // A zip by its directory at the end alone: without it the archive is cut short, however well it begins.
    archive_read_support_format_zip_seekable(m_archive.get());
    archive_read_support_format_rar(m_archive.get());
    archive_read_support_format_rar5(m_archive.get());
}

ArchiveReader::ArchiveReader(int descriptor) : ArchiveReader()
{
    require(archive_read_open_fd(m_archive.get(), descriptor, kBlockBytes) == ARCHIVE_OK);
}

ArchiveReader::ArchiveReader(std::span<const std::byte> bytes) : ArchiveReader()
{
    require(archive_read_open_memory(m_archive.get(), bytes.data(), bytes.size()) == ARCHIVE_OK);
}

void ArchiveReader::require(bool works) const
{
    if (!works) {
        throw UnreadableArchive(isEncrypted());
    }
}

bool ArchiveReader::isEncrypted() const
{
    // Before a format is found, the library has no answer to these questions, not even a wrong one.
    if (archive_format(m_archive.get()) == 0) {
        return false;
    }
    // The reader of rar's version 5 tells it in its message alone.
    const char *message = archive_error_string(m_archive.get());
    return archive_read_has_encrypted_entries(m_archive.get()) > 0 ||
           (m_entry != nullptr && archive_entry_is_encrypted(m_entry) != 0) ||
           (message != nullptr && std::strstr(message, "ncrypt") != nullptr);
}

std::optional<ArchiveReader::Entry> ArchiveReader::next()
{
    const int result = archive_read_next_header(m_archive.get(), &m_entry);
    if (result == ARCHIVE_EOF) {
        return std::nullopt;
    }
    // A warning is about a name or a time.
    require(result == ARCHIVE_OK || result == ARCHIVE_WARN);
    require(archive_entry_is_encrypted(m_entry) == 0);
    return Entry{pathOf(m_entry), kindOf(m_entry)};
}

std::size_t ArchiveReader::read(std::span<std::byte> to)
{
    // A warning here is a wrong check sum or size: the content isn't what was packed.
    const la_ssize_t count = archive_read_data(m_archive.get(), to.data(), to.size());
    require(count >= 0);
    return static_cast<std::size_t>(count);
}

} // namespace gateway::dicom_helper::unpack

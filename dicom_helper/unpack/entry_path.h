#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::dicom_helper::unpack {

/// Where an entry of an archive may lie below the folder that it is unpacked into. Thread: a plain value.
struct EntryPath
{
    std::vector<std::string> folders; ///< from the outermost in
    std::string name;

    bool operator==(const EntryPath &) const = default;
};

/// An archive's own path for an entry without what could lead out of the folder: drive letters, slashes in
/// front, ".", ".." and empty parts are left out, a backslash parts folders as a slash does, and the path
/// ends at a zero byte. Bytes of any encoding stay as they are.
///
/// \return nothing when no name is left, or when the path is too long or too deep for a file system.
std::optional<EntryPath> tamedPath(std::string_view path);

/// A name for the entry of this number that keeps the extension of its path, for when its own can't be had.
std::string plainName(std::string_view path, std::uint64_t number, int attempt);

} // namespace gateway::dicom_helper::unpack

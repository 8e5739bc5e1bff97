#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gateway::dicom_helper::unpack::testing {

/// One entry as a test wants it, however wrong.
struct SampleEntry
{
    std::string path;
    std::string content;
    std::uint32_t mode = 0100644; ///< POSIX type and permissions
    bool isDeflated = false;      ///< zip alone
    bool isEncrypted = false;     ///< says so; zip alone
    bool hasWrongSum = false;     ///< the check sum doesn't fit the content
};

/// A zip archive (APPNOTE 6.3.3) with these entries, in order.
std::string zipOf(const std::vector<SampleEntry> &entries);

/// A rar archive of version 4 whose files are stored as they are.
std::string rar4Of(const std::vector<SampleEntry> &entries);

/// A rar archive of version 5 whose files are stored as they are.
std::string rar5Of(const std::vector<SampleEntry> &entries);

/// A rar archive of version 5 whose headers are encrypted.
std::string encryptedRar5();

} // namespace gateway::dicom_helper::unpack::testing

#pragma once

#include "dicom_helper/unpack/entry_path.h"
#include "dicom_helper/unpack/entry_sink.h"
#include "platform/descriptors/descriptor.h"

#include <string>

namespace gateway::dicom_helper::unpack {

/// Puts files into a folder that was empty, and nowhere else: every step to a file goes through the folder's
/// own descriptor and follows no link, and no file is ever opened twice.
///
/// What two entries call by one name, or what can't have its name, gets a plain one, so that no file of the
/// archive takes another's place. Owner: the job. Thread: the job's.
class OutputFolder final : public EntrySink
{
public:
    /// \param reserve  bytes of free space on the volume that are left alone.
    /// \throws NoStorage  when the folder can't be opened.
    OutputFolder(const std::string &path, std::uint64_t reserve);

    int descriptor() const { return m_folder.get(); }

    void begin(std::string_view path, std::uint64_t number) override;
    void write(std::span<const std::byte> bytes) override;
    void end() override;

private:
    platform::Descriptor createAt(const EntryPath &path) const;
    void leaveReserve(std::uint64_t bytes);

    platform::Descriptor m_folder;
    std::uint64_t m_reserve;
    std::uint64_t m_uncheckedBytes = 0;
    platform::Descriptor m_file;
};

} // namespace gateway::dicom_helper::unpack

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>

namespace gateway::dicom_helper::unpack {

/// The storage doesn't take what is unpacked. Not the archive's fault.
struct NoStorage : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Where the files of an archive go, one after another.
///
/// Owner: the job. Thread: the job's. Every function throws NoStorage.
class EntrySink
{
public:
    virtual ~EntrySink() = default;

    /// Begins the file of the entry with this number.
    ///
    /// \param path  as the archive has it: any bytes.
    virtual void begin(std::string_view path, std::uint64_t number) = 0;

    /// Adds to the file that was begun.
    virtual void write(std::span<const std::byte> bytes) = 0;

    /// Ends it.
    virtual void end() = 0;
};

} // namespace gateway::dicom_helper::unpack

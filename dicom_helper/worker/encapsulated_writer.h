#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace gateway::dicom_helper::worker {

/// Writing failed: the disk is full, a limit is reached, the file has gone.
class WriteError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Writes pixel data in encapsulated form, one fragment a frame, with a basic offset table (PS3.5 A.4).
///
/// Borrows the descriptor, and writes at its position. Thread: the worker's only one.
class EncapsulatedWriter
{
public:
    /// Writes the element's header and room for the table. \throws WriteError
    EncapsulatedWriter(int descriptor, std::uint64_t frames);

    /// \throws WriteError also where a frame begins beyond what the table's 32 bits can tell.
    void add(std::span<const std::byte> encodedFrame);

    /// Writes the delimiter and fills the table in. \throws WriteError
    void finish();

    /// How many bytes of items were written so far.
    std::uint64_t bytesWritten() const { return m_bytes; }

private:
    void write(std::span<const std::byte> bytes);

    int m_descriptor;
    std::uint64_t m_tableAt = 0;
    std::uint64_t m_bytes = 0;
    std::vector<std::uint32_t> m_offsets;
};

} // namespace gateway::dicom_helper::worker

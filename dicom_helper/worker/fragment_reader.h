#pragma once

#include "dicom_helper/worker/fragments.h"

#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

namespace gateway::dicom_helper::worker {

/// What should be encapsulated pixel data is something else.
class FragmentError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Reads encapsulated pixel data that has one fragment a frame, and holds its offset table to that.
///
/// Thread: the worker's only one. Borrows the source.
class FragmentReader
{
public:
    /// \param offset  of the element's value, where the offset table stands. \throws FragmentError
    FragmentReader(ByteSource &source, std::uint64_t offset, std::uint64_t frames);

    /// The next frame's bytes, valid until the next call. \throws FragmentError
    std::span<const std::byte> next();

    /// True when the sequence's delimiter stands here.
    bool atEnd();

private:
    ByteSource &m_source;
    Fragments m_fragments;
    std::uint64_t m_first; // where the first fragment begins
    std::uint64_t m_index = 0;
    std::vector<std::byte> m_fragment;
};

} // namespace gateway::dicom_helper::worker

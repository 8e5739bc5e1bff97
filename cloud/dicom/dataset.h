#pragma once

#include "cloud/dicom/element_reader.h"

#include <cstddef>
#include <vector>

namespace gateway::cloud {

/// The data set of a DICOM file, ready to be walked: as it lies in the file, or inflated where its transfer
/// syntax deflates it (PS3.5, section A.5). Of a deflated one the first 64 MiB are there, enough for what
/// stands before the pixel data.
///
/// Owner: who reads a file, whose bytes live longer. Thread: one at a time.
class Dataset
{
public:
    /// \throws DicomFormatError  where the meta information can't be read or inflating fails at once.
    explicit Dataset(Bytes file);

    const FileMeta &meta() const { return m_meta; }

    Bytes bytes() const { return m_bytes; }

    Encoding encoding() const { return m_encoding; }

private:
    FileMeta m_meta;
    Encoding m_encoding;
    std::vector<std::byte> m_inflated;
    Bytes m_bytes;
};

} // namespace gateway::cloud

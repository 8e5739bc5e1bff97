#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace gateway::cloud {

/// The bytes aren't a DICOM file, or break its grammar.
///
/// Thread: any; a value.
class DicomFormatError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

using Bytes = std::span<const std::byte>;

/// One element with its value, which lies in the bytes that were read.
///
/// Thread: any; a value, valid as long as those bytes.
struct DicomElement
{
    std::uint32_t tag;
    std::string_view vr;
    Bytes value;
    std::endian order; ///< of the numbers in `value`
};

/// Is told what a data set holds, in its order.
///
/// Owner: the caller of readDataset(). Thread: that one.
class DicomVisitor
{
public:
    virtual ~DicomVisitor() = default;

    virtual void element(const DicomElement &element) = 0;
    virtual void sequenceBegan(std::uint32_t tag) = 0;
    virtual void itemBegan() = 0;
    virtual void itemEnded() = 0;
    virtual void sequenceEnded() = 0;
};

/// How a data set is written (PS3.5, section 7).
enum class Encoding
{
    explicitLittle,
    implicitLittle,
    explicitBig
};

/// What the File Meta Information says (PS3.10, section 7.1).
///
/// Thread: any; a value.
struct FileMeta
{
    std::string transferSyntaxUid;
    std::string sopClassUid;
    std::string sopInstanceUid;
    std::size_t datasetOffset = 0;
};

/// Reads preamble, prefix and meta information of a file. Thread: any.
/// \throws DicomFormatError
FileMeta readFileMeta(Bytes file);

/// Reads a data set up to `stopTag`, at its top level, or to its end. Nesting is followed without recursion,
/// at most 64 deep; values of encapsulated pixel data inside items are passed over. Thread: any.
/// \throws DicomFormatError  where the grammar is broken; the visitor then knows all that stands before.
void readDataset(Bytes dataset, Encoding encoding, std::uint32_t stopTag, DicomVisitor &visitor);

/// The text of a value without the padding at its ends. Thread: any.
std::string_view textOf(Bytes value);

} // namespace gateway::cloud

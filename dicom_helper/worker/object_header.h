#pragma once

#include "dicom_helper/worker/file_layout.h"

#include <map>
#include <memory>
#include <string>

namespace gateway::dicom_helper::worker {

/// Reading elements needs no recursion, so that even an absurd nesting hides no attribute behind it. Memory
/// stays small: 32 bytes a level.
inline constexpr unsigned kDeepestForReading = 100'000;

/// What the jobs need of an object: the raw values of the attributes they know, and where the pixels are.
///
/// Thread: a plain value.
struct ObjectHeader
{
    FileLayout layout;
    DatasetEncoding encoding;
    std::map<Tag, std::string> values; ///< as they stand in the file, the first of each tag; bounded
    std::optional<Element> pixelData;
    ScanEnd end = ScanEnd::running; ///< `running` when the walk stopped at the pixel data
    std::uint64_t endOffset = 0;    ///< in the dataset's bytes, where the walk came to that end
    unsigned elements = 0;          ///< how many the dataset had up to there
    Tag last = 0;                   ///< the last tag of the dataset itself, up to there
    bool isAscending = true;        ///< so are the tags of the dataset itself, up to there (PS3.5 7.1)
    bool hasZeros = false;          ///< zeros stand where an element should begin, behind others

    /// The raw value, empty where it is absent.
    std::string_view raw(Tag tag) const;

    /// The first value as a text of the default repertoire, without padding.
    std::string_view word(Tag tag) const;

    /// The value of an attribute of representation US (or UL).
    std::optional<std::uint32_t> unsignedShort(Tag tag) const;

    /// The first value of an attribute of representation IS.
    std::optional<std::int64_t> integerString(Tag tag) const;
};

/// A file and, where its dataset is deflated, what it unpacks to.
///
/// Owner: the job. Thread: the worker's only one.
class DicomSource
{
public:
    /// Nothing when `path` is no regular file. Here and in all that reads: throws ReadError.
    static std::optional<DicomSource> open(const std::string &path);

    const FileLayout &layout() const { return m_layout; }
    FileBytes &file() { return *m_file; }

    /// The bytes that hold the dataset, and where it begins in them.
    ByteSource &dataset();
    std::uint64_t datasetOffset() const { return m_layout.deflated ? 0 : m_layout.datasetOffset; }

    /// True when `offset` lies so far behind in a deflated dataset that nobody looks there, and the dataset
    /// reaches that far. Nothing before it can be read any more.
    bool isOutOfSight(std::uint64_t offset);

    /// False when a deflated dataset, read to where it seemed to end, was cut short by damage or its limit.
    bool unpackedWhole() const { return !m_inflated || m_inflated->endedWell(); }

private:
    std::unique_ptr<FileBytes> m_file;
    FileLayout m_layout;
    std::unique_ptr<InflatedBytes> m_inflated;
};

/// Reads the elements up to the pixel data. A damaged object gives what stands before the damage.
ObjectHeader readHeader(DicomSource &source);

/// How an object is encoded: what its meta header says, or how the dataset is written where that is native
/// and the meta header is silent or wrong. Empty where nobody can tell.
std::string transferSyntaxOf(const ObjectHeader &header);

} // namespace gateway::dicom_helper::worker

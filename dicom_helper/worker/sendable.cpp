#include "dicom_helper/worker/sendable.h"

#include "dicom_helper/file_header.h"
#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/content_uid.h"
#include "dicom_helper/worker/encapsulated_writer.h"
#include "dicom_helper/worker/identity.h"
#include "dicom_helper/worker/object_end.h"
#include "dicom_helper/worker/output_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <stdexcept>

namespace gateway::dicom_helper::worker {

namespace {

using platform::dicom_protocol::Record;

constexpr std::size_t kPreambleBytes = 128;

/// Where a dataset without an instance UID gets one: the bytes from `offset` on, `skipped` of which stand
/// for an empty one.
struct Gap
{
    std::uint64_t offset = 0;
    std::uint64_t skipped = 0;
};

Gap gapForInstance(DicomSource &source, const DatasetEncoding &encoding)
{
    ElementScanner scanner(source.dataset(), source.datasetOffset(), encoding, {.intoDefinedLength = false});
    std::uint64_t last = scanner.position(); // where the last element outside sequences begins
    while (const auto element = scanner.next()) {
        if (element->depth == 0 && element->tag >= kSopInstanceUid) {
            const bool isEmpty = element->tag == kSopInstanceUid;
            return {element->offset, isEmpty ? element->valueOffset + element->length - element->offset : 0};
        }
        last = element->depth == 0 ? element->offset : last;
    }
    // Never into an element that isn't there whole: it would become part of that one's value.
    const bool isCut = scanner.isInsideSequence() || scanner.end() == ScanEnd::truncated;
    return {isCut ? last : scanner.position(), 0};
}

/// The element (0008,0018) in the dataset's own encoding.
std::string instanceElement(std::string uid, const DatasetEncoding &encoding)
{
    if (uid.size() % 2 != 0) {
        uid.push_back('\0');
    }
    std::string bytes;
    const auto put = [&](std::uint32_t value, unsigned width) {
        for (unsigned at = 0; at < width; ++at) {
            const unsigned shift = 8 * (encoding.bigEndian ? width - 1 - at : at);
            bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
        }
    };
    put(0x0008, 2);
    put(0x0018, 2);
    bytes += encoding.explicitVr ? "UI" : "";
    put(static_cast<std::uint32_t>(uid.size()), encoding.explicitVr ? 2 : 4);
    return bytes + uid;
}

/// Writes the copy that goes up.
class Copy
{
public:
    Copy(ByteSource &from, const std::string &output) : m_from(from), m_file(output) {}

    void text(std::string_view bytes) { write(std::as_bytes(std::span(bytes))); }

    /// The bytes [begin, end) of the source. \throws WriteError, and std::runtime_error when the source
    /// doesn't give them all.
    void range(std::uint64_t begin, std::uint64_t end)
    {
        std::vector<std::byte> piece(std::size_t{256} * 1024);
        while (begin < end) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), end - begin));
            const std::size_t got = m_from.read(begin, std::span(piece).first(wanted));
            if (got == 0) {
                throw std::runtime_error("the file can't be read whole");
            }
            write(std::span(piece).first(got));
            begin += got;
        }
    }

    void keep() { m_file.keep(); }

private:
    void write(std::span<const std::byte> bytes)
    {
        while (!bytes.empty()) {
            const ssize_t wrote = ::write(m_file.descriptor(), bytes.data(), bytes.size());
            if (wrote < 0 && errno == EINTR) {
                continue;
            }
            if (wrote <= 0) {
                throw WriteError("the output can't be written");
            }
            bytes = bytes.subspan(static_cast<std::size_t>(wrote));
        }
    }

    ByteSource &m_from;
    OutputFile m_file;
};

/// One file on its way up.
class Candidate
{
public:
    explicit Candidate(DicomSource source)
        : m_source(std::move(source)), m_header(readHeader(m_source)), m_identity(identityOf(m_header)),
          m_transferSyntax(transferSyntaxOf(m_header)),
          m_lacksInstance(uidText(m_header.raw(kSopInstanceUid)).empty()), m_end(endOf(m_header, m_source)),
          m_endsWell(m_header.layout.deflated || m_end.isTooEarly ||
                     (m_end.offset == m_source.file().size() && m_end.missing.empty()))
    {
    }

    const Identity &identity() const { return m_identity; }
    bool hasTransferSyntax() const { return !m_transferSyntax.empty(); }

    bool agrees() const
    {
        const FileLayout &layout = m_header.layout;
        return layout.isRegular && !lacksInstance() && m_endsWell &&
               layout.mediaStorageSopClass == m_identity.sopClass &&
               layout.mediaStorageSopInstance == m_identity.sopInstance &&
               layout.transferSyntax == m_transferSyntax;
    }

    std::int64_t version()
    {
        return contentVersion(m_source.file(), m_header.layout.datasetOffset, m_transferSyntax);
    }

    void copyTo(const std::string &output)
    {
        const std::uint64_t offset = m_header.layout.datasetOffset;
        const std::uint64_t end = m_endsWell ? m_source.file().size() : m_end.offset;
        const std::string header =
            encodeFileHeader({m_identity.sopClass, m_identity.sopInstance, m_transferSyntax, std::string()});
        Copy copy(m_source.file(), output);
        // Whoever put something into the preamble may look for it.
        copy.text(m_source.file().text(kPreambleBytes, 4) == "DICM"
                      ? m_source.file().text(0, kPreambleBytes) + header.substr(kPreambleBytes)
                      : header);
        if (lacksInstance()) {
            const Gap gap = gapForInstance(m_source, m_header.encoding);
            copy.range(offset, gap.offset);
            copy.text(instanceElement(m_identity.sopInstance, m_header.encoding));
            copy.range(gap.offset + gap.skipped, end);
        } else {
            copy.range(offset, end);
        }
        copy.text(m_end.missing);
        copy.keep();
    }

private:
    /// A deflated dataset stays as it is: nothing can be put into it.
    bool lacksInstance() const { return m_lacksInstance && !m_header.layout.deflated; }

    DicomSource m_source;
    ObjectHeader m_header;
    Identity m_identity;
    std::string m_transferSyntax;
    bool m_lacksInstance;
    ObjectEnd m_end;
    bool m_endsWell; // or in a way that nobody can mend
};

/// The record with what tells whether the file is still the one that was received.
Record versioned(Record record, Candidate &original)
{
    record.setNumber("version", original.version());
    return record;
}

Record ready(const std::string &path, Candidate &original)
{
    const Identity &identity = original.identity();
    const auto nameable = [](const std::string &uid) { return isNameable(uid) ? uid : std::string(); };
    return versioned({"sendable",
                      {{"path", path},
                       {"study", nameable(identity.study)},
                       {"series", nameable(identity.series)},
                       {"instance", identity.sopInstance}}},
                     original);
}

Record failed(const std::string &message)
{
    return {"failed", {{"message", message}}};
}

std::optional<Candidate> candidateAt(const std::string &path)
{
    auto source = DicomSource::open(path);
    return source ? std::optional<Candidate>(std::in_place, std::move(*source)) : std::nullopt;
}

Record madeReady(Candidate &candidate, const std::string &path, const std::string &output)
{
    if (candidate.agrees()) {
        return ready(path, candidate);
    }
    if (!candidate.hasTransferSyntax()) {
        return versioned(failed("how the pixel data is compressed can't be told"), candidate);
    }
    candidate.copyTo(output);
    return ready(output, candidate);
}

/// \param converted  empty where there is no converted form.
Record answerFor(const std::string &path, const std::string &output, const std::string &converted)
try {
    std::optional<Candidate> candidate = candidateAt(path);
    if (!candidate) {
        return failed("it isn't a regular file");
    }
    if (!isNameable(candidate->identity().sopInstance)) {
        return versioned({"nameless", {}}, *candidate);
    }
    if (!converted.empty()) {
        const std::optional<Candidate> form = candidateAt(converted);
        if (form && form->agrees() && form->identity().sopInstance == candidate->identity().sopInstance) {
            Record record = ready(converted, *candidate);
            record.setNumber("converted", 1);
            return record;
        }
        ::unlink(converted.c_str());
    }
    return madeReady(*candidate, path, output);
} catch (const std::bad_alloc &) {
    return failed("the object needs too much memory");
} catch (const WriteError &error) {
    return {"unwritten", {{"message", error.what()}}};
} catch (const std::runtime_error &error) {
    return failed(error.what());
}

} // namespace

Record makeSendable(const std::string &path, const std::string &output)
{
    return answerFor(path, output, {});
}

Record makeConvertedSendable(const std::string &path, const std::string &converted)
{
    return answerFor(path, converted, converted);
}

Record tellVersion(const std::string &path)
try {
    std::optional<Candidate> candidate = candidateAt(path);
    if (!candidate) {
        return failed("it isn't a regular file");
    }
    return versioned({"version", {}}, *candidate);
} catch (const std::bad_alloc &) {
    return failed("the object needs too much memory");
} catch (const std::runtime_error &error) {
    return failed(error.what());
}

} // namespace gateway::dicom_helper::worker

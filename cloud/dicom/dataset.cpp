#include "cloud/dicom/dataset.h"

#include <zlib.h>

#include <algorithm>
#include <limits>

namespace gateway::cloud {

namespace {

constexpr std::string_view kImplicitLittle = "1.2.840.10008.1.2";
constexpr std::string_view kExplicitBig = "1.2.840.10008.1.2.2";
constexpr std::string_view kDeflated = "1.2.840.10008.1.2.1.99";

constexpr std::size_t kMostInflated = 64 * 1024 * 1024;
constexpr std::size_t kPiece = 256 * 1024;

Encoding encodingOf(std::string_view transferSyntaxUid)
{
    if (transferSyntaxUid == kImplicitLittle) {
        return Encoding::implicitLittle;
    }
    return transferSyntaxUid == kExplicitBig ? Encoding::explicitBig : Encoding::explicitLittle;
}

/// A raw deflate stream (RFC 1951) that is being read.
class Inflation
{
public:
    explicit Inflation(Bytes deflated)
    {
        // zlib's interface isn't const-correct; it only reads these.
        m_stream.next_in = const_cast<Bytef *>(reinterpret_cast<const Bytef *>(deflated.data()));
        m_stream.avail_in =
            static_cast<uInt>(std::min<std::size_t>(deflated.size(), std::numeric_limits<uInt>::max()));
        if (inflateInit2(&m_stream, -MAX_WBITS) != Z_OK) {
            throw std::bad_alloc();
        }
    }

    ~Inflation() { inflateEnd(&m_stream); }

    Inflation(const Inflation &) = delete;
    Inflation &operator=(const Inflation &) = delete;

    /// Fills `piece`. \return how much of it; less than all where the stream ends or breaks.
    std::size_t fill(std::span<std::byte> piece)
    {
        m_stream.next_out = reinterpret_cast<Bytef *>(piece.data());
        m_stream.avail_out = static_cast<uInt>(piece.size());
        while (m_stream.avail_out > 0 && inflate(&m_stream, Z_NO_FLUSH) == Z_OK) {
        }
        return piece.size() - m_stream.avail_out;
    }

private:
    z_stream m_stream{};
};

std::vector<std::byte> inflated(Bytes deflated)
{
    Inflation inflation(deflated);
    std::vector<std::byte> result;
    std::size_t filled = 0;
    do {
        result.resize(filled + kPiece);
        filled += inflation.fill(std::span(result).subspan(filled));
    } while (filled == result.size() && filled < kMostInflated);
    result.resize(filled);
    if (result.empty()) {
        throw DicomFormatError("The deflated DICOM data can't be inflated.");
    }
    return result;
}

} // namespace

Dataset::Dataset(Bytes file)
    : m_meta(readFileMeta(file)), m_encoding(encodingOf(m_meta.transferSyntaxUid)),
      m_bytes(file.subspan(m_meta.datasetOffset))
{
    if (m_meta.transferSyntaxUid == kDeflated) {
        m_inflated = inflated(m_bytes);
        m_bytes = m_inflated;
    }
}

} // namespace gateway::cloud

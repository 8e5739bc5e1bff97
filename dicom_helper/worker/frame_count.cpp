#include "dicom_helper/worker/frame_count.h"

#include "dicom_helper/worker/attributes.h"
#include "dicom_helper/worker/fragments.h"

#include <algorithm>

namespace gateway::dicom_helper::worker {

namespace {

/// A coded video frame has at least a header of this size, however little it shows.
constexpr std::uint64_t kSmallestVideoFrame = 8;

std::uint64_t bytesLeft(const ObjectHeader &header, DicomSource &source)
{
    const std::uint64_t size = source.dataset().size();
    const std::uint64_t begin = header.pixelData->valueOffset;
    return size > begin ? size - begin : 0;
}

bool nativeHolds(const ObjectHeader &header, DicomSource &source, std::uint64_t frames)
{
    const std::uint64_t there = std::min<std::uint64_t>(header.pixelData->length, bytesLeft(header, source));
    const auto frameBits = nativeFrameBits(header);
    return frameBits && frames <= (there * 8 + 7) / *frameBits;
}

/// Each frame has a fragment of its own at least (PS3.5 A.4); those that begin inside the file count.
bool fragmentsHold(const ObjectHeader &header, DicomSource &source, std::uint64_t frames)
{
    Fragments fragments(source.dataset(), header.pixelData->valueOffset);
    while (frames > 0 && fragments.next()) {
        --frames;
    }
    return frames == 0;
}

} // namespace

bool isVideo(std::string_view transferSyntax)
{
    constexpr std::string_view prefix = "1.2.840.10008.1.2.4.10";
    return transferSyntax.starts_with(prefix) && transferSyntax.size() > prefix.size();
}

std::optional<std::uint64_t> nativeFrameBits(const ObjectHeader &header)
{
    const std::uint64_t rows = header.unsignedShort(kRows).value_or(0);
    const std::uint64_t columns = header.unsignedShort(kColumns).value_or(0);
    const std::uint64_t samples = std::max(header.unsignedShort(kSamplesPerPixel).value_or(1), 1U);
    const std::uint64_t bits = header.unsignedShort(kBitsAllocated).value_or(0);
    if (rows == 0 || columns == 0 || bits == 0 || rows > 0xFFFF || columns > 0xFFFF || bits > 64 ||
        samples > 0xFFFF) {
        return std::nullopt;
    }
    const std::uint64_t frameBits = rows * columns * samples * bits;
    return header.word(kPhotometricInterpretation) == "YBR_FULL_422" ? frameBits - frameBits / 3 : frameBits;
}

std::optional<std::int64_t> believableFrameCount(const ObjectHeader &header, DicomSource &source)
{
    const auto stated = header.integerString(kNumberOfFrames);
    if (!stated || *stated < 1 || (*stated > 1 && !header.pixelData)) {
        return std::nullopt;
    }
    const auto frames = static_cast<std::uint64_t>(*stated);
    if (frames == 1) {
        return 1;
    }
    bool held = false;
    if (header.pixelData->length != kUndefinedLength) {
        held = nativeHolds(header, source, frames);
    } else if (isVideo(header.layout.transferSyntax)) {
        held = frames <= bytesLeft(header, source) / kSmallestVideoFrame;
    } else {
        held = fragmentsHold(header, source, frames);
    }
    return held ? stated : std::nullopt;
}

} // namespace gateway::dicom_helper::worker

#include "dicom_helper/unpack/unpacker.h"

#include <vector>

namespace gateway::dicom_helper::unpack {

Counts unpackAll(ArchiveReader &archive,
                 EntrySink &sink,
                 const Limits &limits,
                 const std::function<void(const Counts &)> &progress)
{
    std::vector<std::byte> buffer(std::size_t{256} * 1024);
    Counts counts;
    for (std::uint64_t number = 1; const auto entry = archive.next(); ++number) {
        progress(counts);
        if (number > limits.entries) {
            throw TooLarge();
        }
        if (entry->kind != ArchiveReader::Kind::file) {
            counts.leftOut += entry->kind == ArchiveReader::Kind::other ? 1 : 0;
            continue;
        }
        sink.begin(entry->path, number);
        while (const std::size_t count = archive.read(buffer)) {
            // Counted as it comes: what an archive says of its own sizes may be a lie.
            counts.bytes += count;
            if (counts.bytes > limits.bytes) {
                throw TooLarge();
            }
            sink.write(std::span(buffer).first(count));
            progress(counts);
        }
        sink.end();
        ++counts.files;
    }
    return counts;
}

} // namespace gateway::dicom_helper::unpack

#include "dicom_helper/worker/element_scanner.h"

#include <cstdint>
#include <cstdlib>
#include <span>

namespace worker = gateway::dicom_helper::worker;

/// The first byte picks the encoding and the options; the rest is the dataset. The walk must end, with no
/// more elements than there is room for and never deeper than allowed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const worker::DatasetEncoding encoding{(data[0] & 1U) != 0, (data[0] & 2U) != 0};
    worker::ElementScanner::Options options;
    options.intoDefinedLength = (data[0] & 4U) != 0;
    options.intoGroup = (data[0] & 8U) != 0 ? 0x5200 : 0;
    worker::MemoryBytes source(std::as_bytes(std::span(data + 1, size - 1)));
    worker::ElementScanner scanner(source, 0, encoding, options);
    std::size_t elements = 0;
    while (const auto element = scanner.next()) {
        ++elements;
        if (element->depth > options.deepest || element->valueOffset > source.size() || elements > size / 8) {
            std::abort();
        }
    }
    if (scanner.end() == worker::ScanEnd::running) {
        std::abort();
    }
    return 0;
}

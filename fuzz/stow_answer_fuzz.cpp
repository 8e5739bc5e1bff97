#include "cloud_client/stow_answer.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// The first byte chooses the notation, the rest is the body. Whatever comes in, a reference is never empty.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const QByteArray type = data[0] == 'x' ? "application/dicom+xml" : "application/dicom+json";
    const QByteArray body(reinterpret_cast<const char *>(data + 1), static_cast<qsizetype>(size - 1));
    const auto answer = gateway::cloud_client::parseStowAnswer(type, body);
    if (answer && answer->referenced.contains(gateway::cloud_client::StowReference())) {
        std::abort();
    }
    return 0;
}

#include "platform/quorin_api/dicom_meta_header.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// The input stands behind preamble and prefix. What is accepted as an instance is short and harmless.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray file = QByteArray(128, '\0') + "DICM" +
                            QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto header = gateway::platform::readDicomMetaHeader(file);
    if (header) {
        const QByteArray &uid = header->sopInstanceUid;
        if (uid.isEmpty() || uid.size() > 64 || uid.contains('*') || uid.contains('\r') ||
            uid.contains('"')) {
            std::abort();
        }
    }
    return 0;
}

#include "cloud/dicom/dicom_json.h"
#include "cloud/dicom/summary.h"

#include <QtCore/QJsonDocument>

#include <cstdint>
#include <cstdlib>

/// A file is summarized or refused, and whatever is summarized can be shown as JSON and names an instance.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    namespace cloud = gateway::cloud;
    const cloud::Bytes file = std::as_bytes(std::span(data, size));
    for (const cloud::Encoding encoding :
         {cloud::Encoding::explicitLittle, cloud::Encoding::implicitLittle, cloud::Encoding::explicitBig}) {
        QJsonDocument(cloud::jsonFromDataset(file, encoding)).toJson();
    }
    try {
        const cloud::DicomSummary summary = cloud::summarize(file);
        if (summary.value(0x00080018).isEmpty() || summary.value(0x0020000D).isEmpty()) {
            std::abort();
        }
    } catch (const cloud::DicomFormatError &) {
        return 0;
    }
    return 0;
}

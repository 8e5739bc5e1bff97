#include "cloud/dicom/summary.h"

#include "cloud/dicom/attributes.h"
#include "cloud/dicom/character_set.h"

#include <cstring>

namespace gateway::cloud {

namespace {

constexpr std::string_view kImplicitLittle = "1.2.840.10008.1.2";
constexpr std::string_view kExplicitBig = "1.2.840.10008.1.2.2";
constexpr std::string_view kDeflated = "1.2.840.10008.1.2.1.99";

/// Keeps the indexed attributes of the top level.
class SummaryBuilder final : public DicomVisitor
{
public:
    explicit SummaryBuilder(DicomSummary &summary) : m_summary(summary) {}

    void element(const DicomElement &element) override
    {
        if (m_depth > 0) {
            return;
        }
        if (element.tag == kSpecificCharacterSet) {
            m_characterSet = textOf(element.value);
        }
        const Attribute *attribute = indexedAttribute(element.tag);
        if (attribute == nullptr || attribute->counted) {
            return;
        }
        if (std::string_view(attribute->vr) == "US") {
            if (element.value.size() >= 2) {
                std::uint16_t number = 0;
                std::memcpy(&number, element.value.data(), sizeof number);
                m_summary.attributes[element.tag] = QString::number(number);
            }
            return;
        }
        m_summary.attributes[element.tag] = decodeText(textOf(element.value), m_characterSet);
    }

    void sequenceBegan(std::uint32_t) override { ++m_depth; }

    void itemBegan() override {}

    void itemEnded() override {}

    void sequenceEnded() override { --m_depth; }

private:
    DicomSummary &m_summary;
    std::string m_characterSet;
    int m_depth = 0;
};

void replaceIfEmpty(QString &text, const QString &substitute)
{
    if (text.isEmpty()) {
        text = substitute;
    }
}

} // namespace

QString DicomSummary::value(std::uint32_t tag) const
{
    const auto found = attributes.find(tag);
    return found == attributes.end() ? QString() : found->second;
}

Encoding encodingOf(const std::string &transferSyntaxUid)
{
    return transferSyntaxUid == kImplicitLittle ? Encoding::implicitLittle : Encoding::explicitLittle;
}

bool isReadableSyntax(const std::string &transferSyntaxUid)
{
    return transferSyntaxUid != kExplicitBig && transferSyntaxUid != kDeflated;
}

DicomSummary summarize(Bytes file)
{
    DicomSummary summary;
    summary.meta = readFileMeta(file);
    if (isReadableSyntax(summary.meta.transferSyntaxUid)) {
        SummaryBuilder builder(summary);
        try {
            readDataset(file.subspan(summary.meta.datasetOffset),
                        encodingOf(summary.meta.transferSyntaxUid),
                        kFloatPixelData,
                        builder);
        } catch (const DicomFormatError &) {
            // What stands before the break is good enough to find the object by; its bytes are kept as they
            // are.
            if (summary.meta.sopInstanceUid.empty() && summary.value(kSopInstanceUid).isEmpty()) {
                throw;
            }
        }
    }
    QString &sopInstance = summary.attributes[kSopInstanceUid];
    replaceIfEmpty(sopInstance, QString::fromStdString(summary.meta.sopInstanceUid));
    if (sopInstance.isEmpty()) {
        throw DicomFormatError("The DICOM file names no SOP instance.");
    }
    replaceIfEmpty(summary.attributes[kSopClassUid], QString::fromStdString(summary.meta.sopClassUid));
    replaceIfEmpty(summary.attributes[kStudyInstanceUid], sopInstance);
    replaceIfEmpty(summary.attributes[kSeriesInstanceUid], sopInstance);
    summary.attributes[kAvailableTransferSyntaxUid] = QString::fromStdString(summary.meta.transferSyntaxUid);
    return summary;
}

} // namespace gateway::cloud

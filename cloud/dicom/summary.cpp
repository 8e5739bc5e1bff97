#include "cloud/dicom/summary.h"

#include "cloud/dicom/attributes.h"
#include "cloud/dicom/character_set.h"
#include "cloud/dicom/dataset.h"

namespace gateway::cloud {

namespace {

int firstNumber(const DicomElement &element)
{
    const std::size_t low = element.order == std::endian::big ? 1 : 0;
    return std::to_integer<int>(element.value[low]) | (std::to_integer<int>(element.value[1 - low]) << 8);
}

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
                m_summary.attributes[element.tag] = QString::number(firstNumber(element));
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

/// True where the object itself says which instance it is, and of what. What stands before a break is then
/// good enough to find the object by; its bytes are kept as they are.
bool hasItsPlace(const DicomSummary &summary)
{
    return !summary.value(kSopInstanceUid).isEmpty() && !summary.value(kSeriesInstanceUid).isEmpty() &&
           !summary.value(kStudyInstanceUid).isEmpty();
}

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

DicomSummary summarize(Bytes file)
{
    const Dataset dataset(file);
    DicomSummary summary;
    summary.meta = dataset.meta();
    SummaryBuilder builder(summary);
    try {
        readDataset(dataset.bytes(), dataset.encoding(), kFloatPixelData, builder);
    } catch (const DicomFormatError &) {
        if (!hasItsPlace(summary)) {
            throw;
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

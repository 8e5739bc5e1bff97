#include "cloud/testing/dicom_builder.h"

#include <QtCore/QList>

namespace gateway::cloud::testing {

namespace {

bool hasLongLength(const QByteArray &vr)
{
    return QByteArray("OB OW OF OD UN SQ UT UC UR").split(' ').contains(vr);
}

/// A raw deflate stream: what zlib's format adds around it is cut off.
QByteArray deflated(const QByteArray &bytes)
{
    return qCompress(bytes).mid(4 + 2).chopped(4);
}

} // namespace

DatasetBuilder &DatasetBuilder::add(std::uint32_t tag, const char *vr, QByteArray value)
{
    if (value.size() % 2 != 0) {
        value.append(qstrcmp(vr, "UI") == 0 ? '\0' : ' ');
    }
    head(tag, vr, static_cast<std::uint32_t>(value.size()));
    return raw(value);
}

DatasetBuilder &DatasetBuilder::head(std::uint32_t tag, const char *vr, std::uint32_t length)
{
    number16(static_cast<std::uint16_t>(tag >> 16U));
    number16(static_cast<std::uint16_t>(tag & 0xFFFFU));
    if (m_implicit) {
        number32(length);
        return *this;
    }
    m_bytes.append(vr, 2);
    if (hasLongLength(vr)) {
        number16(0);
        number32(length);
    } else {
        number16(static_cast<std::uint16_t>(length));
    }
    return *this;
}

DatasetBuilder &DatasetBuilder::mark(std::uint32_t tag, std::uint32_t length)
{
    number16(static_cast<std::uint16_t>(tag >> 16U));
    number16(static_cast<std::uint16_t>(tag & 0xFFFFU));
    number32(length);
    return *this;
}

DatasetBuilder &DatasetBuilder::raw(const QByteArray &bytes)
{
    m_bytes.append(bytes);
    return *this;
}

void DatasetBuilder::number16(std::uint16_t value)
{
    const auto low = static_cast<char>(value & 0xFFU);
    const auto high = static_cast<char>(value >> 8U);
    m_bytes.append(m_bigEndian ? high : low).append(m_bigEndian ? low : high);
}

void DatasetBuilder::number32(std::uint32_t value)
{
    const auto low = static_cast<std::uint16_t>(value & 0xFFFFU);
    const auto high = static_cast<std::uint16_t>(value >> 16U);
    number16(m_bigEndian ? high : low);
    number16(m_bigEndian ? low : high);
}

QByteArray fileHead(const QByteArray &transferSyntaxUid, const QByteArray &sopInstanceUid)
{
    DatasetBuilder meta;
    meta.add(0x00020002, "UI", "1.2.840.10008.5.1.4.1.1.2");
    if (!sopInstanceUid.isEmpty()) {
        meta.add(0x00020003, "UI", sopInstanceUid);
    }
    meta.add(0x00020010, "UI", transferSyntaxUid);
    return QByteArray(128, '\0') + "DICM" + meta.bytes();
}

QByteArray sampleFile(const Sample &sample)
{
    const bool isBig = sample.transferSyntaxUid == "1.2.840.10008.1.2.2";
    DatasetBuilder dataset(sample.transferSyntaxUid == "1.2.840.10008.1.2", isBig);
    dataset.add(0x00080005, "CS", sample.characterSet)
        .add(0x00080016, "UI", "1.2.840.10008.5.1.4.1.1.2")
        .add(0x00080018, "UI", sample.sopInstanceUid)
        .add(0x00080020, "DA", sample.studyDate)
        .add(0x00080060, "CS", sample.modality)
        .add(0x00081030, "LO", "Thorax")
        .add(0x00100010, "PN", sample.patientName)
        .add(0x00100020, "LO", sample.patientId)
        .add(0x0020000D, "UI", sample.studyUid)
        .add(0x0020000E, "UI", sample.seriesUid)
        .add(0x00200011, "IS", "2")
        .add(0x00280010, "US", isBig ? QByteArray("\x00\x10", 2) : QByteArray("\x10\x00", 2))
        .add(0x7FE00010, "OW", sample.pixels);
    const bool isDeflated = sample.transferSyntaxUid == "1.2.840.10008.1.2.1.99";
    return fileHead(sample.transferSyntaxUid, sample.sopInstanceUid) +
           (isDeflated ? deflated(dataset.bytes()) : dataset.bytes());
}

Sample sampleNumber(int number)
{
    Sample sample;
    sample.sopInstanceUid = "1.2.3.1." + QByteArray::number(number);
    return sample;
}

QByteArray multipartBody(const QList<QByteArray> &files)
{
    QByteArray body;
    for (const QByteArray &file : files) {
        body += QByteArray("--") + kBoundary + "\r\nContent-Type: application/dicom\r\n\r\n" + file + "\r\n";
    }
    return body + "--" + kBoundary + "--\r\n";
}

} // namespace gateway::cloud::testing

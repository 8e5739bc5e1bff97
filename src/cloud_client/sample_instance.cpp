#include "cloud_client/sample_instance.h"

#include <QtCore/QString>
#include <QtCore/QUuid>
#include <QtCore/QtEndian>

namespace gateway::cloud_client {

namespace {

constexpr quint16 kSide = 16; // pixels
const QByteArray kSecondaryCapture = "1.2.840.10008.5.1.4.1.1.7";
const QByteArray kExplicitLittleEndian = "1.2.840.10008.1.2.1";

QByteArray number16(quint16 value)
{
    QByteArray bytes(2, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray number32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

/// One element with explicit VR (PS3.5 7.1.2), padded to an even length.
QByteArray element(quint16 group, quint16 number, const QByteArray &representation, QByteArray value)
{
    if (value.size() % 2 != 0) {
        value += representation == "UI" || representation == "OB" ? '\0' : ' ';
    }
    const bool isLong = representation == "OB";
    return number16(group) + number16(number) + representation +
           (isLong ? number16(0) + number32(static_cast<quint32>(value.size()))
                   : number16(static_cast<quint16>(value.size()))) +
           value;
}

QByteArray newUid()
{
    // 2.25. and a UUID as one whole number, by long division of its bytes.
    QByteArray rest = QUuid::createUuid().toRfc4122();
    QByteArray digits;
    while (!rest.isEmpty()) {
        int carry = 0;
        QByteArray quotient;
        for (const char byte : rest) {
            const int value = carry * 256 + static_cast<unsigned char>(byte);
            if (!quotient.isEmpty() || value >= 10) {
                quotient += static_cast<char>(value / 10);
            }
            carry = value % 10;
        }
        digits.prepend(static_cast<char>('0' + carry));
        rest = quotient;
    }
    return "2.25." + digits;
}

QByteArray pixelModule()
{
    return element(0x0028, 0x0002, "US", number16(1)) + element(0x0028, 0x0004, "CS", "MONOCHROME2") +
           element(0x0028, 0x0010, "US", number16(kSide)) + element(0x0028, 0x0011, "US", number16(kSide)) +
           element(0x0028, 0x0100, "US", number16(8)) + element(0x0028, 0x0101, "US", number16(8)) +
           element(0x0028, 0x0102, "US", number16(7)) + element(0x0028, 0x0103, "US", number16(0)) +
           element(0x7FE0, 0x0010, "OB", QByteArray(kSide * kSide, '\x80'));
}

QByteArray fileHeader(const QByteArray &instance)
{
    const QByteArray meta =
        element(0x0002, 0x0001, "OB", QByteArray("\0\1", 2)) +
        element(0x0002, 0x0002, "UI", kSecondaryCapture) + element(0x0002, 0x0003, "UI", instance) +
        element(0x0002, 0x0010, "UI", kExplicitLittleEndian) + element(0x0002, 0x0012, "UI", newUid());
    return QByteArray(128, '\0') + "DICM" +
           element(0x0002, 0x0000, "UL", number32(static_cast<quint32>(meta.size()))) + meta;
}

} // namespace

SampleInstance makeSampleInstance(const QDateTime &madeAt)
{
    const QByteArray study = newUid();
    const QByteArray series = newUid();
    const QByteArray instance = newUid();
    const QByteArray day = madeAt.toString(QStringLiteral("yyyyMMdd")).toLatin1();
    const QByteArray time = madeAt.toString(QStringLiteral("HHmmss")).toLatin1();
    const QByteArray dataset =
        element(0x0008, 0x0005, "CS", "ISO_IR 192") + element(0x0008, 0x0016, "UI", kSecondaryCapture) +
        element(0x0008, 0x0018, "UI", instance) + element(0x0008, 0x0020, "DA", day) +
        element(0x0008, 0x0030, "TM", time) + element(0x0008, 0x0050, "SH", "") +
        element(0x0008, 0x0060, "CS", "OT") + element(0x0008, 0x0064, "CS", "SYN") +
        element(0x0008, 0x0090, "PN", "") + element(0x0008, 0x1030, "LO", "Test of the archive") +
        element(0x0010, 0x0010, "PN", "GATEWAY^TEST") + element(0x0010, 0x0020, "LO", "GATEWAY-TEST") +
        element(0x0010, 0x0030, "DA", "") + element(0x0010, 0x0040, "CS", "O") +
        element(0x0020, 0x000D, "UI", study) + element(0x0020, 0x000E, "UI", series) +
        element(0x0020, 0x0010, "SH", "1") + element(0x0020, 0x0011, "IS", "1") +
        element(0x0020, 0x0013, "IS", "1") + pixelModule();
    return {{platform::StudyUid(QString::fromLatin1(study)),
             platform::SeriesUid(QString::fromLatin1(series)),
             platform::InstanceUid(QString::fromLatin1(instance))},
            dataset,
            fileHeader(instance) + dataset};
}

} // namespace gateway::cloud_client

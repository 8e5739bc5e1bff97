#include "cloud_client/testing/sample_files.h"

#include <QtCore/QFile>

#include <stdexcept>

namespace gateway::cloud_client::testing {

namespace {

QByteArray littleEndian(int value)
{
    QByteArray bytes;
    bytes.append(static_cast<char>(value & 0xff));
    bytes.append(static_cast<char>((value >> 8) & 0xff));
    return bytes;
}

QByteArray padded(QByteArray uid)
{
    return uid.size() % 2 == 0 ? uid : uid.append('\0');
}

} // namespace

QByteArray shortElement(int group, int number, const QByteArray &representation, const QByteArray &value)
{
    return littleEndian(group) + littleEndian(number) + representation +
           littleEndian(static_cast<int>(value.size())) + value;
}

QByteArray metaHeader(const QByteArray &sopInstanceUid, const QByteArray &transferSyntax)
{
    const QByteArray version =
        QByteArray::fromHex("02000100") + "OB" + QByteArray::fromHex("0000020000000001");
    const QByteArray group = version + shortElement(2, 2, "UI", padded("1.2.840.10008.5.1.4.1.1.2")) +
                             shortElement(2, 3, "UI", padded(sopInstanceUid)) +
                             shortElement(2, 0x10, "UI", padded(transferSyntax)) +
                             shortElement(2, 0x12, "UI", padded("1.2.3.4"));
    const auto length = static_cast<int>(group.size());
    return QByteArray(128, '\0') + "DICM" +
           shortElement(2, 0, "UL", littleEndian(length) + littleEndian(length >> 16)) + group;
}

StowFile identified(const QUrl &url)
{
    static const QByteArray tag = QByteArray::fromHex("02000300") + "UI";
    QFile file(url.toLocalFile());
    const QByteArray start = file.open(QIODevice::ReadOnly) ? file.read(1024) : QByteArray();
    const qsizetype at = start.indexOf(tag);
    if (at < 0) {
        return {url, {}};
    }
    QByteArray uid = start.mid(at + 8, static_cast<unsigned char>(start[at + 6]));
    uid.replace('\0', "");
    return {url, {{}, {}, platform::InstanceUid(QString::fromLatin1(uid))}};
}

QList<StowFile> identified(const QList<QUrl> &urls)
{
    QList<StowFile> files;
    for (const QUrl &url : urls) {
        files.append(identified(url));
    }
    return files;
}

QUrl SampleFiles::dicom(const QByteArray &sopInstanceUid, qsizetype payload)
{
    return file(QString::fromLatin1(sopInstanceUid) + QStringLiteral(".dcm"),
                metaHeader(sopInstanceUid) + QByteArray(payload, 'p'));
}

QUrl SampleFiles::file(const QString &name, const QByteArray &bytes)
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        throw std::runtime_error("a sample file could not be written");
    }
    return QUrl::fromLocalFile(file.fileName());
}

} // namespace gateway::cloud_client::testing

#include "index/testing/synthetic_files.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QFile>
#include <QtCore/QIODevice>
#include <QtCore/QtEndian>

#include <cerrno>
#include <stdexcept>

namespace gateway::index::testing {

namespace {

constexpr qsizetype kDigestBytes = 32;

QByteArray digest(const QByteArray &body)
{
    return QCryptographicHash::hash(body, QCryptographicHash::Sha256);
}

} // namespace

void writeSyntheticFile(const QString &path, const platform::DicomElements &elements)
{
    QByteArray body;
    QDataStream stream(&body, QIODevice::WriteOnly);
    stream << elements;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(digest(body) + body) < 0) {
        throw std::runtime_error("a synthetic file could not be written");
    }
}

platform::ParsedFile SyntheticParser::parse(const QString &path)
{
    platform::ParsedFile file = parseWithVersion(path);
    file.version = 0;
    return file;
}

platform::ParsedFile SyntheticParser::parseWithVersion(const QString &path)
{
    m_onParse();
    return read(path);
}

platform::ParsedFile SyntheticParser::read(const QString &path) const
{
    using Fate = platform::ParsedFile::Fate;
    if (m_fate != Fate::parsed) {
        return {m_fate, {}, 0, QStringLiteral("the parser broke down")};
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {Fate::trouble, {}, ENOENT, file.errorString()};
    }
    const QByteArray bytes = file.readAll();
    const QByteArray body = bytes.mid(kDigestBytes);
    if (body.isEmpty() || digest(body) != bytes.left(kDigestBytes)) {
        return {Fate::notDicom};
    }
    platform::DicomElements elements;
    QDataStream stream(body);
    stream >> elements;
    platform::DicomElements dataset = elements;
    dataset.remove(QStringLiteral("header"));
    QByteArray content;
    QDataStream written(&content, QIODevice::WriteOnly);
    written << dataset;
    return {.fate = Fate::parsed,
            .elements = elements,
            .version = 1 + qFromBigEndian<quint32>(digest(content).constData())};
}

std::int64_t SyntheticParser::versionOf(const QString &path)
{
    return read(path).version;
}

} // namespace gateway::index::testing

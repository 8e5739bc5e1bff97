#include "index/testing/synthetic_files.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QFile>
#include <QtCore/QIODevice>

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

std::optional<platform::DicomElements> SyntheticParser::parse(const QString &path)
{
    if (m_broken) {
        throw std::runtime_error("the parser broke down");
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    const QByteArray body = bytes.mid(kDigestBytes);
    if (body.isEmpty() || digest(body) != bytes.left(kDigestBytes)) {
        return std::nullopt;
    }
    platform::DicomElements elements;
    QDataStream stream(body);
    stream >> elements;
    return elements;
}

} // namespace gateway::index::testing

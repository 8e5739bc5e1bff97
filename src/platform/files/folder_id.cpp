#include "platform/files/folder_id.h"

#include "platform/files/files.h"

#include <QtCore/QFile>
#include <QtCore/QUuid>

#include <algorithm>

namespace gateway::platform {

namespace {

constexpr qsizetype kDigits = 32;

QString idFileIn(const QString &folder)
{
    return folder + QStringLiteral("/.id");
}

bool isId(const QByteArray &text)
{
    return text.size() == kDigits && std::ranges::all_of(text, [](char digit) {
               return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f');
           });
}

} // namespace

std::optional<QString> folderId(const QString &folder)
{
    QFile file(idFileIn(folder));
    if (!file.open(QIODevice::ReadOnly)) {
        return isKnownToBeAbsent(file.fileName()) ? std::optional(QString()) : std::nullopt;
    }
    const QByteArray text = file.read(kDigits + 2).trimmed();
    if (file.error() != QFileDevice::NoError) {
        return std::nullopt;
    }
    return isId(text) ? QString::fromLatin1(text) : QString();
}

bool isUnfinishedFolderId(const QString &name)
{
    return isPartOf(idFileIn(QString()), name);
}

QString newFolderId()
{
    return QUuid::createUuid().toString(QUuid::Id128);
}

void giveFolderId(const QString &folder, const QString &id, FileSystem &files)
{
    writeFileDurably(idFileIn(folder), id.toLatin1() + '\n', files);
}

QString giveFolderId(const QString &folder, FileSystem &files)
{
    QString id = newFolderId();
    giveFolderId(folder, id, files);
    return id;
}

} // namespace gateway::platform

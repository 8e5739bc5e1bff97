#include "platform/dicom/inbox_files.h"

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>

namespace gateway::platform {

namespace {

/// The name that the listener gives: 128 random bits for the association, the object's number in it.
bool isListenersName(const QString &name)
{
    static const QRegularExpression kName(QStringLiteral("\\Aquorin-[0-9a-f]{32}-[0-9]+\\.dcm\\z"));
    return kName.match(name).hasMatch();
}

} // namespace

QStringList completeInboxFiles(const QString &folder)
{
    const QDir inbox(folder);
    const QFileInfoList entries = inbox.entryInfoList(
        {QStringLiteral("quorin-*.dcm")}, QDir::Files | QDir::NoSymLinks, QDir::Time | QDir::Reversed);
    QStringList paths;
    for (const QFileInfo &entry : entries) {
        if (isListenersName(entry.fileName())) {
            paths.append(entry.absoluteFilePath());
        }
    }
    return paths;
}

std::optional<QString> inboxFile(const QString &folder, const QString &name)
{
    if (!isListenersName(name)) {
        return std::nullopt;
    }
    return QFileInfo(QDir(folder), name).absoluteFilePath();
}

} // namespace gateway::platform

#include "platform/dicom/inbox_files.h"

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>

namespace gateway::platform {

QStringList completeInboxFiles(const QString &folder)
{
    // The name that the listener gives: 128 bits of chance for the association, the object's number in it.
    static const QRegularExpression kName(QStringLiteral("\\Aquorin-[0-9a-f]{32}-[0-9]+\\.dcm\\z"));
    const QDir inbox(folder);
    const QFileInfoList entries = inbox.entryInfoList(
        {QStringLiteral("quorin-*.dcm")}, QDir::Files | QDir::NoSymLinks, QDir::Time | QDir::Reversed);
    QStringList paths;
    for (const QFileInfo &entry : entries) {
        if (kName.match(entry.fileName()).hasMatch()) {
            paths.append(entry.absoluteFilePath());
        }
    }
    return paths;
}

} // namespace gateway::platform

#include "log/writing/log_folder_room.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <numeric>

namespace gateway::log {

void LogFolderRoom::tidy(const QString &folder, const QString &activeFile, qint64 fileBytes)
{
    // The names begin with the time, so that the oldest come first.
    const QFileInfoList files = QDir(folder).entryInfoList(
        {QStringLiteral("gateway-transfer-*.jsonl")}, QDir::Files | QDir::NoSymLinks, QDir::Name);
    qint64 bytes =
        std::accumulate(files.begin(), files.end(), qint64{0}, [](qint64 sum, const QFileInfo &file) {
            return sum + file.size();
        });
    const qint64 limit = m_limitBytes();
    for (const QFileInfo &oldest : files) {
        if (limit <= 0 || bytes + fileBytes <= limit) {
            break;
        }
        if (oldest.fileName() != QFileInfo(activeFile).fileName() && QFile::remove(oldest.filePath())) {
            bytes -= oldest.size();
        }
    }
    m_bytes = bytes;
}

} // namespace gateway::log

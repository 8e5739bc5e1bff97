#include "app/dicom_dictionary.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>

namespace gateway::app {

std::optional<QString> installedDicomDictionary()
{
    const QString path = QDir::cleanPath(QCoreApplication::applicationDirPath() +
                                         QStringLiteral("/../share/quorin-gateway/dicom.dic"));
    return QFile::exists(path) ? std::optional(path) : std::nullopt;
}

void announceDicomDictionary(const QString &path)
{
    ::qputenv("DCMDICTPATH", QFile::encodeName(path));
}

} // namespace gateway::app

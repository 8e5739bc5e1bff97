#include "app/dicom_dictionary.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

namespace gateway::app {

void announceDicomDictionary(const QString &programFolder)
{
    const QString path =
        QDir::cleanPath(programFolder + QStringLiteral("/../share/quorin-gateway/dicom.dic"));
    ::qputenv("DCMDICTPATH", QFile::exists(path) ? QFile::encodeName(path) : QByteArray());
}

} // namespace gateway::app

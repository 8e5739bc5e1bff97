#include "index/gateway_import_error.h"

#include <utility>

namespace gateway::index {

GatewayImportError::GatewayImportError(Kind kind, Blame blame, QString underlying, int code)
    : m_kind(kind), m_blame(blame), m_underlying(std::move(underlying)), m_code(code),
      m_what(errorDescription().toUtf8())
{
}

QString GatewayImportError::errorDescription() const
{
    switch (m_kind) {
    case Kind::copyToTemporaryFailed:
        return QStringLiteral("Could not copy incoming file to a temporary location.");
    case Kind::invalidSourceURL:
        return QStringLiteral("Invalid source file URL for import.");
    case Kind::dicomParseFailed:
        return QStringLiteral("Could not parse incoming file as DICOM.");
    case Kind::moveToLocalDirectoryFailed:
        return QStringLiteral("Could not move imported file to local storage.");
    case Kind::databaseSaveRejected:
        return QStringLiteral("DICOM metadata could not be persisted.");
    case Kind::objectDamaged:
        return QStringLiteral("The file ends before its DICOM object does.");
    }
    return {};
}

} // namespace gateway::index

#include "upload/removal_record.h"

namespace gateway::upload {

namespace {

using index::RemovalReason;

QString wordFor(RemovalReason reason)
{
    switch (reason) {
    case RemovalReason::retention:
        return QStringLiteral("retention");
    case RemovalReason::deletion:
        return QStringLiteral("deletion");
    case RemovalReason::superseded:
        return QStringLiteral("superseded");
    case RemovalReason::unrecorded:
        return QStringLiteral("unrecorded");
    case RemovalReason::resumed:
        break;
    }
    return QStringLiteral("resumed");
}

} // namespace

log::StoreLogRecord removalRecord(const QUrl &file, RemovalReason reason)
{
    return {.level = log::GatewayLogLevel::info,
            .category = log::GatewayLogCategory::uploadQueue,
            .action = log::GatewayLogAction::incomingFileDeleted,
            .outcome = log::GatewayLogOutcome::completed,
            .fileURL = file,
            .details = {{QStringLiteral("reason"), wordFor(reason)}}};
}

} // namespace gateway::upload

#include "platform/quorin_api/qrn_stow_api.h"

#include "platform/quorin_api/stow_batch.h"

namespace gateway::platform {

QVariantMap
QrnStowAPI::upload(const QList<QUrl> &files, const QString &deviceId, const UploadProgressCallback &progress)
{
    return StowBatch(m_client, files, deviceId, progress).run();
}

QVariantMap QrnStowAPI::upload(const QUrl &fileUrl,
                               const QString &deviceId,
                               const UploadProgressCallback &progressCompletion)
{
    return StowBatch(m_client, {fileUrl}, deviceId, progressCompletion).run();
}

} // namespace gateway::platform

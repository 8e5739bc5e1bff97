#pragma once

#include "index/dicom_db.h"
#include "upload/upload_ports.h"

namespace gateway::upload {

/// The index as upload runs see it. Owner: app. Thread: any.
class DicomDBUploadIndex final : public UploadIndex
{
public:
    /// \param database  outlives this.
    explicit DicomDBUploadIndex(index::DicomDB &database) : m_database(database) {}

    index::RecoveryCounts recoverInProgressImages() override { return m_database.recoverInProgressImages(); }

    QList<index::PendingImageUpload> pendingImageUploads(int limit, index::PendingCursor &cursor) override
    {
        return m_database.pendingImageUploads(limit, cursor);
    }

    void markImagesInProgress(const QList<index::ImageObjectID> &imageObjectIDs) override
    {
        m_database.markImagesInProgress(imageObjectIDs);
    }

    std::int64_t recordUploadResult(const QList<index::ImageObjectID> &imageObjectIDs,
                                    const QString &storagePath,
                                    bool synced,
                                    const index::SentInstance &sent) override
    {
        return m_database.recordUploadResult(imageObjectIDs, storagePath, synced, sent);
    }

    bool mayOtherVersionBeSent(const index::SentInstance &sent) override
    {
        return m_database.mayOtherVersionBeSent(sent);
    }

    void recordUploadFailure(const QString &storagePath,
                             const core::Failure &failure,
                             std::span<const std::chrono::seconds> pauses) override
    {
        m_database.recordUploadFailure(
            storagePath, QString(core::rawValue(failure.failureClass)), failure.code, pauses);
    }

    std::optional<QDateTime> nextRetry() override { return m_database.nextRetry(); }

    void releaseRetries() override { m_database.releaseRetries(); }

    std::int64_t resetInProgressImages(const QList<index::ImageObjectID> &imageObjectIDs) override
    {
        return m_database.resetInProgressImages(imageObjectIDs);
    }

private:
    index::DicomDB &m_database;
};

} // namespace gateway::upload

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

    std::optional<QList<index::PendingImageUpload>> pendingImageUploads(int limit,
                                                                        index::PendingCursor &cursor) override
    {
        return m_database.pendingImageUploads(limit, cursor);
    }

    void markImagesInProgress(const QList<index::ImageObjectID> &imageObjectIDs) override
    {
        m_database.markImagesInProgress(imageObjectIDs);
    }

    index::SentBefore sentBefore(const index::SentInstance &next) override
    {
        return m_database.sentBefore(next);
    }

    std::optional<QList<index::SentBefore>> noteSending(const QList<index::SentInstance> &instances) override
    {
        return m_database.noteSending(instances);
    }

    std::optional<std::int64_t> recordUploadResult(const QList<index::ImageObjectID> &imageObjectIDs,
                                                   const QString &storagePath,
                                                   bool synced,
                                                   const index::UploadResultDetails &more) override
    {
        return m_database.recordUploadResult(imageObjectIDs, storagePath, synced, more);
    }

    bool mayOtherVersionBeSent(const index::SentInstance &sent) override
    {
        return m_database.mayOtherVersionBeSent(sent);
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

#pragma once

#include "index/dicom_db.h"

namespace gateway::browser {

/// What the local tables ask of the index. Nothing here throws; a failure shows as nothing found or nothing
/// deleted.
///
/// Owner: app. Thread: any; calls block.
class LocalIndex
{
public:
    virtual ~LocalIndex() = default;

    virtual QList<index::LocalStudySnapshot> studySnapshots() = 0;
    virtual QList<index::LocalSeriesSnapshot> seriesSnapshots(const QString &study) = 0;

    /// The next failed uploads behind the cursor, newest first, some at a time.
    virtual QList<index::UploadFailure> uploadFailures(index::UploadFailureCursor &cursor) = 0;

    virtual index::DeletionCounts deleteStudies(const QStringList &studies) = 0;
    virtual index::DeletionCounts deleteSeries(const QString &study, const QStringList &series) = 0;
};

/// The real index as the local tables see it. Owner: app. Thread: as the port.
class DicomDBLocalIndex final : public LocalIndex
{
public:
    /// \param database  outlives this.
    explicit DicomDBLocalIndex(index::DicomDB &database) : m_database(database) {}

    QList<index::LocalStudySnapshot> studySnapshots() override { return m_database.studySnapshots(); }

    QList<index::LocalSeriesSnapshot> seriesSnapshots(const QString &study) override
    {
        return m_database.seriesSnapshots(study);
    }

    QList<index::UploadFailure> uploadFailures(index::UploadFailureCursor &cursor) override
    {
        return m_database.failedUploads().next(kFailuresAtOnce, cursor);
    }

    index::DeletionCounts deleteStudies(const QStringList &studies) override
    {
        return m_database.deleteStudies(studies);
    }

    index::DeletionCounts deleteSeries(const QString &study, const QStringList &series) override
    {
        return m_database.deleteSeries(study, series);
    }

private:
    static constexpr int kFailuresAtOnce = 1000;

    index::DicomDB &m_database;
};

} // namespace gateway::browser

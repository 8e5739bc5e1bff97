#pragma once

#include "index/dicom_db.h"

#include <QtCore/QString>

namespace gateway::state {

/// What the live figures ask of the index. Nothing here throws; a failure shows as zeros.
///
/// Owner: app. Thread: main for the counts and buckets, any for the folder.
class StateIndex
{
public:
    virtual ~StateIndex() = default;

    /// All counts, as they stand together at one moment.
    virtual index::IndexCounts counts() = 0;

    /// See index::DicomDB::transferBuckets.
    virtual index::DicomDB::TransferBuckets transferBuckets(const QDateTime &start,
                                                            const QDateTime &end,
                                                            std::chrono::seconds bucketDuration,
                                                            int count) = 0;

    /// The file store's root, made when it is missing. May block on a slow disk.
    virtual QString fileStoreRoot() = 0;
};

/// The real index as the live figures see it. Owner: app. Thread: as the port.
class DicomDBStateIndex final : public StateIndex
{
public:
    /// \param database  outlives this.
    explicit DicomDBStateIndex(index::DicomDB &database) : m_database(database) {}

    index::IndexCounts counts() override { return m_database.counts(); }

    index::DicomDB::TransferBuckets transferBuckets(const QDateTime &start,
                                                    const QDateTime &end,
                                                    std::chrono::seconds bucketDuration,
                                                    int count) override
    {
        return m_database.transferBuckets(start, end, bucketDuration, count);
    }

    QString fileStoreRoot() override { return m_database.fileStoreRoot(); }

private:
    index::DicomDB &m_database;
};

} // namespace gateway::state

#pragma once

#include "platform/dicom/instance_identity.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace gateway::index {

/// A study of the index as a plain value. Texts are trimmed, and empty where the index has none.
struct LocalStudySnapshot
{
    QString id; ///< the study's identity: its UID, or the row's own address when it has none
    QString studyInstanceUID;
    QString patientName;
    QString patientID;
    QString modality;
    std::int16_t syncState = 0; ///< computed from the images
    QString studyDescription;
    QString accessionNumber;
    std::optional<QDateTime> acquisitionDate; ///< UTC
    std::int64_t imageCount = 0;
    std::int64_t failedImageCount = 0; ///< those of them whose last upload failed

    bool operator==(const LocalStudySnapshot &) const = default;
};

/// A series of the index as a plain value. Texts are trimmed, and empty where the index has none.
struct LocalSeriesSnapshot
{
    QString id; ///< the series' key within its study, or the row's own address when it has none
    QString seriesInstanceUID;     ///< that key, which is no UID
    platform::SeriesUid seriesUID; ///< as it stands in the files
    std::int64_t seriesNumber = 0;
    QString seriesDescription;
    QString modality;
    std::int16_t syncState = 0; ///< computed from the images
    std::int64_t imageCount = 0;

    bool operator==(const LocalSeriesSnapshot &) const = default;
};

} // namespace gateway::index

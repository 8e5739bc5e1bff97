#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstdint>

namespace gateway::browser {

class SearchTexts;

/// One study of the cloud, as a query found it. What is missing reads "--". Thread: a value, any.
struct QuorinCloudQidoStudyRow
{
    enum Column
    {
        patientNameColumn,
        patientIDColumn,
        descriptionColumn,
        modalityColumn,
        dateColumn,
        timeColumn,
        accessionColumn,
        imagesColumn,
        studyUIDColumn,
        columnTotal
    };

    QString id; ///< the UID, or a random one of its own where the study has none
    QString studyInstanceUIDRaw;
    QString studyInstanceUID;
    QString patientName;
    QString patientID;
    QString studyDescription;
    QString modality;
    QString accessionNumber;
    QString studyDateRaw; ///< "yyyyMMdd", or empty
    QString studyDateDisplay;
    QString studyTimeRaw; ///< "HHmmss", or empty
    QString studyTimeDisplay;
    std::int64_t numberOfImages = 0;

    QString furtherNames; ///< the name in ideographs and as it sounds, where those came beside the shown one

    /// \param object  a study in DICOM JSON.
    static QuorinCloudQidoStudyRow of(const QVariantMap &object);

    QString target() const { return studyInstanceUIDRaw; }
    QString text(int column) const;
    void addTo(SearchTexts &texts) const;
    QString furtherText(int column) const;
    bool hasFailures() const { return false; }
    bool isInCloud() const { return true; }
    static bool isText(int column);
    static bool
    isBefore(const QuorinCloudQidoStudyRow &left, const QuorinCloudQidoStudyRow &right, int column);
};

} // namespace gateway::browser

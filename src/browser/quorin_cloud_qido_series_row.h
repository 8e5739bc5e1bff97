#pragma once

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstdint>

namespace gateway::browser {

class SearchTexts;

/// One series of a study of the cloud, as a query found it. What is missing reads "--". Thread: a value, any.
struct QuorinCloudQidoSeriesRow
{
    enum Column
    {
        numberColumn,
        descriptionColumn,
        modalityColumn,
        dateColumn,
        imagesColumn,
        seriesUIDColumn,
        columnTotal
    };

    QString id; ///< the UID, or a random one of its own where the series has none
    QString seriesInstanceUIDRaw;
    QString seriesInstanceUID;
    QString seriesNumberRaw;
    std::int64_t seriesNumberSort = 0; ///< the largest there is where the series has no number
    QString seriesNumberDisplay;
    QString seriesDescription;
    QString modality;
    QString seriesDateRaw; ///< "yyyyMMdd", or empty
    QString seriesDateDisplay;
    std::int64_t numberOfImages = 0;

    /// \param object  a series in DICOM JSON.
    static QuorinCloudQidoSeriesRow of(const QVariantMap &object);

    QString target() const { return seriesInstanceUIDRaw; }
    QString text(int column) const;
    void addTo(SearchTexts &texts) const;
    QString furtherText(int /*column*/) const { return {}; }
    bool hasFailures() const { return false; }
    bool isInCloud() const { return true; }
    static bool isText(int column);
    static bool
    isBefore(const QuorinCloudQidoSeriesRow &left, const QuorinCloudQidoSeriesRow &right, int column);
};

} // namespace gateway::browser

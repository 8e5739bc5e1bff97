#pragma once

#include "index/local_snapshots.h"

#include <QtCore/QString>

#include <cstdint>

namespace gateway::browser {

class SearchTexts;

/// One series of a study of this machine. What is missing reads "--". Thread: a value, any.
struct LocalStudySeriesRow
{
    enum Column
    {
        numberColumn,
        descriptionColumn,
        modalityColumn,
        syncStateColumn,
        imagesColumn,
        seriesUIDColumn,
        columnTotal
    };

    QString id;
    QString
        seriesInstanceUID; ///< as it stands in the files, unlike the key by which the index knows the series
    std::int64_t seriesNumberSort = 0;
    QString seriesNumberDisplay;
    QString seriesDescription;
    QString modality;
    std::int16_t syncStateSortKey = 0;
    QString syncStateDisplay;
    std::int64_t imageCount = 0;

    static LocalStudySeriesRow of(const index::LocalSeriesSnapshot &series);

    QString target() const { return id; }
    QString text(int column) const;
    void addTo(SearchTexts &texts) const;
    QString furtherText(int /*column*/) const { return {}; }
    bool hasFailures() const { return syncStateSortKey == 2; }
    bool isInCloud() const { return syncStateSortKey == 1; }
    static bool isText(int column);
    static bool isBefore(const LocalStudySeriesRow &left, const LocalStudySeriesRow &right, int column);
};

} // namespace gateway::browser

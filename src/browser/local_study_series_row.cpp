#include "browser/local_study_series_row.h"

#include "browser/quorin_gateway_local_study_row.h"
#include "browser/row_texts.h"
#include "browser/search_texts.h"

#include <algorithm>

namespace gateway::browser {

LocalStudySeriesRow LocalStudySeriesRow::of(const index::LocalSeriesSnapshot &series)
{
    LocalStudySeriesRow row;
    row.id = series.id;
    row.seriesInstanceUID = shownText(series.seriesUID.value());
    row.seriesNumberSort = std::max<std::int64_t>(0, series.seriesNumber);
    row.seriesNumberDisplay = series.seriesNumber < 1 ? kMissing : QString::number(series.seriesNumber);
    row.seriesDescription = shownText(series.seriesDescription);
    row.modality = shownText(series.modality);
    row.syncStateSortKey = series.syncState;
    row.syncStateDisplay = syncStateWord(series.syncState);
    row.imageCount = std::max<std::int64_t>(0, series.imageCount);
    return row;
}

void LocalStudySeriesRow::addTo(SearchTexts &texts) const
{
    texts.add({seriesNumberDisplay, seriesDescription, modality, syncStateDisplay, seriesInstanceUID});
}

QString LocalStudySeriesRow::text(int column) const
{
    switch (static_cast<Column>(column)) {
    case numberColumn:
        return seriesNumberDisplay;
    case descriptionColumn:
        return seriesDescription;
    case modalityColumn:
        return modality;
    case syncStateColumn:
        return syncStateDisplay;
    case imagesColumn:
        return QString::number(imageCount);
    case seriesUIDColumn:
        return seriesInstanceUID;
    case columnTotal:
        break;
    }
    return {};
}

bool LocalStudySeriesRow::isText(int column)
{
    return column != numberColumn && column != syncStateColumn && column != imagesColumn;
}

bool LocalStudySeriesRow::isBefore(const LocalStudySeriesRow &left,
                                   const LocalStudySeriesRow &right,
                                   int column)
{
    if (column == numberColumn) {
        return left.seriesNumberSort < right.seriesNumberSort;
    }
    if (column == syncStateColumn) {
        return left.syncStateSortKey < right.syncStateSortKey;
    }
    if (column == imagesColumn) {
        return left.imageCount < right.imageCount;
    }
    return false;
}

} // namespace gateway::browser

#include "browser/quorin_gateway_local_study_row.h"

#include "browser/row_texts.h"
#include "index/sync_state.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <limits>

namespace gateway::browser {

namespace {

QString words(const char *text)
{
    return QCoreApplication::translate("gateway::browser", text);
}

} // namespace

QString syncStateWord(std::int16_t syncState)
{
    switch (static_cast<index::SyncState>(syncState)) {
    case index::SyncState::synced:
        return words(QT_TRANSLATE_NOOP("gateway::browser", "Synced"));
    case index::SyncState::failed:
        return words(QT_TRANSLATE_NOOP("gateway::browser", "Failed"));
    case index::SyncState::inProgress:
        return words(QT_TRANSLATE_NOOP("gateway::browser", "Syncing"));
    case index::SyncState::notSynced:
        break;
    }
    return words(QT_TRANSLATE_NOOP("gateway::browser", "Not Synced"));
}

QuorinGatewayLocalStudyRow QuorinGatewayLocalStudyRow::of(const index::LocalStudySnapshot &study,
                                                          const QTimeZone &zone)
{
    QuorinGatewayLocalStudyRow row;
    row.id = study.id;
    row.studyInstanceUID = shownText(study.studyInstanceUID);
    row.patientName = shownText(study.patientName);
    row.patientID = shownText(study.patientID);
    row.modality = shownText(study.modality);
    row.syncStateSortKey = study.syncState;
    row.syncStateDisplay = syncStateWord(study.syncState);
    row.studyDescription = shownText(study.studyDescription);
    row.accessionNumber = shownText(study.accessionNumber);
    row.acquisitionDateSortKey = study.acquisitionDate
                                     ? static_cast<double>(study.acquisitionDate->toMSecsSinceEpoch()) / 1000
                                     : std::numeric_limits<double>::lowest();
    row.acquisitionDateDisplay = study.acquisitionDate ? shownMoment(*study.acquisitionDate, zone) : kMissing;
    row.imageCount = std::max<std::int64_t>(0, study.imageCount);
    row.failedImageCount = study.failedImageCount;
    row.searchText = searchTextOf({row.patientName,
                                   row.patientID,
                                   row.modality,
                                   row.syncStateDisplay,
                                   row.studyDescription,
                                   row.accessionNumber,
                                   row.studyInstanceUID});
    return row;
}

QString QuorinGatewayLocalStudyRow::text(int column) const
{
    switch (static_cast<Column>(column)) {
    case patientNameColumn:
        return patientName;
    case patientIDColumn:
        return patientID;
    case modalityColumn:
        return modality;
    case syncStateColumn:
        return syncStateDisplay;
    case descriptionColumn:
        return studyDescription;
    case accessionColumn:
        return accessionNumber;
    case dateColumn:
        return acquisitionDateDisplay;
    case imagesColumn:
        return QString::number(imageCount);
    case columnTotal:
        break;
    }
    return {};
}

bool QuorinGatewayLocalStudyRow::isText(int column)
{
    return column != syncStateColumn && column != dateColumn && column != imagesColumn;
}

bool QuorinGatewayLocalStudyRow::isBefore(const QuorinGatewayLocalStudyRow &left,
                                          const QuorinGatewayLocalStudyRow &right,
                                          int column)
{
    if (column == syncStateColumn) {
        return left.syncStateSortKey < right.syncStateSortKey;
    }
    if (column == dateColumn) {
        return left.acquisitionDateSortKey < right.acquisitionDateSortKey;
    }
    if (column == imagesColumn) {
        return left.imageCount < right.imageCount;
    }
    return false;
}

} // namespace gateway::browser

#include "browser/quorin_gateway_local_study_row.h"

#include "browser/row_texts.h"
#include "index/sync_state.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>

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

QuorinGatewayLocalStudyRow QuorinGatewayLocalStudyRow::of(const index::LocalStudySnapshot &study)
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
    row.acquisitionDateDisplay = study.acquisitionDate
                                     ? QLocale::c().toString(study.acquisitionDate->toLocalTime(),
                                                             QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                                     : kMissing;
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

bool QuorinGatewayLocalStudyRow::isBefore(const QuorinGatewayLocalStudyRow &left,
                                          const QuorinGatewayLocalStudyRow &right,
                                          int column)
{
    switch (static_cast<Column>(column)) {
    case syncStateColumn:
        return left.syncStateSortKey < right.syncStateSortKey;
    case dateColumn:
        return left.acquisitionDateSortKey < right.acquisitionDateSortKey;
    case imagesColumn:
        return left.imageCount < right.imageCount;
    case patientNameColumn:
        return isTextBefore(left.patientName, right.patientName);
    case patientIDColumn:
        return isTextBefore(left.patientID, right.patientID);
    case modalityColumn:
        return isTextBefore(left.modality, right.modality);
    case descriptionColumn:
        return isTextBefore(left.studyDescription, right.studyDescription);
    case accessionColumn:
        return isTextBefore(left.accessionNumber, right.accessionNumber);
    case columnTotal:
        break;
    }
    return false;
}

} // namespace gateway::browser

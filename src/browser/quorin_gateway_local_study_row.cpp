#include "browser/quorin_gateway_local_study_row.h"

#include "browser/row_texts.h"
#include "browser/search_texts.h"
#include "index/sync_state.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace gateway::browser {

namespace {

constexpr double kUndated = std::numeric_limits<double>::lowest();

QString translated(const char *text)
{
    return QCoreApplication::translate("gateway::browser", text);
}

} // namespace

QString syncStateWord(std::int16_t syncState)
{
    switch (static_cast<index::SyncState>(syncState)) {
    case index::SyncState::synced:
        return translated(QT_TRANSLATE_NOOP("gateway::browser", "Synced"));
    case index::SyncState::failed:
        return translated(QT_TRANSLATE_NOOP("gateway::browser", "Failed"));
    case index::SyncState::inProgress:
        return translated(QT_TRANSLATE_NOOP("gateway::browser", "Syncing"));
    case index::SyncState::notSynced:
        break;
    }
    return translated(QT_TRANSLATE_NOOP("gateway::browser", "Not Synced"));
}

LocalRowWords LocalRowWords::current()
{
    return {QTimeZone::systemTimeZone(),
            {::gateway::browser::syncStateWord(0),
             ::gateway::browser::syncStateWord(1),
             ::gateway::browser::syncStateWord(2),
             ::gateway::browser::syncStateWord(3)}};
}

const QString &LocalRowWords::syncStateWord(std::int16_t syncState) const
{
    const bool isKnown = syncState >= 0 && static_cast<std::size_t>(syncState) < syncStateWords.size();
    return syncStateWords[isKnown ? static_cast<std::size_t>(syncState) : 0];
}

QuorinGatewayLocalStudyRow QuorinGatewayLocalStudyRow::of(index::LocalStudySnapshot study,
                                                          const LocalRowWords &words)
{
    QuorinGatewayLocalStudyRow row;
    row.id = std::move(study.id);
    row.studyInstanceUID = shownText(std::move(study.studyInstanceUID));
    row.patientName = shownText(std::move(study.patientName));
    row.patientID = shownText(std::move(study.patientID));
    row.modality = shownText(std::move(study.modality));
    row.syncStateSortKey = study.syncState;
    row.syncStateDisplay = words.syncStateWord(study.syncState);
    row.studyDescription = shownText(std::move(study.studyDescription));
    row.accessionNumber = shownText(std::move(study.accessionNumber));
    row.acquisitionDateSortKey = study.acquisitionDate
                                     ? static_cast<double>(study.acquisitionDate->toMSecsSinceEpoch()) / 1000
                                     : kUndated;
    row.zone = words.zone;
    row.imageCount = std::max<std::int64_t>(0, study.imageCount);
    row.failedImageCount = study.failedImageCount;
    return row;
}

void QuorinGatewayLocalStudyRow::addTo(SearchTexts &texts) const
{
    texts.add({patientName,
               patientID,
               modality,
               syncStateDisplay,
               studyDescription,
               accessionNumber,
               studyInstanceUID});
}

QString QuorinGatewayLocalStudyRow::acquisitionDateDisplay() const
{
    return acquisitionDateSortKey == kUndated
               ? kMissing
               : shownMoment(
                     QDateTime::fromMSecsSinceEpoch(std::llround(acquisitionDateSortKey * 1000), Qt::UTC),
                     zone);
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
        return acquisitionDateDisplay();
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

#pragma once

#include "index/local_snapshots.h"

#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <cstdint>

namespace gateway::browser {

/// The word for a sync state of the index.
QString syncStateWord(std::int16_t syncState);

/// One study of this machine. What is missing reads "--". Thread: a value, any.
struct QuorinGatewayLocalStudyRow
{
    enum Column
    {
        patientNameColumn,
        patientIDColumn,
        modalityColumn,
        syncStateColumn,
        descriptionColumn,
        accessionColumn,
        dateColumn,
        imagesColumn,
        columnTotal
    };

    QString id;
    QString studyInstanceUID;
    QString patientName;
    QString patientID;
    QString modality;
    std::int16_t syncStateSortKey = 0;
    QString syncStateDisplay;
    QString studyDescription;
    QString accessionNumber;
    double acquisitionDateSortKey = 0; ///< seconds since 1970; the most negative there is without a date
    QString acquisitionDateDisplay;    ///< in the given zone
    std::int64_t imageCount = 0;

    std::int64_t failedImageCount = 0;
    QString failures; ///< why uploads failed and what to do, a line a reason; empty where none is known
    QString searchText;

    /// \param zone  that dates are shown in.
    static QuorinGatewayLocalStudyRow of(const index::LocalStudySnapshot &study, const QTimeZone &zone);

    QString target() const { return id; }
    QString text(int column) const;
    QString furtherText(int column) const { return column == syncStateColumn ? failures : QString(); }
    bool hasFailures() const { return failedImageCount > 0; }
    bool isInCloud() const { return syncStateSortKey == 1; }
    static bool isText(int column);
    static bool
    isBefore(const QuorinGatewayLocalStudyRow &left, const QuorinGatewayLocalStudyRow &right, int column);
};

} // namespace gateway::browser

#pragma once

#include "index/local_snapshots.h"

#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <array>
#include <cstdint>

namespace gateway::browser {

class SearchTexts;

/// The word for a sync state of the index.
QString syncStateWord(std::int16_t syncState);

/// What the rows of one load are written with. Looked up once: the system's zone costs a look at the disk
/// each time, and a word a search in the translations. Thread: a value, any.
struct LocalRowWords
{
    QTimeZone zone;                        ///< that dates are shown in
    std::array<QString, 4> syncStateWords; ///< by the state

    /// Those of the system and the language of now.
    static LocalRowWords current();

    const QString &syncStateWord(std::int16_t syncState) const;
};

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
    QTimeZone zone;                    ///< that the date is shown in
    std::int64_t imageCount = 0;

    std::int64_t failedImageCount = 0;
    QString failures; ///< why uploads failed and what to do, a line a reason; empty where none is known

    static QuorinGatewayLocalStudyRow of(index::LocalStudySnapshot study, const LocalRowWords &words);

    /// The date; written when it is looked at, since few of a hundred thousand are.
    QString acquisitionDateDisplay() const;

    QString target() const { return id; }
    QString text(int column) const;
    void addTo(SearchTexts &texts) const;
    QString furtherText(int column) const { return column == syncStateColumn ? failures : QString(); }
    bool hasFailures() const { return failedImageCount > 0; }
    bool isInCloud() const { return syncStateSortKey == 1; }
    static bool isText(int column);
    static bool
    isBefore(const QuorinGatewayLocalStudyRow &left, const QuorinGatewayLocalStudyRow &right, int column);
};

} // namespace gateway::browser

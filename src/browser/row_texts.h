#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QTimeZone>

namespace gateway::browser {

// How values become cells. Thread: any; plain functions.

/// What reads where there is nothing.
inline const QString kMissing = QStringLiteral("--");

/// Trimmed; "--" where nothing is left.
QString shownText(QString text);

/// The first `count` decimal digits of a date or time; empty where there are fewer.
QString leadingDigits(const QString &text, qsizetype count);

/// A DICOM date as its digits "yyyyMMdd", whatever stands between them; empty for anything that is no date.
QString dateDigits(const QString &text);

/// A DICOM time as its digits "HHmmss", likewise.
QString timeDigits(const QString &text);

/// "yyyy-MM-dd" of such digits; "--" for none.
QString shownDate(const QString &digits);

/// "HH:mm:ss" of such digits; "--" for none.
QString shownTime(const QString &digits);

/// A moment as "yyyy-MM-dd HH:mm:ss" there. Fast: a hundred thousand are written at a time, and asking the
/// system for its own zone costs a look at the disk each time.
QString shownMoment(const QDateTime &moment, const QTimeZone &zone);

} // namespace gateway::browser

#include "state/time_texts.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

#include <array>
#include <utility>

namespace gateway::state {

namespace {

using std::chrono::seconds;

constexpr int kMostUnits = 2;

/// "HH:mm" with the sign that the locale sets between hours and minutes.
QString timePattern(const QLocale &locale)
{
    static const QRegularExpression clock(QStringLiteral("[Hh]+(.+?)m"));
    const QRegularExpressionMatch match = clock.match(locale.timeFormat(QLocale::ShortFormat));
    const QString sign = match.hasMatch() ? match.captured(1) : QStringLiteral(":");
    return QStringLiteral("HH%1mm").arg(sign);
}

/// Day and month in the locale's order: the part of its long date that holds them, with what belongs to the
/// latter of them ("d. MMM", "M月d日"), the month's name short.
QString monthDayPattern(const QLocale &locale)
{
    static const QRegularExpression dayAndMonth(
        QStringLiteral(R"((?<!d)d{1,2}(?!d)[^dMy]*M+[^\s,'dMy]*|M+[^dMy]*(?<!d)d{1,2}(?!d)[^\s,'dMy]*)"));
    const QRegularExpressionMatch match = dayAndMonth.match(locale.dateFormat(QLocale::LongFormat));
    if (!match.hasMatch()) {
        return QStringLiteral("MMM d");
    }
    return match.captured().replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
}

} // namespace

QString abbreviatedDuration(seconds duration, const QLocale &locale)
{
    static const std::array<std::pair<seconds, QChar>, 3> kUnits = {
        std::pair{seconds(std::chrono::hours(24)), u'd'},
        std::pair{seconds(std::chrono::hours(1)), u'h'},
        std::pair{seconds(std::chrono::minutes(1)), u'm'}};
    QStringList words;
    for (const auto &[unit, letter] : kUnits) {
        const auto whole = duration / unit;
        duration %= unit;
        if (whole > 0 && words.size() < kMostUnits) {
            words.append(locale.toString(static_cast<qlonglong>(whole)) + letter);
        }
    }
    return words.join(u' ');
}

QString rangeTitle(seconds span, const QLocale &locale)
{
    QString length = abbreviatedDuration(span, locale);
    if (length.isEmpty()) {
        length = QString::number(span / std::chrono::hours(1)) + u'h';
    }
    return QCoreApplication::translate("TransferTimeframe", "Last %1").arg(length);
}

QString
momentText(const QDateTime &moment, TransferTimeframe timeframe, const QTimeZone &zone, const QLocale &locale)
{
    const QDateTime local = moment.toTimeZone(zone);
    switch (momentTemplate(timeframe)) {
    case MomentTemplate::time:
        return locale.toString(local, timePattern(locale));
    case MomentTemplate::weekdayTime:
        return locale.toString(local, QStringLiteral("ddd ") + timePattern(locale));
    case MomentTemplate::monthDay:
        return locale.toString(local, monthDayPattern(locale));
    }
    return {};
}

} // namespace gateway::state

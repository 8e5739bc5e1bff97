#include "browser/row_texts.h"

#include <QtCore/QDate>
#include <QtCore/QTime>

#include <utility>

namespace gateway::browser {

QString shownText(QString text)
{
    QString trimmed = std::move(text).trimmed();
    return trimmed.isEmpty() ? kMissing : trimmed;
}

QString leadingDigits(const QString &text, qsizetype count)
{
    QString digits;
    for (const QChar each : text) {
        if (each >= u'0' && each <= u'9') {
            digits.append(each);
        }
        if (digits.size() == count) {
            return digits;
        }
    }
    return {};
}

QString dateDigits(const QString &text)
{
    const QString digits = leadingDigits(text, 8);
    return QDate::fromString(digits, QStringLiteral("yyyyMMdd")).isValid() ? digits : QString();
}

QString timeDigits(const QString &text)
{
    const QString digits = leadingDigits(text, 6);
    return QTime::fromString(digits, QStringLiteral("HHmmss")).isValid() ? digits : QString();
}

QString shownDate(const QString &digits)
{
    return digits.isEmpty() ? kMissing : digits.left(4) + u'-' + digits.mid(4, 2) + u'-' + digits.mid(6, 2);
}

QString shownTime(const QString &digits)
{
    return digits.isEmpty() ? kMissing : digits.left(2) + u':' + digits.mid(2, 2) + u':' + digits.mid(4, 2);
}

QString shownMoment(const QDateTime &moment, const QTimeZone &zone)
{
    const QDateTime local = moment.toOffsetFromUtc(zone.offsetFromUtc(moment));
    int year = 0;
    int month = 0;
    int day = 0;
    local.date().getDate(&year, &month, &day);
    const QTime time = local.time();
    QString text;
    text.reserve(19);
    const auto append = [&text](int number, int digits) {
        for (int unit = digits == 4 ? 1000 : 10; unit > 0; unit /= 10) {
            text.append(QChar(u'0' + number / unit % 10));
        }
    };
    append(year, 4);
    const std::pair<QChar, int> rest[] = {
        {u'-', month}, {u'-', day}, {u' ', time.hour()}, {u':', time.minute()}, {u':', time.second()}};
    for (const auto &[mark, number] : rest) {
        text.append(mark);
        append(number, 2);
    }
    return text;
}

} // namespace gateway::browser

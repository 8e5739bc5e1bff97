#include "browser/row_texts.h"

#include <QtCore/QDate>
#include <QtCore/QTime>

namespace gateway::browser {

QString shownText(const QString &text)
{
    const QString trimmed = text.trimmed();
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

QString searchTextOf(const QStringList &fields)
{
    return fields.join(u' ').toLower();
}

bool isTextBefore(const QString &left, const QString &right)
{
    const int order = left.compare(right, Qt::CaseInsensitive);
    return order != 0 ? order < 0 : left < right;
}

} // namespace gateway::browser

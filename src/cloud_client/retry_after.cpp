#include "cloud_client/retry_after.h"

#include <QtCore/QLocale>
#include <QtCore/QString>

#include <algorithm>
#include <cctype>

namespace gateway::cloud_client {

namespace {

std::chrono::seconds bounded(qint64 seconds)
{
    return std::chrono::seconds(std::clamp<qint64>(seconds, 0, kLongestRetryAfter.count()));
}

bool isNumber(const QByteArray &text)
{
    return !text.isEmpty() &&
           std::ranges::all_of(text, [](unsigned char letter) { return std::isdigit(letter) != 0; });
}

} // namespace

std::optional<QDateTime> parseHttpDate(const QByteArray &value)
{
    const QDateTime date = QLocale::c().toDateTime(QString::fromLatin1(value.trimmed()),
                                                   QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'"));
    return date.isValid() ? std::optional(QDateTime(date.date(), date.time(), Qt::UTC)) : std::nullopt;
}

std::optional<std::chrono::seconds> parseRetryAfter(const QByteArray &value, const QDateTime &now)
{
    const QByteArray text = value.trimmed();
    if (isNumber(text)) {
        bool fits = false;
        const qint64 seconds = text.toLongLong(&fits);
        return fits ? bounded(seconds) : kLongestRetryAfter;
    }
    const std::optional<QDateTime> date = parseHttpDate(text);
    return date ? std::optional(bounded(now.secsTo(*date))) : std::nullopt;
}

} // namespace gateway::cloud_client

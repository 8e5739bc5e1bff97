#include "terminal/commands/waiting_report.h"

#include "platform/sentences/in_english.h"

#include <QtCore/QDateTime>
#include <QtCore/QJsonValue>

namespace gateway::terminal {

namespace {

QJsonValue momentOrNull(const QDateTime &moment)
{
    return moment.isValid() ? QJsonValue(moment.toUTC().toString(Qt::ISODate)) : QJsonValue(QJsonValue::Null);
}

QString localMoment(const QJsonValue &moment)
{
    return QDateTime::fromString(moment.toString(), Qt::ISODate)
        .toLocalTime()
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

} // namespace

QJsonObject toJson(const upload::WaitingUploads &waiting)
{
    const platform::InEnglish english;
    QJsonValue cause;
    QJsonValue sentence;
    QDateTime until;
    if (waiting.pause) {
        cause = QString(core::rawValue(waiting.pause->cause));
        sentence = core::failureSentence(waiting.pause->cause);
        until = waiting.pause->until;
    }
    return {{QStringLiteral("awaited"), waiting.awaited},
            {QStringLiteral("files"), static_cast<qint64>(waiting.retries.files)},
            {QStringLiteral("nextTryAt"), momentOrNull(waiting.retries.next.value_or(QDateTime()))},
            {QStringLiteral("pausedBy"), cause},
            {QStringLiteral("pausedFor"), sentence},
            {QStringLiteral("pausedUntil"), momentOrNull(until)}};
}

QStringList waitingLines(const QJsonObject &waiting)
{
    QStringList lines;
    const QJsonValue until = waiting.value(QStringLiteral("pausedUntil"));
    if (until.isString()) {
        // The gateway may speak another language than who asks.
        const QString cause = waiting.value(QStringLiteral("pausedBy")).toString();
        lines.append(QStringLiteral("uploads pause until %1: %2")
                         .arg(localMoment(until), core::failureSentence(core::failureClassOf(cause))));
    }
    const qint64 awaited = waiting.value(QStringLiteral("awaited")).toInteger();
    if (awaited > 0) {
        lines.append(
            QStringLiteral("files that the cloud has taken and doesn't show yet, which are looked for: %1")
                .arg(awaited));
    }
    const qint64 files = waiting.value(QStringLiteral("files")).toInteger() - awaited;
    if (files > 0) {
        lines.append(QStringLiteral("files that failed and are tried again later: %1, the next at %2")
                         .arg(files)
                         .arg(localMoment(waiting.value(QStringLiteral("nextTryAt")))));
    }
    return lines;
}

} // namespace gateway::terminal

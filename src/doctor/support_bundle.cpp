#include "doctor/support_bundle.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QStringList>

namespace gateway::doctor {

using log::GatewayLogEvent;

namespace {

const QString kLeftOut = QStringLiteral("(left out)");

/// Numbers, switches, and the words that settings choose from.
bool isPlainSetting(const QString &text)
{
    static const QRegularExpression kPlain(
        QStringLiteral("\\A(-?[0-9]{1,18}(\\.[0-9]{1,9})?|true|false|never|days|months)\\z"));
    return kPlain.match(text).hasMatch();
}

QString settingText(const QVariant &value)
{
    if (value.typeId() == QMetaType::QDateTime) {
        return value.toDateTime().toUTC().toString(Qt::ISODate);
    }
    if (value.typeId() == QMetaType::QByteArray) {
        return QStringLiteral("(%1 bytes)").arg(value.toByteArray().size());
    }
    const QString text = value.toString();
    if (text.isEmpty()) {
        return QStringLiteral("(empty)");
    }
    return isPlainSetting(text) ? text : kLeftOut;
}

/// The details of events whose texts are words of our own.
bool holdsOwnWords(const QString &key)
{
    static const QSet<QString> kKeys{QStringLiteral("trigger"),
                                     QStringLiteral("reason"),
                                     QStringLiteral("execution_mode"),
                                     QStringLiteral("upload_source"),
                                     QStringLiteral("compression_fallback_reason"),
                                     QStringLiteral("listener_result")};
    return kKeys.contains(key);
}

QString detailText(const QString &key, const QString &value)
{
    static const QRegularExpression kNumberOrHash(
        QStringLiteral("\\A(-?[0-9]{1,18}(\\.[0-9]{1,9})?|true|false|[0-9a-f]{16})\\z"));
    static const QRegularExpression kOwnWord(QStringLiteral("\\A[a-z0-9_]{1,60}\\z"));
    const bool isShown =
        kNumberOrHash.match(value).hasMatch() || (holdsOwnWords(key) && kOwnWord.match(value).hasMatch());
    return key + u'=' + (isShown ? value : kLeftOut);
}

QString eventText(const GatewayLogEvent &event)
{
    QStringList parts{event.timestamp.toUTC().toString(Qt::ISODate),
                      rawValue(event.level),
                      rawValue(event.category),
                      rawValue(event.action),
                      rawValue(event.outcome)};
    const auto add = [&parts](const QString &key, const std::optional<QString> &value) {
        if (value) {
            parts.append(detailText(key, *value));
        }
    };
    const auto number = [](const std::optional<qint64> &value) {
        return value ? std::optional(QString::number(*value)) : std::nullopt;
    };
    add(QStringLiteral("association"), event.assocHash);
    add(QStringLiteral("file"), event.fileHash);
    add(QStringLiteral("bytes"), number(event.fileSizeBytes));
    add(QStringLiteral("attempt"), number(event.attempt));
    if (event.details) {
        for (auto detail = event.details->cbegin(); detail != event.details->cend(); ++detail) {
            add(detail.key(), detail.value());
        }
    }
    if (event.error) {
        parts.append(QStringLiteral("error=%1").arg(event.error->code));
    }
    return parts.join(u' ');
}

QStringList linesOf(const SupportFacts::Lines &pairs)
{
    QStringList lines;
    for (const auto &[name, value] : pairs) {
        lines.append(name + QStringLiteral(": ") + value);
    }
    return lines;
}

QStringList settingLines(const SupportFacts &facts)
{
    QStringList lines;
    for (const auto &[key, value] : facts.settings) {
        lines.append(key + QStringLiteral(": ") + settingText(value));
    }
    return lines;
}

QStringList findingLines(const std::optional<Diagnosis> &diagnosis)
{
    if (!diagnosis) {
        return {QStringLiteral("The examination didn't end in time.")};
    }
    QStringList lines{QStringLiteral("looked at %1 stored files and %2 recorded ones%3")
                          .arg(diagnosis->storedFiles)
                          .arg(diagnosis->recordedFiles)
                          .arg(diagnosis->wasStopped ? QStringLiteral(", then stopped") : QString())};
    for (const Finding &finding : diagnosis->findings) {
        lines.append(QStringLiteral("%1: %2").arg(rawValue(finding.kind)).arg(finding.count));
    }
    for (const FailedFiles &failed : diagnosis->failures) {
        const bool isAwaited = failed.failure.failureClass == core::FailureClass::notThereYet;
        lines.append(QStringLiteral("%1, %2 (code %3): %4")
                         .arg(isAwaited ? QStringLiteral("awaited") : QStringLiteral("not sent"))
                         .arg(core::rawValue(failed.failure.failureClass))
                         .arg(failed.failure.code)
                         .arg(failed.count));
    }
    return lines;
}

QStringList logLines(const QList<GatewayLogEvent> &events)
{
    QStringList lines;
    for (const GatewayLogEvent &event : events) {
        lines.append(eventText(event));
    }
    return lines;
}

QString section(const QString &title, const QStringList &lines)
{
    const QStringList shown = lines.isEmpty() ? QStringList(QStringLiteral("none")) : lines;
    return QStringLiteral("\n== %1 ==\n").arg(title) + shown.join(u'\n') + u'\n';
}

} // namespace

QString supportBundle(const SupportFacts &facts)
{
    return QStringLiteral("Quorin Gateway support bundle, %1\n").arg(facts.at.toString(Qt::ISODate)) +
           section(QStringLiteral("Versions"), linesOf(facts.versions)) +
           section(QStringLiteral("Figures"), linesOf(facts.figures)) +
           section(QStringLiteral("Settings"), settingLines(facts)) +
           section(QStringLiteral("Findings"), findingLines(facts.diagnosis)) +
           section(QStringLiteral("Log"), logLines(facts.log));
}

} // namespace gateway::doctor

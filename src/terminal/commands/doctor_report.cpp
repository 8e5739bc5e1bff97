#include "terminal/commands/doctor_report.h"

#include "core/log_limit.h"
#include "platform/sentences/in_english.h"

#include <QtCore/QJsonArray>
#include <QtCore/QLocale>
#include <QtCore/QStringList>

#include <algorithm>

namespace gateway::terminal {

namespace {

QJsonValue textOrNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonArray examplesJson(const QList<doctor::FileName> &names)
{
    QJsonArray examples;
    for (const doctor::FileName &name : names) {
        examples.append(QJsonObject{{QStringLiteral("file"), textOrNull(name.storagePath)},
                                    {QStringLiteral("fileHash"), textOrNull(name.fileHash)},
                                    {QStringLiteral("instanceHash"), textOrNull(name.instanceHash)}});
    }
    return examples;
}

QJsonArray findingsJson(const QList<doctor::Finding> &findings)
{
    QJsonArray array;
    for (const doctor::Finding &finding : findings) {
        array.append(QJsonObject{{QStringLiteral("kind"), QString(doctor::rawValue(finding.kind))},
                                 {QStringLiteral("problem"), doctor::isProblem(finding.kind)},
                                 {QStringLiteral("mendable"), doctor::isMendable(finding.kind)},
                                 {QStringLiteral("sentence"), doctor::findingSentence(finding.kind)},
                                 {QStringLiteral("count"), finding.count},
                                 {QStringLiteral("mended"), finding.mended},
                                 {QStringLiteral("examples"), examplesJson(finding.examples)}});
    }
    return array;
}

QJsonArray failuresJson(const QList<doctor::FailedFiles> &failures)
{
    constexpr qsizetype kMost = 20; // the most frequent come first
    QJsonArray array;
    for (const doctor::FailedFiles &group : failures.first(std::min(kMost, failures.size()))) {
        const core::FailureClass failureClass = group.failure.failureClass;
        array.append(QJsonObject{{QStringLiteral("class"), QString(core::rawValue(failureClass))},
                                 {QStringLiteral("code"), static_cast<qint64>(group.failure.code)},
                                 {QStringLiteral("sentence"), core::failureSentence(failureClass)},
                                 {QStringLiteral("count"), group.count},
                                 {QStringLiteral("examples"), examplesJson(group.examples)}});
    }
    return array;
}

QStringList exampleLines(const QJsonValue &entry)
{
    QStringList lines;
    for (const auto &example : entry[u"examples"].toArray()) {
        QStringList parts;
        const auto add = [&](const QString &key, const QString &words) {
            const QString value = example[key].toString();
            if (!value.isEmpty()) {
                parts.append(words.arg(value));
            }
        };
        add(QStringLiteral("file"), QStringLiteral("%1"));
        add(QStringLiteral("fileHash"), QStringLiteral("in the log %1"));
        add(QStringLiteral("instanceHash"), QStringLiteral("instance %1"));
        lines.append(QStringLiteral("    ") + parts.join(QStringLiteral(", ")));
    }
    return lines;
}

QString countText(const QJsonValue &finding)
{
    const qint64 mended = finding[u"mended"].toInteger();
    const QString count = QString::number(finding[u"count"].toInteger());
    return mended > 0 ? QStringLiteral("%1 found, %2 mended").arg(count).arg(mended)
                      : QStringLiteral("%1 found").arg(count);
}

/// What the cloud has taken and doesn't show yet hasn't failed.
QString failureCountText(const QJsonValue &failure)
{
    const bool isAwaited =
        core::failureClassOf(failure[u"class"].toString()) == core::FailureClass::notThereYet;
    return (isAwaited ? QStringLiteral("%1 sent, waiting for the cloud's confirmation")
                      : QStringLiteral("%1 not sent"))
        .arg(failure[u"count"].toInteger());
}

/// Empty where nothing is lacking.
QString fencesSentence(const platform::HelperFences &fences)
{
    QStringList lacking;
    if (!fences.files) {
        lacking.append(QStringLiteral("Landlock, in Linux 5.19 or later, which keeps them from other files"));
    }
    if (!fences.calls) {
        lacking.append(QStringLiteral("seccomp, which keeps them from the network and from other programs"));
    }
    return lacking.isEmpty()
               ? QString()
               : QStringLiteral("The processes that read what others send are less confined than "
                                "they could be. The kernel lacks %1.")
                     .arg(lacking.join(QStringLiteral("; and ")));
}

QString closingLine(const QJsonObject &report)
{
    if (report.value(QStringLiteral("well")).toBool()) {
        return QStringLiteral("All is well.");
    }
    const QJsonArray findings = report.value(QStringLiteral("findings")).toArray();
    const bool isMendable = std::ranges::any_of(
        findings, [](const QJsonValue &finding) { return finding[u"mendable"].toBool(); });
    if (isMendable && !report.value(QStringLiteral("repaired")).toBool()) {
        return QStringLiteral(
            "Nothing was changed. quorin-gateway doctor --repair mends what can be mended.");
    }
    return QStringLiteral("What is left can't be mended from here; each line says what to do.");
}

} // namespace

QJsonObject toJson(const doctor::Diagnosis &diagnosis, bool repaired, const upload::WaitingUploads &waiting)
{
    const platform::InEnglish english;
    return {{QStringLiteral("well"), diagnosis.isWell()},
            {QStringLiteral("repaired"), repaired},
            {QStringLiteral("storedFiles"), diagnosis.storedFiles},
            {QStringLiteral("recordedFiles"), diagnosis.recordedFiles},
            {QStringLiteral("findings"), findingsJson(diagnosis.findings)},
            {QStringLiteral("failures"), failuresJson(diagnosis.failures)},
            {QStringLiteral("waiting"), toJson(waiting)}};
}

void addMissingSession(QJsonObject &report, qint64 images, const QString &sentence)
{
    QJsonArray findings = report.value(QStringLiteral("findings")).toArray();
    findings.append(QJsonObject{{QStringLiteral("kind"), QStringLiteral("noSession")},
                                {QStringLiteral("problem"), true},
                                {QStringLiteral("mendable"), false},
                                {QStringLiteral("sentence"), sentence},
                                {QStringLiteral("count"), images},
                                {QStringLiteral("mended"), 0},
                                {QStringLiteral("examples"), QJsonArray()}});
    report.insert(QStringLiteral("findings"), findings);
    report.insert(QStringLiteral("well"), false);
}

void addFences(QJsonObject &report, const std::optional<platform::HelperFences> &fences)
{
    if (fences) {
        report.insert(QStringLiteral("confinement"),
                      QJsonObject{{QStringLiteral("files"), fences->files},
                                  {QStringLiteral("systemCalls"), fences->calls},
                                  {QStringLiteral("sentence"), textOrNull(fencesSentence(*fences))}});
    }
}

void addLogRoom(QJsonObject &report, qint64 bytes, qint64 limitBytes)
{
    const QLocale c = QLocale::c();
    const QString taken = QStringLiteral("The log files take %1").arg(c.formattedDataSize(bytes));
    const QString sentence =
        limitBytes > 0 ? QStringLiteral("%1 of at most %2.").arg(taken, c.formattedDataSize(limitBytes))
                       : QStringLiteral("%1; nothing limits them. quorin-gateway settings set %2 MIB does.")
                             .arg(taken, core::kLogLimitKey);
    report.insert(
        QStringLiteral("log"),
        QJsonObject{{QStringLiteral("bytes"), bytes},
                    {QStringLiteral("limitBytes"), limitBytes > 0 ? QJsonValue(limitBytes) : QJsonValue()},
                    {QStringLiteral("sentence"), sentence}});
}

QString doctorText(const QJsonObject &report)
{
    QStringList lines{QStringLiteral("Looked at %1 stored files, and for %2 files that the index knows.")
                          .arg(report.value(QStringLiteral("storedFiles")).toInteger())
                          .arg(report.value(QStringLiteral("recordedFiles")).toInteger())};
    const auto addGroup = [&](const QString &count, const QJsonValue &entry) {
        lines.append(QStringLiteral("%1: %2").arg(count, entry[u"sentence"].toString()));
        lines += exampleLines(entry);
    };
    for (const auto &finding : report.value(QStringLiteral("findings")).toArray()) {
        addGroup(countText(finding), finding);
    }
    for (const auto &failure : report.value(QStringLiteral("failures")).toArray()) {
        addGroup(failureCountText(failure), failure);
    }
    for (const QString &line : waitingLines(report.value(QStringLiteral("waiting")).toObject())) {
        lines.append(QStringLiteral("Waiting: ") + line);
    }
    if (const QString lacking = report.value(QStringLiteral("confinement"))[u"sentence"].toString();
        !lacking.isEmpty()) {
        lines.append(lacking);
    }
    if (const QJsonValue log = report.value(QStringLiteral("log")); log.isObject()) {
        lines.append(log[u"sentence"].toString());
    }
    lines.append(closingLine(report));
    return lines.join(u'\n') + u'\n';
}

} // namespace gateway::terminal

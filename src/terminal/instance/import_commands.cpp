#include "terminal/instance/import_commands.h"

#include <QtCore/QJsonArray>
#include <QtCore/QLocale>
#include <QtCore/QUrl>

namespace gateway::terminal {

using receive::ManualImportReport;
using receive::SkipReason;

namespace {

const QString kPaths = QStringLiteral("paths");
const QString kBatch = QStringLiteral("batch");
const QString kPhase = QStringLiteral("phase");
const QString kFinished = QStringLiteral("finished");
const QString kImportedFiles = QStringLiteral("importedFiles");
const QString kSkippedFiles = QStringLiteral("skippedFiles");
const QString kSkipped = QStringLiteral("skipped");
const QString kStopped = QStringLiteral("stopped");
const QString kMayMissImages = QStringLiteral("mayMissImages");
const QString kLeftInArchives = QStringLiteral("leftInArchives");
const QString kProgress = QStringLiteral("progress");

QString phaseName(ManualImportReport::Phase phase)
{
    switch (phase) {
    case ManualImportReport::Phase::waiting:
        return QStringLiteral("waiting");
    case ManualImportReport::Phase::collecting:
        return QStringLiteral("collecting");
    case ManualImportReport::Phase::unpacking:
        return QStringLiteral("unpacking");
    case ManualImportReport::Phase::importing:
        return QStringLiteral("importing");
    case ManualImportReport::Phase::finished:
        return kFinished;
    }
    return {};
}

QJsonArray skippedJson(const ManualImportReport &report)
{
    QJsonArray reasons;
    for (auto entry = report.skipped.cbegin(); entry != report.skipped.cend(); ++entry) {
        reasons.append(
            QJsonObject{{QStringLiteral("reason"), receive::skipReasonName(entry.key())},
                        {QStringLiteral("files"), entry.value().count},
                        {QStringLiteral("examples"), QJsonArray::fromStringList(entry.value().examples)}});
    }
    return reasons;
}

QJsonObject progressJson(const ManualImportReport &report)
{
    const auto left = report.timeLeft();
    return {{QStringLiteral("doneFiles"), report.doneFiles},
            {QStringLiteral("knownFiles"), report.knownFiles},
            {QStringLiteral("doneBytes"), report.doneBytes},
            {QStringLiteral("knownBytes"), report.knownBytes},
            {QStringLiteral("seconds"), std::chrono::duration<double>(report.elapsed).count()},
            {QStringLiteral("bytesPerSecond"), report.bytesPerSecond()},
            {QStringLiteral("secondsLeft"),
             left ? QJsonValue(static_cast<qint64>(left->count())) : QJsonValue(QJsonValue::Null)}};
}

QString bytesText(const QJsonValue &bytes)
{
    return QLocale::c().formattedDataSize(
        static_cast<qint64>(bytes.toDouble()), 1, QLocale::DataSizeSIFormat);
}

QString filesText(qint64 count)
{
    return count == 1 ? QStringLiteral("1 file") : QStringLiteral("%1 files").arg(count);
}

/// What a reason means to people.
QString reasonText(const QString &reason)
{
    static const QMap<QString, QString> texts{
        {skipReasonName(SkipReason::notDicom), QStringLiteral("not DICOM")},
        {skipReasonName(SkipReason::damagedObject), QStringLiteral("DICOM that ends too early")},
        {skipReasonName(SkipReason::unreadable), QStringLiteral("can't be read")},
        {skipReasonName(SkipReason::specialFile), QStringLiteral("a pipe, socket or device")},
        {skipReasonName(SkipReason::damagedArchive),
         QStringLiteral("an archive that is damaged or of an unknown kind")},
        {skipReasonName(SkipReason::protectedArchive), QStringLiteral("an archive with a password")},
        {skipReasonName(SkipReason::oversizedArchive), QStringLiteral("an archive that holds too much")},
        {skipReasonName(SkipReason::nestedTooDeep), QStringLiteral("an archive in too many archives")},
        {skipReasonName(SkipReason::storage), QStringLiteral("the gateway's storage could not take it")}};
    return texts.value(reason, reason);
}

QString examplesText(const QJsonValue &examples, qint64 count)
{
    QStringList paths;
    for (const auto &path : examples.toArray()) {
        paths.append(path.toString());
    }
    paths.removeDuplicates();
    return paths.join(QStringLiteral(", ")) + (paths.size() < count ? QStringLiteral(", ...") : QString());
}

} // namespace

ControlRequest importRequest(const QStringList &paths)
{
    return {requests::kImport, {{kPaths, QJsonArray::fromStringList(paths)}}};
}

ControlRequest importReportRequest(const QString &batch)
{
    return {requests::kImportReport, {{kBatch, batch}}};
}

ControlRequest importStopRequest(const QString &batch)
{
    return {requests::kImportStop, {{kBatch, batch}}};
}

bool isImportRequest(const ControlRequest &request)
{
    return request.command == requests::kImport || request.command == requests::kImportReport ||
           request.command == requests::kImportStop;
}

ControlReply
answerImport(receive::StoreManualImportService &service, const ControlRequest &request, bool isSetupRequired)
{
    QString batch = request.arguments.value(kBatch).toString();
    if (request.command == requests::kImport) {
        if (isSetupRequired) {
            return ControlReply::failure(QStringLiteral("Setup isn't finished, so nothing can be imported."));
        }
        QList<QUrl> urls;
        for (const auto &path : request.arguments.value(kPaths).toArray()) {
            urls.append(QUrl::fromLocalFile(path.toString()));
        }
        batch = service.importItems(urls, QStringLiteral("manual_upload"));
        if (batch.isEmpty()) {
            return ControlReply::failure(QStringLiteral("There is nothing to import."), ExitCode::usage);
        }
    } else if (request.command == requests::kImportStop) {
        service.stop(batch);
    }
    const std::optional<ManualImportReport> report = service.report(batch);
    return report ? ControlReply::success(toJson(batch, *report))
                  : ControlReply::failure(QStringLiteral("The running gateway doesn't know this import."));
}

QJsonObject toJson(const QString &batch, const ManualImportReport &report)
{
    return {{kBatch, batch},
            {kPhase, phaseName(report.phase)},
            {QStringLiteral("selectedItems"), report.selectedItems},
            {QStringLiteral("candidateFiles"), report.candidateFiles},
            {kImportedFiles, report.importedFiles},
            {kSkippedFiles, report.skippedFiles},
            {kSkipped, skippedJson(report)},
            {kMayMissImages, report.mayMissImages()},
            {kLeftInArchives, report.leftInArchives},
            {kStopped, report.stopped},
            {kProgress, progressJson(report)}};
}

QString batchIn(const QJsonObject &report)
{
    return report.value(kBatch).toString();
}

bool hasFinished(const QJsonObject &report)
{
    return report.value(kPhase).toString() == kFinished;
}

QString importProgressText(const QJsonObject &report)
{
    const QString phase = report.value(kPhase).toString();
    if (phase == phaseName(ManualImportReport::Phase::waiting)) {
        return QStringLiteral("Waiting ...");
    }
    const QJsonObject progress = report.value(kProgress).toObject();
    const qint64 known = progress.value(QStringLiteral("knownFiles")).toInteger();
    if (phase == phaseName(ManualImportReport::Phase::collecting)) {
        return QStringLiteral("Finding files ... %1").arg(known);
    }
    QString text = QStringLiteral("%1 of %2, %3 of %4, %5/s")
                       .arg(progress.value(QStringLiteral("doneFiles")).toInteger())
                       .arg(filesText(known),
                            bytesText(progress.value(QStringLiteral("doneBytes"))),
                            bytesText(progress.value(QStringLiteral("knownBytes"))),
                            bytesText(progress.value(QStringLiteral("bytesPerSecond"))));
    const QJsonValue left = progress.value(QStringLiteral("secondsLeft"));
    if (left.isDouble()) {
        text += QStringLiteral(", %1 s left").arg(left.toInteger());
    }
    if (phase == phaseName(ManualImportReport::Phase::unpacking)) {
        text += QStringLiteral("; unpacking ...");
    }
    return text;
}

QString importSummaryText(const QJsonObject &report)
{
    QString text = QStringLiteral("%1 imported, %2 passed over.\n")
                       .arg(filesText(report.value(kImportedFiles).toInteger()),
                            filesText(report.value(kSkippedFiles).toInteger()));
    for (const auto &entry : report.value(kSkipped).toArray()) {
        const qint64 count = entry[u"files"].toInteger();
        text += QStringLiteral("  %1 x %2: %3\n")
                    .arg(count)
                    .arg(reasonText(entry[u"reason"].toString()), examplesText(entry[u"examples"], count));
    }
    const qint64 left = report.value(kLeftInArchives).toInteger();
    if (left > 0) {
        text += QStringLiteral("  Links and special files in archives were left there: %1.\n").arg(left);
    }
    return text;
}

QString importFailureSentence(const QJsonObject &report)
{
    if (report.value(kStopped).toBool()) {
        return QStringLiteral("The import was stopped before its end; what was imported stays.");
    }
    if (report.value(kMayMissImages).toBool()) {
        return QStringLiteral("Files were passed over that may be images; the summary says which and why.");
    }
    if (report.value(kImportedFiles).toInteger() == 0) {
        return QStringLiteral("There was no DICOM file to import.");
    }
    return {};
}

} // namespace gateway::terminal

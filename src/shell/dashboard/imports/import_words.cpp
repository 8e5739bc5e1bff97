#include "shell/dashboard/imports/import_words.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>

namespace gateway::shell {

namespace {

using receive::ManualImportReport;
using receive::SkipReason;
using Phase = ManualImportReport::Phase;
using std::chrono::minutes;
using std::chrono::seconds;

/// The words of this page, for the translation.
struct ImportWords
{
    Q_DECLARE_TR_FUNCTIONS(gateway::shell::ImportWords)
};

QString number(qint64 count)
{
    return QLocale().toString(count);
}

QString timeLeftText(seconds left)
{
    if (left < seconds(60)) {
        return ImportWords::tr("less than a minute left");
    }
    const qint64 whole = (left.count() + 59) / 60;
    return whole < 60 ? ImportWords::tr("%1 min left").arg(whole)
                      : ImportWords::tr("%1 h %2 min left").arg(whole / 60).arg(whole % 60);
}

QString reasonText(SkipReason reason)
{
    switch (reason) {
    case SkipReason::notDicom:
        return ImportWords::tr("%1 not DICOM");
    case SkipReason::damagedObject:
        return ImportWords::tr("%1 ends too early");
    case SkipReason::unreadable:
        return ImportWords::tr("%1 can't be read");
    case SkipReason::specialFile:
        return ImportWords::tr("%1 no ordinary file");
    case SkipReason::damagedArchive:
        return ImportWords::tr("%1 damaged archive");
    case SkipReason::protectedArchive:
        return ImportWords::tr("%1 archive with a password");
    case SkipReason::oversizedArchive:
        return ImportWords::tr("%1 archive too large");
    case SkipReason::nestedTooDeep:
        return ImportWords::tr("%1 archive in too many archives");
    case SkipReason::storage:
        return ImportWords::tr("%1 could not be stored here");
    }
    return {};
}

} // namespace

QString importProgressText(const ManualImportReport &report)
{
    switch (report.phase) {
    case Phase::waiting:
        return ImportWords::tr("Waiting for the import before it");
    case Phase::collecting:
        return ImportWords::tr("Looking for files: %1 found").arg(number(report.knownFiles));
    case Phase::unpacking:
    case Phase::importing:
    case Phase::finished:
        break;
    }
    QStringList parts{
        ImportWords::tr("%1 of %2 files").arg(number(report.doneFiles), number(report.knownFiles))};
    if (report.phase == Phase::unpacking) {
        parts.append(ImportWords::tr("unpacking an archive"));
    }
    if (const double rate = report.bytesPerSecond(); rate > 0) {
        const QString size =
            QLocale().formattedDataSize(static_cast<qint64>(rate), 1, QLocale::DataSizeSIFormat);
        parts.append(ImportWords::tr("%1/s").arg(size));
    }
    if (const auto left = report.timeLeft(); left && report.phase != Phase::finished) {
        parts.append(timeLeftText(*left));
    }
    return parts.join(QStringLiteral(" · "));
}

QString importOutcomeText(const ManualImportReport &report)
{
    if (report.candidateFiles == 0 && report.skippedFiles == 0) {
        return report.stopped ? ImportWords::tr("Stopped before anything was imported")
                              : ImportWords::tr("No files found");
    }
    QString words = report.importedFiles == 0
                        ? ImportWords::tr("No DICOM files were imported")
                        : ImportWords::tr("Imported %1 of %2 files")
                              .arg(number(report.importedFiles), number(report.candidateFiles));
    if (report.stopped) {
        words = ImportWords::tr("%1, then stopped").arg(words);
    }
    return words;
}

Color importOutcomeColor(const ManualImportReport &report)
{
    const bool needsLook = report.mayMissImages() || report.stopped || report.importedFiles == 0;
    return needsLook ? Color::amber : Color::green;
}

QStringList importSkipTexts(const ManualImportReport &report)
{
    QStringList lines;
    for (auto entry = report.skipped.begin(); entry != report.skipped.end(); ++entry) {
        QString line = reasonText(entry.key()).arg(number(entry->count));
        if (!entry->examples.isEmpty()) {
            const bool areAll = entry->examples.size() == entry->count;
            line = ImportWords::tr("%1: %2").arg(line,
                                                 entry->examples.join(QStringLiteral(", ")) +
                                                     (areAll ? QString() : QStringLiteral(", …")));
        }
        lines.append(line);
    }
    return lines;
}

} // namespace gateway::shell

#include "receive/manual_import_report.h"

namespace gateway::receive {

namespace {

void note(SkippedFiles &files, const QString &path)
{
    constexpr qsizetype kExamples = 5;
    ++files.count;
    if (files.examples.size() < kExamples) {
        files.examples.append(path);
    }
}

} // namespace

QString skipReasonName(SkipReason reason)
{
    switch (reason) {
    case SkipReason::notDicom:
        return QStringLiteral("not_dicom");
    case SkipReason::damagedObject:
        return QStringLiteral("damaged_object");
    case SkipReason::unreadable:
        return QStringLiteral("unreadable");
    case SkipReason::specialFile:
        return QStringLiteral("special_file");
    case SkipReason::damagedArchive:
        return QStringLiteral("damaged_archive");
    case SkipReason::protectedArchive:
        return QStringLiteral("protected_archive");
    case SkipReason::oversizedArchive:
        return QStringLiteral("oversized_archive");
    case SkipReason::nestedTooDeep:
        return QStringLiteral("nested_too_deep");
    case SkipReason::storage:
        return QStringLiteral("storage");
    }
    return {};
}

double ManualImportReport::bytesPerSecond() const
{
    const double seconds = std::chrono::duration<double>(elapsed).count();
    return seconds > 0 ? static_cast<double>(doneBytes) / seconds : 0;
}

std::optional<std::chrono::seconds> ManualImportReport::timeLeft() const
{
    const double rate = bytesPerSecond();
    if (phase == Phase::waiting || phase == Phase::collecting || rate <= 0) {
        return std::nullopt;
    }
    return std::chrono::seconds(static_cast<qint64>(static_cast<double>(knownBytes - doneBytes) / rate));
}

bool ManualImportReport::mayMissImages() const
{
    for (auto entry = skipped.keyBegin(); entry != skipped.keyEnd(); ++entry) {
        if (*entry != SkipReason::notDicom && *entry != SkipReason::specialFile) {
            return true;
        }
    }
    return false;
}

void ManualImportReport::addSkipped(SkipReason reason, const QString &path)
{
    ++skippedFiles;
    note(skipped[reason], path);
}

void ManualImportReport::addUnlisted(const QString &folder)
{
    note(skipped[SkipReason::unreadable], folder);
}

} // namespace gateway::receive

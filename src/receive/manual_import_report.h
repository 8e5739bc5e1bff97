#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <optional>

namespace gateway::receive {

/// Why a file, an archive or a folder of a batch was passed over.
enum class SkipReason
{
    notDicom,         ///< readable, but no DICOM object
    damagedObject,    ///< a DICOM object that ends too early
    unreadable,       ///< it isn't there, or its medium or its permissions don't let it be read
    specialFile,      ///< a pipe, a socket or a device
    damagedArchive,   ///< damaged, or of a kind that can't be read
    protectedArchive, ///< protected by a password
    oversizedArchive, ///< holds more than an archive may
    nestedTooDeep,    ///< an archive in too many archives
    storage           ///< the gateway's own storage, index or parser couldn't take it now
};

/// A stable word for each reason, such as "not_dicom".
QString skipReasonName(SkipReason reason);

struct SkippedFiles
{
    qint64 count = 0;
    QStringList examples; ///< paths of the first few; for who asked, not for a log

    bool operator==(const SkippedFiles &) const = default;
};

/// How far a batch is, and at last what became of it. Thread: a plain value.
struct ManualImportReport
{
    enum class Phase
    {
        waiting,    ///< for the batches before it
        collecting, ///< finding the files
        unpacking,
        importing,
        finished
    };

    Phase phase = Phase::waiting;

    qint64 selectedItems = 0;
    qint64 candidateFiles = 0;
    qint64 importedFiles = 0;
    qint64 skippedFiles = 0;
    QMap<SkipReason, SkippedFiles> skipped; ///< also folders, which `skippedFiles` doesn't count
    qint64 leftInArchives = 0; ///< links and special files in archives, which aren't files to import
    bool stopped = false;      ///< ended on request with something left to do

    // Progress. What archives hold becomes known when they are opened.
    qint64 doneFiles = 0;
    qint64 knownFiles = 0;
    qint64 doneBytes = 0;
    qint64 knownBytes = 0;
    std::chrono::nanoseconds elapsed{0}; ///< since the batch began to collect

    /// Bytes a second so far; 0 before anything was done.
    double bytesPerSecond() const;

    /// How long the rest takes at this rate; nothing while that can't be said.
    std::optional<std::chrono::seconds> timeLeft() const;

    /// True when something was passed over that might have been an image, or held one.
    bool mayMissImages() const;

    void addSkipped(SkipReason reason, const QString &path);

    /// Notes a folder that couldn't be listed: what it holds is not known, so no file is counted.
    void addUnlisted(const QString &folder);
};

} // namespace gateway::receive

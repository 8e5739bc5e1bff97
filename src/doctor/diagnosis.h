#pragma once

#include "core/failure_class.h"

#include <QtCore/QLatin1StringView>
#include <QtCore/QList>
#include <QtCore/QString>

namespace gateway::doctor {

/// What can be found. A new kind goes before `rejectedObject`, which stays the last.
enum class FindingKind
{
    indexDamaged,
    indexNotAnswering,
    indexMadeAnew,
    wrongCount,
    wrongState,
    unrecordedImage,
    unreadableFile,
    unexaminedFile,
    fileGone,
    folderGone,
    rowWithoutFile,
    fileGoneAfterUpload,
    earlierCopy,
    wholeCopy,
    damagedImage,
    foreignFile,
    unsentVersion,
    waitsForRemoval,
    waitsInInbox,
    waitsLongInInbox,
    notRemovedFromInbox,
    inboxOutOfSight,
    formerInboxOutOfSight,
    inboxOfAnotherHome,
    inboxInUse,
    indexNotWritten,
    storeNotWritten,
    storeOutOfSight,
    anotherStore,
    listenerNotListening,
    nobodySignedIn,
    formerIndexKept,
    rejectedObject
};

/// A file as it may be shown: never by a name that somebody gave it.
struct FileName
{
    QString storagePath;  ///< where the store gave it its name, or a folder by the settings; else empty
    QString fileHash;     ///< as the log has it
    QString instanceHash; ///< of its SOP instance UID, where that is known

    bool operator==(const FileName &) const = default;
};

/// So many examples stand for a finding or a failure.
inline constexpr qsizetype kMostExamples = 3;

/// How often one kind of thing was found.
struct Finding
{
    FindingKind kind = FindingKind::indexDamaged;
    qint64 count = 0;
    qint64 mended = 0;
    QList<FileName> examples = {};
};

/// Files that were not sent, last for one reason.
struct FailedFiles
{
    core::Failure failure;
    qint64 count = 0;
    QList<FileName> examples;
};

/// What an examination found. Thread: a plain value.
struct Diagnosis
{
    QList<Finding> findings = {}; ///< in the order of the kinds, each with a count above 0
    QList<FailedFiles> failures = {};
    qint64 storedFiles = 0;   ///< files of the store that were looked at
    qint64 recordedFiles = 0; ///< files of the index that were looked for
    bool wasStopped = false;  ///< so that the rest isn't known

    /// True when everything was looked at and nothing is wrong any more.
    bool isWell() const;
};

/// The kind as programs read it. It never changes.
QLatin1StringView rawValue(FindingKind kind);

/// True where something is wrong, false where it is only good to know.
bool isProblem(FindingKind kind);

/// True where an examination that repairs does something about it.
bool isMendable(FindingKind kind);

/// What it means and what to do, for people, in the user's language.
QString findingSentence(FindingKind kind);

} // namespace gateway::doctor

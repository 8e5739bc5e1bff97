#pragma once

#include "index/import_recorder.h"

#include <QtCore/QSet>
#include <QtCore/QString>

#include <cstdint>
#include <vector>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

struct ParsedObject;

// An image may have come more than once. Its rows stand for one of its stored files, the *current* one; the
// others are noted in `SupersededFile` beside it and go when it is safe. All of this runs inside the
// caller's transaction, and throws SqliteError. Thread: any.

/// What becomes of a stored file beside those that its image has already.
enum class Standing
{
    current,    ///< its image's rows are to stand for it
    superseded, ///< they stand for another, which was acknowledged later, or is whole where this one isn't
    sameObject  ///< they stand for another name of what was acknowledged once: this one isn't needed
};

/// A stored file that rows of an image stand for.
struct CurrentCopy
{
    QString pathString;
    std::int64_t acknowledged = 0; ///< nanoseconds since 1970; 0 where nobody knows
    bool isDamaged = false;
    bool isOwed = false;  ///< a modality may have been told of it, and the cloud isn't known to have it
    bool isThere = false; ///< unless it is certain that the file is gone
};

struct Judgement
{
    Standing standing = Standing::current;
    CurrentCopy rival;               ///< the current copy that stays, unless `file` is to be current
    std::vector<CurrentCopy> copies; ///< all that rows stand for now, but `file`
};

/// The stored files that the rows of this image stand for. \throws FileError where it
/// can't be told when one of them was acknowledged
std::vector<CurrentCopy>
currentCopies(platform::Database &database, const ParsedObject &object, const StoredFile &beside);

/// Decides by the order of acknowledgement, and at equal times by number. A damaged file never takes the
/// place of a whole one, and one that is there always takes that of one that isn't. What a person brings in
/// is the same object as one that is owed and holds the same bytes: that one stays. \throws FileError as
/// above
Judgement judge(platform::Database &database, const ParsedObject &object, const StoredFile &file);

/// Notes that `copy` isn't current: rows of its image stand for `successor`.
void noteSuperseded(platform::Database &database, const CurrentCopy &copy, const QString &successor);

/// What stood beside `from` stands beside `successor` from now on.
void handOver(platform::Database &database, const QString &from, const QString &successor);

/// Notes files that nothing needs any more for their removal from the disk.
void noteForRemoval(platform::Database &database, const QSet<QString> &paths);

/// True for a file that is noted so, and wasn't removed since.
bool isNotedForRemoval(platform::Database &database, const QString &pathString);

/// Notes superseded files for their removal.
void releaseSuperseded(platform::Database &database, const QSet<QString> &paths);

/// Notes for removal what was acknowledged before `current`, given that it is whole and its rows are all
/// synced; nothing otherwise. What is owed stays unless `current` came from the network: what a person
/// brings in acknowledges nothing to a modality. \return what was noted.
QSet<QString> releaseIfProven(platform::Database &database, const QString &current);

/// Notes for removal all copies beside those of `paths` for which no row stands any more. \return what was
/// noted.
QSet<QString> releaseBesideDeleted(platform::Database &database, const QSet<QString> &paths);

/// An owed file beside one that is in the cloud and doesn't stand for it.
struct OwedFile
{
    QString pathString;
    QString successor;
    std::int64_t sentVersion = 0; ///< of the instance, the only one; 0 where nobody knows
    StoreTurn store = {};         ///< whose the names are

    bool operator==(const OwedFile &) const = default;
};

/// The owed files beside `successor`, or beside all where it is empty.
std::vector<OwedFile> owedFiles(platform::Database &database, const QString &successor = {});

/// Notes that the file holds the version that was sent, unless another was sent meanwhile: it isn't owed any
/// more.
void noteAsSent(platform::Database &database, const OwedFile &file);

/// True for a superseded file that isn't owed.
bool isSupersededAndNotOwed(platform::Database &database, const QString &pathString);

/// The current copy that a superseded file stands beside; empty for any other file.
QString successorOf(platform::Database &database, const QString &pathString);

/// True for a file that others stand beside.
bool isSuccessor(platform::Database &database, const QString &pathString);

/// True for a superseded file that was acknowledged later than the one that it stands beside.
bool isLaterThanSuccessor(platform::Database &database, const QString &pathString);

/// True for a file that rows stand for, that is superseded, or that waits for its removal.
bool isSpokenFor(platform::Database &database, const QString &pathString);

/// True for a file that rows stand for or that is superseded: it must not be removed.
bool isNeeded(platform::Database &database, const QString &pathString);

} // namespace gateway::index

#include "index/stored_copies.h"

#include "index/parsed_object.h"
#include "index/sent_instances.h"
#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <tuple>

namespace gateway::index {

using platform::Database;
using platform::Statement;

namespace {

constexpr const char *kCurrentCopies =
    "SELECT pathString, max(acknowledged), max(damaged), max(cameFrom <> 1 AND DicomImage.syncState IS NOT "
    "1) "
    "FROM Study JOIN Series ON Series.study = Study.pk "
    "JOIN DicomImage ON DicomImage.series = Series.pk "
    "WHERE studyInstanceUID = ? AND Series.seriesInstanceUID = ? AND sopInstanceUID = ? "
    "AND originalSOPInstanceUID = ? GROUP BY pathString";

// What is damaged proves nothing: one that came before may hold more of the image.
constexpr const char *kProven =
    "SELECT pathString FROM SupersededFile WHERE successor = ?1 "
    "AND acknowledged < (SELECT max(acknowledged) FROM DicomImage WHERE pathString = ?1) "
    "AND NOT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = ?1 AND (syncState IS NOT 1 OR damaged <> 0 "
    "OR (cameFrom <> 0 AND owed <> 0)))";

constexpr const char *kOwed =
    "SELECT pathString, successor, "
    "(SELECT max(originalSOPInstanceUID) FROM DicomImage WHERE pathString = successor) "
    "FROM SupersededFile WHERE owed <> 0 AND (?1 = '' OR successor = ?1) "
    "AND EXISTS (SELECT 1 FROM DicomImage WHERE pathString = successor AND cameFrom <> 0) "
    "AND NOT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = successor AND syncState IS NOT 1) "
    "ORDER BY pathString";

constexpr const char *kIsSupersededAndNotOwed =
    "SELECT EXISTS (SELECT 1 FROM SupersededFile WHERE pathString = ?1 AND owed = 0)";

constexpr const char *kIsSuccessor = "SELECT EXISTS (SELECT 1 FROM SupersededFile WHERE successor = ?1)";

constexpr const char *kIsLaterThanSuccessor =
    "SELECT EXISTS (SELECT 1 FROM SupersededFile WHERE pathString = ?1 AND acknowledged > "
    "(SELECT max(acknowledged) FROM DicomImage WHERE DicomImage.pathString = SupersededFile.successor))";

constexpr const char *kIsSpokenFor = "SELECT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = ?1) "
                                     "OR EXISTS (SELECT 1 FROM SupersededFile WHERE pathString = ?1) "
                                     "OR EXISTS (SELECT 1 FROM PendingRemoval WHERE pathString = ?1)";

constexpr const char *kIsNotedForRemoval =
    "SELECT EXISTS (SELECT 1 FROM PendingRemoval WHERE pathString = ?1)";

constexpr const char *kIsNeeded = "SELECT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = ?1) "
                                  "OR EXISTS (SELECT 1 FROM SupersededFile WHERE pathString = ?1)";

QString rootOf(const StoredFile &file)
{
    return file.path.endsWith(file.pathString) ? file.path.chopped(file.pathString.size()) : QString();
}

std::int64_t numberOf(const QString &pathString)
{
    return pathString.section(u'/', -1).section(u'.', 0, 0).toLongLong();
}

/// True where `file` is to take the place of `copy`.
bool takesPlaceOf(const CurrentCopy &copy, const StoredFile &file, bool isDamaged)
{
    if (!copy.isThere) {
        return true;
    }
    if (copy.isDamaged != isDamaged) {
        return copy.isDamaged;
    }
    return std::tuple(file.acknowledged, file.number) >
           std::tuple(copy.acknowledged, numberOf(copy.pathString));
}

bool isSameObject(const CurrentCopy &copy, const StoredFile &file, const QString &root)
{
    const bool isOfOneSending = copy.acknowledged != 0 && copy.acknowledged == file.acknowledged;
    return copy.isThere && (isOfOneSending || (file.origin == FileOrigin::broughtIn && copy.isOwed)) &&
           platform::haveSameContent(root + copy.pathString, file.path);
}

QSet<QString> pathsOf(Statement &row)
{
    QSet<QString> paths;
    while (row.step()) {
        paths.insert(row.text(0));
    }
    return paths;
}

bool exists(Database &database, const char *question, const QString &pathString)
{
    Statement row = database.prepare(question);
    row.bindAll(pathString);
    return row.step() && row.integer(0) != 0;
}

} // namespace

std::vector<CurrentCopy>
currentCopies(Database &database, const ParsedObject &object, const StoredFile &beside)
{
    const QString &uid = object.sopInstanceUID.value();
    std::vector<CurrentCopy> copies;
    if (!object.studyInstanceUID || uid.isEmpty()) {
        return copies; // images without an identity stay apart
    }
    Statement row = database.prepare(kCurrentCopies);
    row.bindAll(*object.studyInstanceUID, object.seriesKey + u'0', uid + u'0', uid);
    while (row.step()) {
        CurrentCopy copy{
            row.text(0).trimmed(), row.integer(1), row.integer(2) != 0, row.integer(3) != 0, false};
        if (copy.pathString.isEmpty() || copy.pathString == beside.pathString) {
            continue;
        }
        const QString path = rootOf(beside) + copy.pathString;
        copy.isThere = !platform::isKnownToBeAbsent(path);
        if (copy.isThere && copy.acknowledged == 0) { // recorded before times were kept
            copy.acknowledged = platform::fileIdentityOrThrow(path).modified.count();
        }
        copies.push_back(copy);
    }
    return copies;
}

Judgement judge(Database &database, const ParsedObject &object, const StoredFile &file)
{
    Judgement result{Standing::current, {}, currentCopies(database, object, file)};
    for (const CurrentCopy &copy : result.copies) {
        const bool isSame = isSameObject(copy, file, rootOf(file));
        if (isSame || !takesPlaceOf(copy, file, object.isDamaged)) {
            result.standing = isSame ? Standing::sameObject : Standing::superseded;
            result.rival = copy;
            return result;
        }
    }
    return result;
}

void noteSuperseded(Database &database, const CurrentCopy &copy, const QString &successor)
{
    database
        .prepare("INSERT INTO SupersededFile (pathString, successor, acknowledged, owed) VALUES (?, ?, ?, ?) "
                 "ON CONFLICT (pathString) DO UPDATE SET successor = excluded.successor")
        .bindAll(copy.pathString, successor, copy.acknowledged, copy.isOwed)
        .run();
    handOver(database, copy.pathString, successor);
}

void handOver(Database &database, const QString &from, const QString &successor)
{
    database.prepare("UPDATE SupersededFile SET successor = ? WHERE successor = ?")
        .bindAll(successor, from)
        .run();
}

void noteForRemoval(Database &database, const QSet<QString> &paths)
{
    for (const QString &path : paths) {
        database.prepare("INSERT OR IGNORE INTO PendingRemoval (pathString) VALUES (?)").bindAll(path).run();
    }
}

bool isNotedForRemoval(Database &database, const QString &pathString)
{
    return exists(database, kIsNotedForRemoval, pathString);
}

void releaseSuperseded(Database &database, const QSet<QString> &paths)
{
    for (const QString &path : paths) {
        database.prepare("DELETE FROM SupersededFile WHERE pathString = ?").bindAll(path).run();
    }
    noteForRemoval(database, paths);
}

QSet<QString> releaseIfProven(Database &database, const QString &current)
{
    Statement row = database.prepare(kProven);
    row.bindAll(current);
    const QSet<QString> paths = pathsOf(row);
    releaseSuperseded(database, paths);
    return paths;
}

QSet<QString> releaseBesideDeleted(Database &database, const QSet<QString> &paths)
{
    QSet<QString> released;
    for (const QString &path : paths) {
        Statement row = database.prepare("SELECT pathString FROM SupersededFile WHERE successor = ?1 "
                                         "AND NOT EXISTS (SELECT 1 FROM DicomImage WHERE pathString = ?1)");
        row.bindAll(path);
        released += pathsOf(row);
    }
    releaseSuperseded(database, released);
    return released;
}

std::vector<OwedFile> owedFiles(Database &database, const QString &successor)
{
    std::vector<OwedFile> files;
    Statement row = database.prepare(kOwed);
    row.bindAll(successor);
    while (row.step()) {
        files.push_back({row.text(0),
                         row.text(1),
                         onlyVersionSent(database, platform::InstanceUid(row.text(2))),
                         storeTurn(database)});
    }
    return files;
}

void noteAsSent(Database &database, const OwedFile &file)
{
    for (const OwedFile &now : owedFiles(database, file.successor)) {
        if (now == file) {
            database.prepare("UPDATE SupersededFile SET owed = 0 WHERE pathString = ?")
                .bindAll(file.pathString)
                .run();
        }
    }
}

bool isSupersededAndNotOwed(Database &database, const QString &pathString)
{
    return exists(database, kIsSupersededAndNotOwed, pathString);
}

QString successorOf(Database &database, const QString &pathString)
{
    Statement row = database.prepare("SELECT successor FROM SupersededFile WHERE pathString = ?");
    row.bindAll(pathString);
    return row.step() ? row.text(0) : QString();
}

bool isSuccessor(Database &database, const QString &pathString)
{
    return exists(database, kIsSuccessor, pathString);
}

bool isLaterThanSuccessor(Database &database, const QString &pathString)
{
    return exists(database, kIsLaterThanSuccessor, pathString);
}

bool isSpokenFor(Database &database, const QString &pathString)
{
    return exists(database, kIsSpokenFor, pathString);
}

bool isNeeded(Database &database, const QString &pathString)
{
    return exists(database, kIsNeeded, pathString);
}

} // namespace gateway::index

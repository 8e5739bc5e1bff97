#pragma once

#include "index/import_recorder.h"
#include "index/parsed_object.h"
#include "index/tally_recount.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <cstdint>
#include <optional>
#include <stop_token>
#include <vector>

namespace gateway::platform {
class Clock;
class Database;
class DicomParsing;
} // namespace gateway::platform

namespace gateway::index {

class FileStore;
class IndexStore;
struct Judgement;
struct OwedFile;

/// A stored file as the rows know it.
struct RecordedFile
{
    QString storagePath;
    bool isSynced = false;     ///< every row of it is
    bool isInProgress = false; ///< a row of it is in a running upload, or was in one that died

    bool operator==(const RecordedFile &) const = default;
};

/// A file of the store that no row refers to.
struct UnrecordedFile
{
    enum class Kind
    {
        none,        ///< it is recorded after all, about to be, or about to be removed, or it has gone
        image,       ///< an image that the index doesn't have
        earlierCopy, ///< a copy of an image whose rows refer to a later file, or to a whole one
        wholeCopy,   ///< an image whose rows refer to a later file that ends before its elements do
        unreadable,  ///< no image that could be recorded
        unexamined   ///< trouble stood in the way of looking at it
    };

    Kind kind = Kind::none;
    std::optional<StoredFile> place; ///< where it has the place that the store would give it
    QUrl fileURL;
    ParsedObject object;  ///< of an image
    QString damagedRival; ///< of a `wholeCopy`: the file that its rows refer to
};

/// The index compared with itself and with the file store, in small steps that a live index goes on beside.
///
/// Nothing here removes a file. Reads end with an SqliteError when their stop is requested. Each
/// function throws SqliteError.
///
/// Owner: a value for the length of an examination; the index outlives it. Thread: any.
class IndexExamination
{
public:
    IndexExamination(IndexStore &store,
                     FileStore &files,
                     platform::DicomParsing &parser,
                     platform::Clock &clock)
        : m_store(store), m_files(files), m_parser(parser), m_clock(clock)
    {
    }

    /// What SQLite finds wrong with the file itself: 0 for a sound one.
    std::int64_t complaints(const std::stop_token &stop) const;

    /// Whether a transaction that changes nothing reaches the disk.
    bool isWritable();

    /// Whether a small file can be taken into the file store; tries it.
    bool isStoreWritable();

    TallyDifferences tallyDifferences(const std::stop_token &stop) const;

    /// Counts everything anew, in one transaction.
    void mendTallies();

    /// The next files behind `after` that rows refer to, by their path, at most `limit`.
    QList<RecordedFile> recordedFiles(const QString &after, int limit, const std::stop_token &stop) const;

    /// The same for one file as it is now; nothing when no row refers to it any more.
    std::optional<RecordedFile> recordedFile(const QString &storagePath) const;

    /// True for a path of the form that the store gives.
    bool isNumbered(const QString &storagePath) const;

    /// Rows that name no file, which no upload can reach.
    std::int64_t rowsWithoutFile(const std::stop_token &stop) const;

    std::int64_t pendingRemovals() const;

    /// What the file of this path is, given that somebody saw it in the store. A file that an import has just
    /// moved in is never taken for one without rows.
    UnrecordedFile lookAt(const QString &pathString) const;

    /// Records a file where it lies, unless somebody else did by now: as the one for which its image's rows
    /// stand, or as a copy beside it that goes when it has served.
    ///
    /// \param file  of kind `image`, `earlierCopy` or `wholeCopy`, in its place.
    /// \return false when there was nothing to record any more.
    bool record(const UnrecordedFile &file) { return record(QList<UnrecordedFile>{file}) == 1; }

    /// The same for several in one transaction. \return how many were recorded.
    std::int64_t record(const QList<UnrecordedFile> &files);

    /// How many stored files that rows stand for end before their elements do.
    std::int64_t damagedFiles() const;

    /// How many files that a modality may have been told are stored were not sent, while another version of
    /// the image, which perhaps a person brought in, took their place in the cloud. Reads them: those that
    /// hold the very dataset that was sent don't count.
    std::int64_t owedFiles() const;

    /// Those of the owed files beside `successor`, or beside all where it is empty, that hold the very
    /// dataset that was sent.
    std::vector<OwedFile> owedFilesThatWereSent(const QString &successor = {}) const;

private:
    bool hasItsPlace(platform::Database &database, const QString &pathString) const;
    bool hasPlace(const QString &pathString) const;
    bool isNotedBeside(const StoredFile &file, const Judgement &judgement) const;
    void examine(UnrecordedFile &file) const;
    void compareWithCurrent(UnrecordedFile &file) const;
    bool wasSent(const OwedFile &file) const;

    IndexStore &m_store;
    FileStore &m_files;
    platform::DicomParsing &m_parser;
    platform::Clock &m_clock;
};

} // namespace gateway::index

#include "index/store_recording.h"

#include "index/file_store.h"
#include "index/index_store.h"
#include "index/sent_instances.h"
#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <algorithm>
#include <utility>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;
using platform::Statement;

namespace {

// So many files share a transaction: importers share the writer, and wait for no more than these.
constexpr int kFilesOfABatch = 50;

/// A kill may leave so many files behind that have their numbers and not yet their rows, and not more.
constexpr std::int64_t kMostImportsUnderWay = 64;

struct Known
{
    std::int64_t nextNumber = 0;
    StoreTurn store;
};

Known known(const IndexStore &store)
{
    return store.read([](Database &database) {
        return Known{database.integer("SELECT nextFileNumber FROM Ledger"), storeTurn(database)};
    });
}

struct Batch
{
    QList<UnrecordedFile> files;
    std::optional<std::int64_t> firstLeft; // the first that could not be looked at
    std::int64_t looked = 0;               // at how many of those that were there at the opening
};

Batch lookAt(const IndexExamination &examination,
             const QList<StoredFile> &files,
             std::int64_t numberAtOpening,
             const std::stop_token &stop)
{
    Batch batch;
    for (const StoredFile &file : files) {
        UnrecordedFile found = examination.lookAt(file.pathString);
        const bool isLookedAt = found.kind != UnrecordedFile::Kind::unexamined;
        batch.looked += isLookedAt && file.number < numberAtOpening ? 1 : 0;
        switch (found.kind) {
        case UnrecordedFile::Kind::image:
        case UnrecordedFile::Kind::earlierCopy:
        case UnrecordedFile::Kind::wholeCopy:
            batch.files.append(std::move(found));
            break;
        case UnrecordedFile::Kind::unexamined:
            batch.firstLeft = batch.firstLeft.value_or(file.number); // another time
            break;
        case UnrecordedFile::Kind::none:
        case UnrecordedFile::Kind::unreadable:
            break;
        }
        if (stop.stop_requested()) {
            batch.firstLeft = batch.firstLeft.value_or(file.number);
            break;
        }
    }
    return batch;
}

} // namespace

StoreRecording::StoreRecording(IndexStore &store,
                               FileStore &files,
                               IndexExamination examination,
                               std::int64_t knownSends,
                               std::function<void()> onStatesChanged)
    : m_store(store), m_files(files), m_examination(examination),
      m_onStatesChanged(std::move(onStatesChanged))
{
    noteWhatIsLacking();
    try {
        if (m_store.read(sendCount) < knownSends) {
            m_store.tryWrite([&](Database &database) { noteSendCount(database, knownSends); });
        }
    } catch (const SqliteError &) {
        return; // as above
    }
}

/// What is to be recorded again.
struct StoreRecording::Due
{
    std::int64_t from = 0; // the number of a file
    StoreTurn store;
};

std::optional<StoreRecording::Due> StoreRecording::due() const
{
    return m_store.read([](Database &database) -> std::optional<Due> {
        Statement row = database.prepare("SELECT recordAgainFrom FROM Ledger");
        return row.step() && !row.isNull(0) ? std::optional(Due{row.integer(0), storeTurn(database)})
                                            : std::nullopt;
    });
}

void StoreRecording::noteWhatIsLacking()
{
    try {
        const std::optional<Due> lacking = due();
        const auto [next, store] = known(m_store);
        if (lacking && m_files.wasNeverUsed()) {
            noteRecordAgainFrom(std::nullopt, store);
        } else if (!lacking && m_files.numberAtOpening() > next) {
            noteRecordAgainFrom(next, store);
        }
        // A new index beside a store that was never in use lacks nothing.
        const bool isNew = lacking && lacking->from == 0 && !m_files.wasNeverUsed();
        if (isNew || m_files.numberAtOpening() - next > kMostImportsUnderWay || holdsWhatNoKillLeft(next)) {
            m_store.tryWrite(noteUnrecordedSends);
        }
    } catch (const SqliteError &) {
        return; // whoever reads the index next will say so
    }
}

/// True where a file without rows lies in the store that isn't what a kill leaves of an import: that has its
/// name in the inbox as well.
bool StoreRecording::holdsWhatNoKillLeft(std::int64_t from) const
{
    if (m_files.isOutOfSight()) {
        return false; // it is compared when it is back
    }
    while (from < m_files.numberAtOpening()) {
        const FileStore::Page page = m_files.filesFrom(from, kFilesOfABatch);
        const auto isLeft = [this](const StoredFile &file) {
            const auto found = platform::fileIdentity(file.path);
            return found && found->names < 2 && !m_files.isBeingImported(file.pathString);
        };
        if (page.firstOutOfSight || std::ranges::any_of(page.files, isLeft)) {
            return true;
        }
        if (page.files.isEmpty()) {
            return false;
        }
        from = page.files.last().number + 1;
    }
    return false;
}

/// True unless the store is out of sight, or another one has come to stand there.
bool StoreRecording::isStoreThere()
{
    m_files.takeUp();
    return !m_files.isOutOfSight();
}

/// \return false as well where another store has become that of the index: all of it is to be recorded.
bool StoreRecording::noteRecordAgainFrom(std::optional<std::int64_t> number, StoreTurn store)
{
    bool isNoted = false;
    const bool isSaved = m_store.tryWrite([&](Database &database) {
        isNoted = storeTurn(database) == store;
        if (isNoted) {
            database.prepare("UPDATE Ledger SET recordAgainFrom = ?").bindAll(number).run();
        }
    });
    return isSaved && isNoted;
}

/// A further try goes on counting where the one before stopped.
RecordingProgress StoreRecording::beginProgress(std::int64_t from)
{
    const std::int64_t left = m_files.countFrom(from);
    RecordingProgress progress = recordingProgress().value_or(RecordingProgress{.files = left});
    progress.recorded = std::max<std::int64_t>(0, progress.files - left);
    tellProgress(progress);
    return progress;
}

void StoreRecording::tellProgress(const std::optional<RecordingProgress> &progress)
{
    const platform::MutexLock lock(m_recordingMutex);
    m_recording = progress;
}

std::optional<RecordingProgress> StoreRecording::recordingProgress() const
{
    const platform::MutexLock lock(m_recordingMutex);
    return m_recording;
}

bool StoreRecording::lacksStoredFiles() const
{
    try {
        return due() && m_store.read(lacksSentInstances);
    } catch (const SqliteError &) {
        return false; // whoever reads the index next will say so
    }
}

bool StoreRecording::recordStoredFiles(const std::stop_token &stop,
                                       const std::function<void(std::int64_t)> &onRecorded)
{
    try {
        const std::optional<Due> lacking = due();
        if (!lacking) {
            return true;
        }
        if (!isStoreThere()) {
            return false; // nothing is known of the files
        }
        std::int64_t from = lacking->from;
        RecordingProgress progress = beginProgress(from);
        std::optional<std::int64_t> firstLeft;
        for (bool isEnd = false; !isEnd && !stop.stop_requested();) {
            const FileStore::Page page = m_files.filesFrom(from, kFilesOfABatch);
            const Batch batch = lookAt(m_examination, page.files, m_files.numberAtOpening(), stop);
            if (!isStoreThere()) {
                return false; // those that were looked at may be another's
            }
            const std::int64_t recorded = m_examination.record(batch.files);
            firstLeft = firstLeft ? firstLeft : page.firstOutOfSight ? page.firstOutOfSight : batch.firstLeft;
            isEnd = page.files.isEmpty();
            from = isEnd ? from : page.files.last().number + 1;
            noteRecordAgainFrom(firstLeft.value_or(from), lacking->store);
            progress.recorded += batch.looked;
            tellProgress(progress);
            if (recorded > 0) {
                m_onStatesChanged();
                onRecorded(recorded);
            }
        }
        if (firstLeft || stop.stop_requested() || !noteRecordAgainFrom(std::nullopt, lacking->store)) {
            return false;
        }
        tellProgress(std::nullopt);
        return true;
    } catch (const SqliteError &) {
        return false;
    } catch (const platform::FileError &) {
        return false;
    }
}

} // namespace gateway::index

#include "index/store_recording.h"

#include "index/file_store.h"
#include "index/index_store.h"
#include "index/sent_instances.h"
#include "platform/files/file_error.h"
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

std::int64_t nextNumberOf(const IndexStore &store)
{
    return store.read(
        [](Database &database) { return database.integer("SELECT nextFileNumber FROM Ledger"); });
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
    noteWhatWasLost(knownSends);
}

std::optional<std::int64_t> StoreRecording::recordAgainFrom() const
{
    return m_store.read([](Database &database) -> std::optional<std::int64_t> {
        Statement row = database.prepare("SELECT recordAgainFrom FROM Ledger");
        return row.step() && !row.isNull(0) ? std::optional(row.integer(0)) : std::nullopt;
    });
}

/// Compares the index with the store before anything is taken in. A new one beside a store that was never in
/// use lacks nothing; one that was made anew, or brought back from a backup, lacks what came and what was
/// sent since.
void StoreRecording::noteWhatWasLost(std::int64_t knownSends)
{
    try {
        const std::optional<std::int64_t> from = recordAgainFrom();
        const std::int64_t next = nextNumberOf(m_store);
        if (from && m_files.wasNeverUsed()) {
            noteRecordAgainFrom(std::nullopt);
        } else if (!from && m_files.numberAtOpening() > next) {
            noteRecordAgainFrom(next);
        }
        const bool isNew = from == 0 && !m_files.wasNeverUsed();
        if (isNew || m_files.numberAtOpening() - next > kMostImportsUnderWay) {
            m_store.tryWrite(noteUnrecordedSends);
        }
        if (m_store.read(sendCount) < knownSends) {
            m_store.tryWrite([&](Database &database) { noteSendCount(database, knownSends); });
        }
    } catch (const SqliteError &) {
        return; // whoever reads the index next will say so
    }
}

bool StoreRecording::noteRecordAgainFrom(std::optional<std::int64_t> number)
{
    return m_store.tryWrite([&](Database &database) {
        database.prepare("UPDATE Ledger SET recordAgainFrom = ?").bindAll(number).run();
    });
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
        return recordAgainFrom() && m_store.read(lacksSentInstances);
    } catch (const SqliteError &) {
        return false; // whoever reads the index next will say so
    }
}

bool StoreRecording::recordStoredFiles(const std::stop_token &stop,
                                       const std::function<void(std::int64_t)> &onRecorded)
{
    try {
        std::optional<std::int64_t> from = recordAgainFrom();
        if (!from) {
            return true;
        }
        const bool isOutOfSight = m_files.numberAtOpening() > 0 && !m_files.isInSight();
        RecordingProgress progress = beginProgress(*from);
        std::optional<std::int64_t> firstLeft;
        for (bool isEnd = false; !isEnd && !stop.stop_requested();) {
            const FileStore::Page page = m_files.filesFrom(*from, kFilesOfABatch);
            const Batch batch = lookAt(m_examination, page.files, m_files.numberAtOpening(), stop);
            const std::int64_t recorded = m_examination.record(batch.files);
            firstLeft = firstLeft ? firstLeft : page.firstOutOfSight ? page.firstOutOfSight : batch.firstLeft;
            isEnd = page.files.isEmpty();
            from = isEnd ? *from : page.files.last().number + 1;
            noteRecordAgainFrom(firstLeft.value_or(*from));
            progress.recorded += batch.looked;
            tellProgress(progress);
            if (recorded > 0) {
                m_onStatesChanged();
                onRecorded(recorded);
            }
        }
        if (isOutOfSight || firstLeft || stop.stop_requested() || !noteRecordAgainFrom(std::nullopt)) {
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

#pragma once

#include "index/index_examination.h"
#include "platform/concurrency/mutex.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>

namespace gateway::index {

class FileStore;
class IndexStore;

/// How far the recording of the stored files is that the index may lack.
struct RecordingProgress
{
    std::int64_t files = 0;    ///< those that it had to look at when it began
    std::int64_t recorded = 0; ///< those of them that have rows now, where they need them
};

/// Gives the stored files rows again that were lost with an index.
///
/// Owner: DicomDB. Thread: any. Nothing here throws.
class StoreRecording
{
public:
    /// \param store, files       outlive this.
    /// \param knownSends         so many sends were noted at the least, in this index or an earlier one.
    /// \param onStatesChanged    called after each batch that has recorded something.
    StoreRecording(IndexStore &store,
                   FileStore &files,
                   IndexExamination examination,
                   std::int64_t knownSends,
                   std::function<void()> onStatesChanged);

    /// Compares the index with the store that has just been taken up, before anything is taken in. What came
    /// after the index was kept is recorded again then, and what was sent since isn't known.
    void noteWhatIsLacking();

    /// True while stored files may lack their rows: the index file was missing beside a store with files and
    /// was made anew, or came back from a backup that is older than the files. Survives restarts.
    bool lacksStoredFiles() const;

    /// Records stored files that lack their rows, in batches by number, the next one behind the last that an
    /// earlier call came to, beside everything else that goes on. Blocks.
    ///
    /// \param onRecorded  called after each batch with how many files it has recorded.
    /// \return false when something is left: it was stopped, files are out of sight or could not be read or
    ///         saved.
    bool recordStoredFiles(const std::stop_token &stop, const std::function<void(std::int64_t)> &onRecorded);

    /// How far that is; nothing before it has begun and once all are recorded.
    std::optional<RecordingProgress> recordingProgress() const;

private:
    struct Due;

    std::optional<Due> due() const;
    bool holdsWhatNoKillLeft(std::int64_t from) const;
    bool isStoreThere();
    bool noteRecordAgainFrom(std::optional<std::int64_t> number, StoreTurn store);
    RecordingProgress beginProgress(std::int64_t from);
    void tellProgress(const std::optional<RecordingProgress> &progress);

    IndexStore &m_store;
    FileStore &m_files;
    IndexExamination m_examination;
    const std::function<void()> m_onStatesChanged;
    mutable platform::Mutex m_recordingMutex;
    std::optional<RecordingProgress> m_recording QUORIN_GUARDED_BY(m_recordingMutex);
};

} // namespace gateway::index

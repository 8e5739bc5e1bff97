#pragma once

#include "core/failure_class.h"
#include "index/retry_index.h"
#include "index/upload_index.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QMap>
#include <QtCore/QSet>

#include <functional>
#include <vector>

namespace gateway::upload::testing {

/// The states of a row: 0 not synced, 1 synced, 2 failed, 3 in progress.
enum class RowState
{
    notSynced = 0,
    synced = 1,
    failed = 2,
    inProgress = 3
};

/// An index in memory: rows that move through their states, in the order of their coming.
///
/// Thread: any.
class FakeUploadIndex final : public index::UploadIndex, public index::RetryIndex
{
public:
    /// Adds a stored file with `frames` rows; its bare SOP instance UID may be empty.
    ///
    /// \return the file's `storagePath`, which is its absolute path.
    QString add(const QUrl &file, const QString &sopInstanceUid, int frames = 1)
    {
        const platform::MutexLock lock(m_mutex);
        const QString path = file.toLocalFile();
        for (int frame = 0; frame < frames; ++frame) {
            m_rows.push_back({path, platform::InstanceUid(sopInstanceUid), RowState::notSynced});
        }
        return path;
    }

    /// What happens just before a result is recorded.
    void whenRecording(std::function<void()> action)
    {
        const platform::MutexLock lock(m_mutex);
        m_whenRecording = std::move(action);
    }

    /// What happens when rows are marked in progress.
    void whenMarking(std::function<void()> action)
    {
        const platform::MutexLock lock(m_mutex);
        m_whenMarking = std::move(action);
    }

    /// Lets every later attempt to record or to mark fail as a full disk would make it.
    void failWrites()
    {
        const platform::MutexLock lock(m_mutex);
        m_failsWrites = true;
    }

    /// Whether the next pages can't be read.
    void failReads(bool fails)
    {
        const platform::MutexLock lock(m_mutex);
        m_failsReads = fails;
    }

    void setState(const QString &path, RowState state)
    {
        const platform::MutexLock lock(m_mutex);
        setAll(path, state);
    }

    /// Takes the rows of a file away.
    void remove(const QString &path)
    {
        const platform::MutexLock lock(m_mutex);
        for (Row &row : m_rows) {
            if (row.path == path) {
                row.path.clear();
                row.state = RowState::synced;
            }
        }
    }

    /// The state that the rows of a file share.
    RowState state(const QString &path) const
    {
        const platform::MutexLock lock(m_mutex);
        for (const Row &row : m_rows) {
            if (row.path == path) {
                return row.state;
            }
        }
        qFatal("the fake index has no such file");
    }

    /// Files with a row in `state`.
    int count(RowState state) const
    {
        const platform::MutexLock lock(m_mutex);
        QMap<QString, bool> paths;
        for (const Row &row : m_rows) {
            if (row.state == state && !row.path.isEmpty()) {
                paths.insert(row.path, true);
            }
        }
        return static_cast<int>(paths.size());
    }

    /// The last failure of each file that isn't synced, by its path.
    QMap<QString, core::Failure> failures() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_failures;
    }

    /// Pages that were asked for.
    int fetches() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_fetches;
    }

    index::RecoveryCounts recoverInProgressImages() override
    {
        const platform::MutexLock lock(m_mutex);
        index::RecoveryCounts counts;
        for (Row &row : m_rows) {
            if (row.state == RowState::inProgress) {
                row.state = RowState::notSynced;
                ++counts.images;
                counts.series = 1;
                counts.studies = 1;
                counts.saved = true;
            }
        }
        return counts;
    }

    bool isStoreOutOfSight() const override { return false; }

    std::optional<QList<index::PendingImageUpload>> pendingImageUploads(int limit,
                                                                        index::PendingCursor &cursor) override
    {
        const platform::MutexLock lock(m_mutex);
        ++m_fetches;
        if (m_failsReads) {
            return std::nullopt;
        }
        QList<index::PendingImageUpload> found;
        auto at = static_cast<std::size_t>(cursor.fresh.row);
        for (; at < m_rows.size() && found.size() < limit; ++at) {
            const Row &row = m_rows[at];
            const bool isNext = found.isEmpty() || found.last().storagePath != row.path;
            if (row.state != RowState::synced && isNext) {
                found.append(gather(at));
            }
        }
        while (at < m_rows.size() && !found.isEmpty() && m_rows[at].path == found.last().storagePath) {
            ++at; // the other frames of the last file
        }
        cursor.fresh.row = static_cast<std::int64_t>(at);
        return found;
    }

    void markImagesInProgress(const QList<index::ImageObjectID> &imageObjectIDs) override
    {
        runHook(&FakeUploadIndex::m_whenMarking);
        const platform::MutexLock lock(m_mutex);
        for (const index::ImageObjectID image : imageObjectIDs) {
            if (!m_failsWrites) {
                m_rows.at(static_cast<std::size_t>(image.value)).state = RowState::inProgress;
            }
        }
    }

    void noteQueryAnswered(const QString &) override
    {
        const platform::MutexLock lock(m_mutex);
        m_isRefusalBelieved = false;
    }

    bool noteQueryRefused(const QString &) override
    {
        const platform::MutexLock lock(m_mutex);
        return m_isRefusalBelieved;
    }

    void noteQueryFailed(const QString &) override
    {
        const platform::MutexLock lock(m_mutex);
        m_isRefusalBelieved = false;
    }

    /// The cloud has been saying for long that it has no queries.
    void believeRefusals()
    {
        const platform::MutexLock lock(m_mutex);
        m_isRefusalBelieved = true;
    }

    std::optional<QList<index::SentBefore>> noteSending(const QList<index::SentInstance> &instances) override
    {
        const platform::MutexLock lock(m_mutex);
        if (m_failsWrites) {
            return std::nullopt;
        }
        QList<index::SentBefore> before;
        m_sent.append(instances);
        for (const index::SentInstance &sent : instances) {
            before.append(m_sentBefore.value(sent.instance, index::SentBefore::nothing));
            if (sent.version == 0) {
                m_otherVersions.insert(sent.instance);
            }
        }
        return before;
    }

    void noteTriedInVain(const QList<index::SentInstance> &instances) override
    {
        const platform::MutexLock lock(m_mutex);
        for (const index::SentInstance &tried : instances) {
            m_sentBefore.insert(tried.instance, index::SentBefore::thisVersionInVain);
        }
    }

    QList<std::optional<std::int64_t>> recordUploadResults(const QList<index::UploadResult> &results) override
    {
        QList<std::optional<std::int64_t>> updated;
        for (const index::UploadResult &result : results) {
            runHook(&FakeUploadIndex::m_whenRecording);
            updated.append(record(result));
        }
        return updated;
    }

    /// What the results said that the cloud was seen to hold. What is sent after its result is of a version
    /// that arrived, or of one that was sent in vain.
    QList<index::SentInstance> verified() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_verified;
    }

    bool mayOtherVersionBeSent(const index::SentInstance &sent) override
    {
        const platform::MutexLock lock(m_mutex);
        return m_otherVersions.contains(sent.instance);
    }

    index::SentBefore sentBefore(const index::SentInstance &next) override
    {
        const platform::MutexLock lock(m_mutex);
        return m_sentBefore.value(next.instance, index::SentBefore::nothing);
    }

    /// Another version of the instance was sent before.
    void rememberOtherVersion(const platform::InstanceUid &instance)
    {
        const platform::MutexLock lock(m_mutex);
        m_otherVersions.insert(instance);
        m_sentBefore.insert(instance, index::SentBefore::anotherVersion);
    }

    /// Some version of the instance may have been sent before; `unrecorded` where the index doesn't know it.
    void doubt(const platform::InstanceUid &instance, index::SentBefore why)
    {
        const platform::MutexLock lock(m_mutex);
        m_sentBefore.insert(instance, why);
        if (why == index::SentBefore::unknown) {
            m_otherVersions.insert(instance);
        }
    }

    /// What was noted before it was sent.
    QList<index::SentInstance> sent() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_sent;
    }

    std::optional<QDateTime> nextRetry() const override
    {
        const platform::MutexLock lock(m_mutex);
        return m_nextRetry;
    }

    void releaseRetries() override
    {
        const platform::MutexLock lock(m_mutex);
        ++m_releases;
    }

    /// What nextRetry says from now on.
    void setNextRetry(const std::optional<QDateTime> &date)
    {
        const platform::MutexLock lock(m_mutex);
        m_nextRetry = date;
    }

    int releases() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_releases;
    }

    /// The first pause of each file that was told to wait, by its path. Here it is offered to the next run
    /// all the same.
    QMap<QString, std::chrono::seconds> pauses() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_pauses;
    }

    std::int64_t resetInProgressImages(const QList<index::ImageObjectID> &imageObjectIDs) override
    {
        const platform::MutexLock lock(m_mutex);
        std::int64_t reset = 0;
        for (const index::ImageObjectID image : imageObjectIDs) {
            Row &row = m_rows.at(static_cast<std::size_t>(image.value));
            if (row.state == RowState::inProgress) {
                row.state = RowState::notSynced;
                ++reset;
            }
        }
        return reset;
    }

private:
    std::optional<std::int64_t> record(const index::UploadResult &result)
    {
        const QString storagePath = result.storagePath.value_or(QString());
        const platform::MutexLock lock(m_mutex);
        if (m_failsWrites) {
            return std::nullopt;
        }
        if (result.isSynced) {
            m_failures.remove(storagePath);
        }
        if (result.more.version) {
            keepArrival(*result.more.version, result.isSynced, result.more.isVerified);
        }
        if (result.more.failure) {
            keep(storagePath, *result.more.failure);
        }
        const RowState otherwise = result.more.isAwaited ? RowState::notSynced : RowState::failed;
        return setAll(storagePath, result.isSynced ? RowState::synced : otherwise);
    }

    struct Row
    {
        QString path;
        platform::InstanceUid sopInstanceUid;
        RowState state;
    };

    /// Runs what a test left here, with no lock held.
    void runHook(std::function<void()> FakeUploadIndex::*hook)
    {
        std::function<void()> action;
        {
            const platform::MutexLock lock(m_mutex);
            action = this->*hook;
        }
        if (action) {
            action();
        }
    }

    /// The candidate whose first row is `at`; the rows of a file lie side by side.
    index::PendingImageUpload gather(std::size_t at) const QUORIN_REQUIRES(m_mutex)
    {
        const Row first = m_rows[at];
        index::PendingImageUpload candidate;
        candidate.storagePath = first.path;
        candidate.isRetry = m_pauses.contains(first.path);
        if (m_failures.contains(first.path)) {
            candidate.lastFailure = core::rawValue(m_failures.value(first.path).failureClass);
        }
        candidate.fileURL = QUrl::fromLocalFile(first.path);
        if (!first.sopInstanceUid.isEmpty()) {
            candidate.originalSOPInstanceUIDs = {first.sopInstanceUid};
            candidate.sopInstanceUIDs = {first.sopInstanceUid.value() + u'0'};
        }
        for (; at < m_rows.size() && m_rows[at].path == first.path; ++at) {
            candidate.imageObjectIDs.append({static_cast<std::int64_t>(at)});
        }
        return candidate;
    }

    void keepArrival(const index::SentInstance &sent, bool synced, bool isVerified) QUORIN_REQUIRES(m_mutex)
    {
        if (isVerified) {
            m_verified.append(sent);
        }
        if (!m_otherVersions.contains(sent.instance)) {
            m_sentBefore.insert(sent.instance,
                                synced ? index::SentBefore::thisVersion
                                       : index::SentBefore::thisVersionInVain);
        }
    }

    void keep(const QString &path, const index::FailedUpload &failure) QUORIN_REQUIRES(m_mutex)
    {
        m_failures.insert(path, {core::failureClassOf(failure.failureClass), failure.failureCode});
        if (!failure.pauses.empty()) {
            m_pauses.insert(path, failure.pauses.front());
        }
    }

    std::int64_t setAll(const QString &path, RowState state) QUORIN_REQUIRES(m_mutex)
    {
        std::int64_t changed = 0;
        for (Row &row : m_rows) {
            if (row.path == path) {
                row.state = state;
                ++changed;
            }
        }
        return changed;
    }

    mutable platform::Mutex m_mutex;
    std::vector<Row> m_rows QUORIN_GUARDED_BY(m_mutex);
    QSet<platform::InstanceUid> m_otherVersions QUORIN_GUARDED_BY(m_mutex);
    QMap<platform::InstanceUid, index::SentBefore> m_sentBefore QUORIN_GUARDED_BY(m_mutex);
    QList<index::SentInstance> m_sent QUORIN_GUARDED_BY(m_mutex);
    QList<index::SentInstance> m_verified QUORIN_GUARDED_BY(m_mutex);
    QMap<QString, core::Failure> m_failures QUORIN_GUARDED_BY(m_mutex);
    QMap<QString, std::chrono::seconds> m_pauses QUORIN_GUARDED_BY(m_mutex);
    std::optional<QDateTime> m_nextRetry QUORIN_GUARDED_BY(m_mutex);
    int m_releases QUORIN_GUARDED_BY(m_mutex) = 0;
    std::function<void()> m_whenRecording QUORIN_GUARDED_BY(m_mutex);
    std::function<void()> m_whenMarking QUORIN_GUARDED_BY(m_mutex);
    bool m_failsWrites QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_isRefusalBelieved QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_failsReads QUORIN_GUARDED_BY(m_mutex) = false;
    int m_fetches QUORIN_GUARDED_BY(m_mutex) = 0;
};

} // namespace gateway::upload::testing

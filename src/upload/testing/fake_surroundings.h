#pragma once

#include "log/writing/redaction.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "upload/testing/fake_cloud.h"
#include "upload/testing/fake_upload_index.h"
#include "upload/testing/recording_run_observer.h"
#include "upload/upload_collaborators.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

namespace gateway::upload::testing {

/// Converts by writing a smaller file beside the others, or as a test tells it to. Files are called after
/// their instance; a version is a file's size unless a test tells another. Thread: any.
class FakeConverter final : public platform::DicomConverting
{
public:
    using Behaviour = std::function<platform::SendableFile(const QString &)>;

    /// \param folder  where converted files go.
    explicit FakeConverter(QString folder) : m_folder(std::move(folder)) {}

    /// What the converter does in place of converting.
    void behave(Behaviour behaviour)
    {
        const platform::MutexLock lock(m_mutex);
        m_behaviour = std::move(behaviour);
    }

    /// What it does in place of handing the file back as it is.
    void behaveUnconverted(Behaviour behaviour)
    {
        const platform::MutexLock lock(m_mutex);
        m_unconverted = std::move(behaviour);
    }

    /// What each comparison finds from now on.
    void compareAs(platform::Likeness likeness) { m_likeness = likeness; }

    int conversions() const { return m_conversions; }

    platform::SendableFile convertToJPEGLossless(const QString &path) override
    {
        Behaviour behaviour;
        {
            const platform::MutexLock lock(m_mutex);
            behaviour = m_behaviour;
        }
        ++m_conversions;
        return behaviour ? behaviour(path) : write(path);
    }

    platform::SendableFile makeSendable(const QString &path) override
    {
        Behaviour behaviour;
        {
            const platform::MutexLock lock(m_mutex);
            behaviour = m_unconverted;
        }
        return behaviour ? behaviour(path) : ready(path, path);
    }

    QString temporaryPath() override { return m_folder + QStringLiteral("/fetched"); }

    platform::Likeness compare(const QString &, const QString &, const QString &) override
    {
        return m_likeness;
    }

    /// A file that is ready, made of the one at `source`.
    static platform::SendableFile ready(const QString &path, const QString &source)
    {
        return {.fate = platform::SendableFile::Fate::ready,
                .path = path,
                .identity = {{}, {}, platform::InstanceUid(source.section(u'/', -1))},
                .version = std::max<qint64>(1, QFileInfo(source).size()),
                .isConverted = path != source};
    }

    static platform::SendableFile failed(const QString &error) { return {.error = error}; }

    /// Writes the converted form of a file: one byte.
    platform::SendableFile write(const QString &path) const
    {
        QFile file(m_folder + QStringLiteral("/converted-") + path.section(u'/', -1));
        if (!file.open(QIODevice::WriteOnly)) {
            return failed(QStringLiteral("can't write"));
        }
        file.write("s");
        return ready(file.fileName(), path);
    }

private:
    const QString m_folder;
    std::atomic<int> m_conversions = 0;
    std::atomic<platform::Likeness> m_likeness = platform::Likeness::same;
    platform::Mutex m_mutex;
    Behaviour m_behaviour QUORIN_GUARDED_BY(m_mutex);
    Behaviour m_unconverted QUORIN_GUARDED_BY(m_mutex);
};

/// A sign-in that a test can end, or have another take its place. Thread: any.
class FakeSession final : public UploadSession
{
public:
    cloud_client::CloudSession present() override
    {
        const platform::MutexLock lock(m_mutex);
        return m_session;
    }
    void signInAt(const QString &cloud)
    {
        const platform::MutexLock lock(m_mutex);
        m_session = {cloud, m_session.number + 1};
    }
    void signIn(bool signedIn) { signInAt(signedIn ? QStringLiteral("a cloud") : QString()); }

private:
    platform::Mutex m_mutex;
    cloud_client::CloudSession m_session QUORIN_GUARDED_BY(m_mutex) = {QStringLiteral("a cloud"), 1};
};

/// Live figures that remember what they were told. Thread: main.
class RecordingState final : public state::UploadState
{
public:
    void refreshCounters() override { ++counterRefreshes; }
    void refreshTransferSeries() override { ++seriesRefreshes; }
    void recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed) override
    {
        samples.emplace_back(bytes, elapsed.count());
    }
    void resetUploadSpeed() override { ++speedResets; }

    int counterRefreshes = 0;
    int seriesRefreshes = 0;
    int speedResets = 0;
    std::vector<std::pair<qint64, double>> samples;
};

/// Remembers who asked. Thread: any.
class RecordingCleanup final : public GatewayAutoDeleteCleanupServicing
{
public:
    void runCleanup(const QString &trigger,
                    const std::optional<QString> &correlationId,
                    const std::optional<QDateTime> &) override
    {
        const platform::MutexLock lock(m_mutex);
        m_requests.push_back({trigger, correlationId.value_or(QString())});
    }

    std::vector<std::pair<QString, QString>> requests() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_requests;
    }

private:
    mutable platform::Mutex m_mutex;
    std::vector<std::pair<QString, QString>> m_requests QUORIN_GUARDED_BY(m_mutex);
};

/// Remembers which failures it was shown. Thread: any.
class RecordingTerms final : public TermsFollowUp
{
public:
    struct Failure
    {
        QString what;
        QString runId;
        QUrl fileURL;
    };

    void checkTermsAfterUploadFailure(const std::exception &error,
                                      const QString &runId,
                                      const QUrl &fileURL) override
    {
        const platform::MutexLock lock(m_mutex);
        m_failures.push_back({QString::fromUtf8(error.what()), runId, fileURL});
    }

    std::vector<Failure> failures() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_failures;
    }

private:
    mutable platform::Mutex m_mutex;
    std::vector<Failure> m_failures QUORIN_GUARDED_BY(m_mutex);
};

/// Everything around an upload run, working, in memory and in one temporary folder. Made on the main thread.
struct FakeSurroundings
{
    QTemporaryDir folder;
    platform::MainExecutor main;
    platform::testing::ManualClock clock;
    log::testing::RecordingLog log;
    log::StoreLogEmitter emitter{log, clock};
    FakeUploadIndex index;
    FakeCloud cloud;
    FakeConverter converter{makeFolder(QStringLiteral("converted"))};
    FakeSession session;
    RecordingState state;
    RecordingTerms terms;
    RecordingCleanup cleanup;
    RecordingRunObserver observer;
    NewSeries newSeries;
    UploadCollaborators collaborators{
        index, cloud, converter, session, state, terms, cleanup, observer, emitter, main, clock, newSeries};

    /// Stores a file of one instance and lists it in the index.
    ///
    /// \return its storage path.
    QString store(const QString &sopInstanceUid, int bytes = 10, int frames = 1)
    {
        const QUrl file = QUrl::fromLocalFile(makeFolder(QStringLiteral("store")) + u'/' + sopInstanceUid);
        write(file, bytes);
        return index.add(file, sopInstanceUid, frames);
    }

    static void write(const QUrl &file, int bytes)
    {
        QFile stored(file.toLocalFile());
        if (!stored.open(QIODevice::WriteOnly) || stored.write(QByteArray(bytes, 'x')) != bytes) {
            qFatal("a test can't write its files");
        }
    }

    QString makeFolder(const QString &name) const
    {
        QDir(folder.path()).mkpath(name);
        return folder.filePath(name);
    }

    /// Converted files that nobody removed.
    qsizetype leftovers() const
    {
        return QDir(folder.filePath(QStringLiteral("converted"))).entryList(QDir::Files).size();
    }
};

} // namespace gateway::upload::testing

#pragma once

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "wizard/sample_removal.h"

#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <stdexcept>

namespace gateway::wizard::testing {

/// A gateway in memory: what is sent to it is recorded, and uploaded when a request for it comes, unless a
/// test holds something up.
///
/// Thread: any.
class FakeSampleGateway final : public SampleGateway
{
public:
    using State = LocalSample::State;

    std::optional<platform::SampleDestination> listener() override
    {
        const platform::MutexLock lock(m_mutex);
        if (!m_isListening) {
            return std::nullopt;
        }
        return platform::SampleDestination{
            QStringLiteral("127.0.0.1"), 11112, QStringLiteral("GATE"), QStringLiteral("GATE")};
    }

    platform::SampleOutcome send(const platform::SampleDestination & /*destination*/,
                                 const platform::InstanceIdentity &sample,
                                 const QDateTime & /*madeAt*/) override
    {
        const platform::MutexLock lock(m_mutex);
        m_sent.append(sample.study.value());
        if (m_outcome.kind == platform::SampleOutcome::Kind::stored) {
            m_here[sample.study.value()] = m_firstState;
        }
        return m_outcome;
    }

    LocalSample look(const platform::InstanceIdentity &sample) override
    {
        const platform::MutexLock lock(m_mutex);
        const State state = m_here.value(sample.study.value(), State::absent);
        if (state == State::waiting && m_isAskedToUpload && !m_cause && !m_goesLast) {
            m_here[sample.study.value()] = State::uploaded; // seen at the next look
        }
        return {state, state == State::waiting || state == State::failed ? m_cause : std::nullopt};
    }

    bool removeHere(const platform::InstanceIdentity &sample) override
    {
        const platform::MutexLock lock(m_mutex);
        if (m_mayBeRemoved) {
            m_here.remove(sample.study.value());
        }
        return m_mayBeRemoved;
    }

    void requestUpload() override
    {
        const platform::MutexLock lock(m_mutex);
        m_isAskedToUpload = true;
    }

    bool isUploading() override
    {
        const platform::MutexLock lock(m_mutex);
        return m_isUploading;
    }

    // What a test makes of it.

    void setListening(bool isListening) { set(m_isListening, isListening); }
    void setMayBeRemoved(bool mayBe) { set(m_mayBeRemoved, mayBe); }
    void setGoesLast(bool goesLast) { set(m_goesLast, goesLast); } ///< others are uploaded first, for ever
    void setUploading(bool isUploading) { set(m_isUploading, isUploading); }

    /// How the listener answers.
    void answer(platform::SampleOutcome outcome)
    {
        const platform::MutexLock lock(m_mutex);
        m_outcome = outcome;
    }

    /// What becomes of an image that was taken.
    void recordAs(State state)
    {
        const platform::MutexLock lock(m_mutex);
        m_firstState = state;
    }

    /// Why nothing is uploaded.
    void holdUp(std::optional<core::FailureClass> cause)
    {
        const platform::MutexLock lock(m_mutex);
        m_cause = cause;
    }

    void put(const QString &study, State state)
    {
        const platform::MutexLock lock(m_mutex);
        m_here[study] = state;
    }

    QStringList here() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_here.keys();
    }

    QStringList sent() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_sent;
    }

private:
    void set(bool &flag, bool value)
    {
        const platform::MutexLock lock(m_mutex);
        flag = value;
    }

    mutable platform::Mutex m_mutex;
    bool m_isListening = true;
    bool m_mayBeRemoved = true;
    bool m_isUploading = false;
    bool m_goesLast = false;
    bool m_isAskedToUpload = false;
    platform::SampleOutcome m_outcome{platform::SampleOutcome::Kind::stored, 0};
    State m_firstState = State::waiting;
    std::optional<core::FailureClass> m_cause;
    QMap<QString, State> m_here; // by studies
    QStringList m_sent;
};

/// A cloud in memory. Thread: any.
class FakeSampleCloud final : public SampleCloud
{
public:
    bool isSignedIn() override
    {
        const platform::MutexLock lock(m_mutex);
        return m_isSignedIn;
    }

    bool isFound(const platform::InstanceIdentity &sample) override
    {
        const platform::MutexLock lock(m_mutex);
        m_asked.append(sample.instance.value());
        if (!m_queryProblem.isEmpty()) {
            throw std::runtime_error(m_queryProblem.toStdString());
        }
        return m_findsAfter == 0 || --m_findsAfter == 0;
    }

    void removeInCloud(const platform::InstanceIdentity &sample) override
    {
        const platform::MutexLock lock(m_mutex);
        if (!m_deleteProblem.isEmpty()) {
            throw std::runtime_error(m_deleteProblem.toStdString());
        }
        m_removed.append(sample.study.value());
    }

    void setSignedIn(bool isSignedIn)
    {
        const platform::MutexLock lock(m_mutex);
        m_isSignedIn = isSignedIn;
    }

    /// Queries find an image only from the n-th on.
    void findAfter(int queries)
    {
        const platform::MutexLock lock(m_mutex);
        m_findsAfter = queries;
    }

    void refuseQueries(const QString &why)
    {
        const platform::MutexLock lock(m_mutex);
        m_queryProblem = why;
    }

    void refuseDeletes(const QString &why)
    {
        const platform::MutexLock lock(m_mutex);
        m_deleteProblem = why;
    }

    QStringList removed() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_removed;
    }

    QStringList asked() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_asked;
    }

private:
    mutable platform::Mutex m_mutex;
    bool m_isSignedIn = true;
    int m_findsAfter = 0;
    QString m_queryProblem;
    QString m_deleteProblem;
    QStringList m_removed;
    QStringList m_asked;
};

/// Samples on a manual clock, between a gateway and a cloud that are fakes.
///
/// Owner: a test. Thread: main.
struct SampleWorld : platform::testing::RunsMain
{
    SampleParts parts()
    {
        return {.defaults = defaults,
                .main = main,
                .pool = pool,
                .networkPool = pool,
                .clock = clock,
                .gateway = gateway,
                .cloud = cloud};
    }

    /// Lets what is under way come to rest, and then time pass.
    void pass(std::chrono::nanoseconds time)
    {
        constexpr int kMostHops = 10; // between the main thread and the pool, without a sleep in between
        for (int hop = 0; hop < kMostHops; ++hop) {
            pool.waitUntilIdle();
            QCoreApplication::processEvents();
        }
        clock.advance(time);
    }

    /// The samples that aren't known to be gone.
    QStringList kept()
    {
        QStringList texts;
        for (const platform::StudyUid &study : SampleNotes(defaults).studies()) {
            texts.append(study.value());
        }
        return texts;
    }

    QTemporaryDir folder;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 3};
    platform::testing::ManualClock clock;
    FakeSampleGateway gateway;
    FakeSampleCloud cloud;
};

} // namespace gateway::wizard::testing

#pragma once

#include "wizard/sample_removal.h"

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <stop_token>

namespace gateway::wizard {

/// What a trial does, in its order.
enum class TrialStep
{
    send,   ///< to the own listener, over the network
    record, ///< in the index
    upload, ///< to the cloud
    find,   ///< there, by a query
    remove  ///< here and in the cloud
};

/// How a step of a trial stands.
enum class TrialState
{
    waiting,
    running,
    passed,
    failed,
    skipped ///< a step before it failed, or nobody wants it any more
};

/// A step as it is shown.
struct TrialLine
{
    TrialStep step;
    TrialState state = TrialState::waiting;
    QString detail = {}; ///< a sentence: what came of it, or why it didn't; empty before

    bool operator==(const TrialLine &) const = default;
};

/// Tries a gateway that is set up: an image of nobody is sent to the own listener, recorded, uploaded, found
/// in the cloud and deleted again. Nothing else changes.
///
/// It never throws: all ends as lines. Whatever happens, the sample doesn't stay: what can't be taken away
/// now, `SampleRemoval` takes away later.
///
/// Owner: app; exactly one exists, so that a trial outlives the window that started it. Thread: main.
class SetupTrial : public QObject
{
    Q_OBJECT

public:
    /// How long a step may take, and how often it is looked at meanwhile.
    static constexpr std::chrono::seconds kLongestRecording{20};
    static constexpr std::chrono::seconds kLongestUpload{90};
    static constexpr std::chrono::seconds kStartOfUpload{3}; ///< after this, what holds up uploads is new
    static constexpr std::chrono::seconds kLongestSearch{20};
    static constexpr std::chrono::seconds kCleanUpTimeout{30};
    static constexpr std::chrono::milliseconds kLook{250};

    /// \param parts, removal  outlive this.
    SetupTrial(const SampleParts &parts, SampleRemoval &removal);
    ~SetupTrial() override;

    /// One line a step; all of them wait before the first trial.
    const QList<TrialLine> &lines() const { return m_lines; }

    bool isRunning() const { return m_isRunning; }

    /// Some step failed; of the last trial, once it is over.
    bool hasFailed() const;

    /// Starts a trial, unless one runs.
    void start();

    /// Goes straight to the removal; does nothing while no trial runs.
    void stop();

    /// Forgets the last trial; does nothing while one runs.
    void reset();

Q_SIGNALS:
    void changed();

private:
    QCoro::Task<> run();
    QCoro::Task<bool> send();
    QCoro::Task<bool> awaitRecord();
    QCoro::Task<bool> upload();
    QCoro::Task<bool> find();
    QCoro::Task<> remove();
    QCoro::Task<LocalSample> look();
    QCoro::Task<bool> rest();

    bool pass(TrialStep step, const QString &detail);
    bool fail(TrialStep step, const QString &detail);
    void begin(TrialStep step, const QString &detail = {});
    void set(TrialStep step, TrialState state, const QString &detail);
    bool isUploadInVain(const LocalSample &here, std::chrono::nanoseconds since) const;
    void skipWhatWaits();
    void endRemoval(const SampleRemoved &removed);
    bool isStopped() const { return m_stop.stop_requested(); }
    bool isClosing() const { return m_scope.stopToken().stop_requested(); }

    const SampleParts m_parts;
    SampleRemoval &m_removal;
    QList<TrialLine> m_lines;
    bool m_isRunning = false;

    // Of the trial that runs.
    platform::InstanceIdentity m_sample;
    bool m_mayBeHere = false; // the listener may have it
    bool m_wasEverSignedIn = false;
    bool m_isUploadOver = false; // an upload under way can't be this sample's
    std::stop_source m_stop;

    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::wizard

#include "wizard/setup_trial.h"

#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"
#include "wizard/sample.h"
#include "wizard/setup_trial_words.h"

#include <algorithm>

namespace gateway::wizard {

using platform::InstanceIdentity;
using platform::SampleDestination;
using platform::SampleOutcome;
using Rest = SampleRemoved::Rest;
using State = LocalSample::State;

namespace {

/// What a query said: nothing where it was answered.
struct Found
{
    bool isFound = false;
    std::optional<QString> problem;
};

Found ask(SampleCloud &cloud, const InstanceIdentity &sample)
{
    try {
        return {cloud.isFound(sample), std::nullopt};
    } catch (const std::exception &error) {
        return {false, cloud_client::userFacingMessage(error, cloud_client::plainText(error))};
    }
}

/// The listener was reached, and may have taken the image.
bool mayHaveTaken(SampleOutcome::Kind kind)
{
    return kind == SampleOutcome::Kind::stored || kind == SampleOutcome::Kind::broken ||
           kind == SampleOutcome::Kind::silent || kind == SampleOutcome::Kind::unavailable;
}

QList<TrialLine> freshLines()
{
    return {
        {TrialStep::send}, {TrialStep::record}, {TrialStep::upload}, {TrialStep::find}, {TrialStep::remove}};
}

} // namespace

SetupTrial::SetupTrial(const SampleParts &parts, SampleRemoval &removal)
    : m_parts(parts), m_removal(removal), m_lines(freshLines()), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("SetupTrial");
}

SetupTrial::~SetupTrial()
{
    m_stop.request_stop();
    m_scope.close();
}

bool SetupTrial::hasFailed() const
{
    return std::ranges::any_of(m_lines,
                               [](const TrialLine &line) { return line.state == TrialState::failed; });
}

void SetupTrial::start()
{
    if (!m_isRunning && !isClosing()) {
        m_scope.start(run());
    }
}

void SetupTrial::stop()
{
    if (m_isRunning) {
        m_stop.request_stop();
    }
}

void SetupTrial::reset()
{
    if (!m_isRunning) {
        m_lines = freshLines();
        Q_EMIT changed();
    }
}

QCoro::Task<> SetupTrial::run()
{
    const auto operation = m_scope.enter();
    m_isRunning = true;
    m_lines = freshLines();
    m_sample = newSample();
    m_mayBeHere = false;
    m_wasEverSignedIn = m_parts.cloud.isSignedIn();
    m_isUploadOver = false;
    m_stop = {};
    m_removal.setInUse(m_sample.study);

    bool goesOn = co_await send();
    if (goesOn) {
        goesOn = co_await awaitRecord();
    }
    if (goesOn) {
        goesOn = co_await upload();
    }
    if (goesOn) {
        goesOn = co_await find();
    }
    if (isClosing()) {
        co_return; // the next start takes it away
    }
    skipWhatWaits();
    co_await remove();
    m_removal.setInUse(std::nullopt);
    m_removal.clearUp();
    m_isRunning = false;
    Q_EMIT changed();
}

QCoro::Task<bool> SetupTrial::send()
{
    begin(TrialStep::send);
    const std::optional<SampleDestination> listener = m_parts.gateway.listener();
    if (!listener) {
        co_return fail(TrialStep::send, noListenerWords());
    }
    if (!m_removal.expect(m_sample)) {
        co_return fail(TrialStep::send, notKeptWords());
    }
    m_mayBeHere = true;
    const QDateTime now = m_parts.clock.now();
    const SampleOutcome outcome = co_await platform::onPool(
        m_parts.main, m_parts.pool, [gateway = &m_parts.gateway, to = *listener, sample = m_sample, now] {
            return gateway->send(to, sample, now);
        });
    m_mayBeHere = mayHaveTaken(outcome.kind);
    if (outcome.kind == SampleOutcome::Kind::stored) {
        co_return pass(TrialStep::send, sentWords(*listener));
    }
    co_return fail(TrialStep::send, notSentWords(outcome, *listener));
}

QCoro::Task<LocalSample> SetupTrial::look()
{
    const LocalSample here = co_await platform::onPool(
        m_parts.main, m_parts.pool, [gateway = &m_parts.gateway, sample = m_sample] {
            return gateway->look(sample);
        });
    co_return here;
}

/// \return false when nobody wants the trial any more.
QCoro::Task<bool> SetupTrial::rest()
{
    const bool isAwake =
        co_await platform::asyncSleep(m_parts.main, m_parts.clock, kLook, m_stop.get_token());
    co_return isAwake && !isClosing();
}

QCoro::Task<bool> SetupTrial::awaitRecord()
{
    begin(TrialStep::record);
    const auto end = m_parts.clock.monotonic() + kLongestRecording;
    for (;;) {
        const LocalSample here = co_await look();
        if (here.isRecorded()) {
            co_return pass(TrialStep::record, recordedWords());
        }
        if (m_parts.clock.monotonic() >= end) {
            co_return fail(TrialStep::record, notRecordedWords(here));
        }
        const bool goesOn = co_await rest();
        if (!goesOn) {
            co_return false;
        }
    }
}

QCoro::Task<bool> SetupTrial::upload()
{
    begin(TrialStep::upload);
    if (!m_parts.cloud.isSignedIn()) {
        co_return fail(TrialStep::upload, signedOutWords());
    }
    m_wasEverSignedIn = true;
    m_parts.gateway.requestUpload();
    const std::chrono::nanoseconds start = m_parts.clock.monotonic();
    for (;;) {
        const LocalSample here = co_await look();
        m_isUploadOver = here.state == State::uploaded || here.state == State::failed;
        if (here.state == State::uploaded) {
            co_return pass(TrialStep::upload, uploadedWords());
        }
        if (here.state == State::absent) {
            co_return fail(TrialStep::upload, goneWords());
        }
        if (isUploadInVain(here, m_parts.clock.monotonic() - start)) {
            co_return fail(TrialStep::upload, notUploadedWords(here));
        }
        const bool goesOn = co_await rest();
        if (!goesOn) {
            co_return false;
        }
    }
}

/// What holds up all uploads counts only once this trial's own request had its time.
bool SetupTrial::isUploadInVain(const LocalSample &here, std::chrono::nanoseconds since) const
{
    const bool isHeldUp = here.cause && since >= kStartOfUpload && !m_parts.gateway.isUploading();
    return here.state == State::failed || isHeldUp || since >= kLongestUpload;
}

QCoro::Task<bool> SetupTrial::find()
{
    begin(TrialStep::find);
    const auto end = m_parts.clock.monotonic() + kLongestSearch;
    for (;;) {
        const Found found = co_await platform::onPool(
            m_parts.main, m_parts.networkPool, [cloud = &m_parts.cloud, sample = m_sample] {
                return ask(*cloud, sample);
            });
        if (found.isFound) {
            co_return pass(TrialStep::find, foundWords());
        }
        if (m_parts.clock.monotonic() >= end) { // some archives find an image some time after they took it
            co_return fail(TrialStep::find, notFoundWords(found.problem));
        }
        const bool goesOn = co_await rest();
        if (!goesOn) {
            co_return false;
        }
    }
}

QCoro::Task<> SetupTrial::remove()
{
    begin(TrialStep::remove);
    if (!m_mayBeHere) {
        m_removal.forget(m_sample);
        set(TrialStep::remove, TrialState::skipped, nothingToRemoveWords());
        co_return;
    }
    const auto end = m_parts.clock.monotonic() + kCleanUpTimeout;
    for (;;) {
        const SampleRemoved removed = co_await m_removal.remove(m_sample, m_isUploadOver);
        const bool mayPass = removed.rest == Rest::beingUploaded;
        if (isClosing()) {
            co_return;
        }
        if (!mayPass || m_parts.clock.monotonic() >= end) {
            endRemoval(removed);
            co_return;
        }
        co_await platform::asyncSleep(m_parts.main, m_parts.clock, kLook, m_scope.stopToken());
    }
}

void SetupTrial::endRemoval(const SampleRemoved &removed)
{
    const bool wasNeverSent = removed.rest == Rest::inCloud && !m_wasEverSignedIn;
    if (wasNeverSent) {
        m_removal.forget(m_sample);
    }
    if (wasNeverSent) {
        pass(TrialStep::remove, neverSentWords());
    } else if (removed.rest == Rest::none || removed.rest == Rest::mayComeLater) {
        pass(TrialStep::remove, removedWords(removed));
    } else {
        fail(TrialStep::remove, removedWords(removed));
    }
}

bool SetupTrial::pass(TrialStep step, const QString &detail)
{
    set(step, TrialState::passed, detail);
    return !isStopped() && !isClosing();
}

bool SetupTrial::fail(TrialStep step, const QString &detail)
{
    set(step, TrialState::failed, detail);
    return false;
}

void SetupTrial::begin(TrialStep step, const QString &detail)
{
    set(step, TrialState::running, detail);
}

void SetupTrial::set(TrialStep step, TrialState state, const QString &detail)
{
    for (TrialLine &line : m_lines) {
        if (line.step == step) {
            line = {step, state, detail};
        }
    }
    Q_EMIT changed();
}

/// A step that was under way when nobody wanted it any more counts as not done.
void SetupTrial::skipWhatWaits()
{
    for (TrialLine &line : m_lines) {
        const bool isOpen = line.state == TrialState::waiting || line.state == TrialState::running;
        if (isOpen && line.step != TrialStep::remove) {
            line = {line.step, TrialState::skipped, skippedWords(isStopped())};
        }
    }
    Q_EMIT changed();
}

} // namespace gateway::wizard

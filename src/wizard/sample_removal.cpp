#include "wizard/sample_removal.h"

#include "cloud_client/quorin_error.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"
#include "wizard/sample.h"

#include <algorithm>

namespace gateway::wizard {

using platform::InstanceIdentity;
using Rest = SampleRemoved::Rest;

namespace {

struct GoneHere
{
    LocalSample before;
    bool isGone = false;
};

GoneHere removeHere(SampleGateway &gateway, const InstanceIdentity &sample)
{
    const LocalSample before = gateway.look(sample);
    return {before, !before.isRecorded() || gateway.removeHere(sample)};
}

/// \return what the cloud said against it; nothing where the sample is gone.
std::optional<QString> removeInCloud(SampleCloud &cloud, const InstanceIdentity &sample)
{
    try {
        cloud.removeInCloud(sample);
        return std::nullopt;
    } catch (const std::exception &error) {
        return cloud_client::userFacingMessage(error, cloud_client::plainText(error));
    }
}

} // namespace

SampleRemoval::SampleRemoval(const SampleParts &parts)
    : m_parts(parts), m_notes(parts.defaults), m_scope(parts.main, parts.pool)
{
    platform::assertMainThread("SampleRemoval");
}

SampleRemoval::~SampleRemoval()
{
    m_wake.request_stop();
    m_scope.close();
}

QCoro::Task<SampleRemoved> SampleRemoval::remove(InstanceIdentity sample, bool wasUploadSeenToEnd)
{
    const auto operation = m_scope.enter();
    const GoneHere here =
        co_await platform::onPool(m_parts.main, m_parts.pool, [gateway = &m_parts.gateway, sample] {
            return removeHere(*gateway, sample);
        });
    if (here.before.state == LocalSample::State::uploaded) {
        m_notes.setArrived(sample.study);
    }
    if (!here.isGone) {
        co_return SampleRemoved{Rest::here};
    }
    if (here.before.state == LocalSample::State::mayYetCome) {
        co_return SampleRemoved{Rest::yetToCome};
    }
    // Without rows no later run picks it up; one that is under way may have it in hand.
    const bool isUploading = m_parts.gateway.isUploading();
    if (isUploading && !wasUploadSeenToEnd) {
        co_return SampleRemoved{Rest::beingUploaded};
    }
    if (!m_parts.cloud.isSignedIn()) {
        co_return SampleRemoved{Rest::inCloud};
    }
    const std::optional<QString> refusal =
        co_await platform::onPool(m_parts.main, m_parts.networkPool, [cloud = &m_parts.cloud, sample] {
            return removeInCloud(*cloud, sample);
        });
    if (refusal) {
        co_return SampleRemoved{Rest::inCloud, refusal};
    }
    if (m_parts.clock.now() < m_notes.mayComeUntil(sample.study)) {
        co_return SampleRemoved{Rest::mayComeLater};
    }
    m_notes.remove(sample.study);
    co_return SampleRemoved{};
}

void SampleRemoval::clearUp()
{
    if (!m_isClearing && !m_notes.studies().isEmpty()) {
        m_scope.start(keepClearing());
    }
}

void SampleRemoval::sessionSeen()
{
    const bool isSignedIn = m_parts.cloud.isSignedIn();
    if (isSignedIn && !m_wasSignedIn) {
        m_wake.request_stop();
    }
    m_wasSignedIn = isSignedIn;
}

QCoro::Task<> SampleRemoval::keepClearing()
{
    const auto operation = m_scope.enter();
    m_isClearing = true;
    std::chrono::seconds pause = kFirstPause;
    for (;;) {
        m_wake = {};
        const bool isDone = co_await clearOnce();
        if (isDone || isClosing()) {
            break;
        }
        const bool hasPaused =
            co_await platform::asyncSleep(m_parts.main, m_parts.clock, pause, m_wake.get_token());
        pause = hasPaused ? std::min<std::chrono::seconds>(2 * pause, kLongestPause) : kFirstPause;
    }
    m_isClearing = false;
}

/// \return whether nothing is left.
QCoro::Task<bool> SampleRemoval::clearOnce()
{
    const QList<platform::StudyUid> studies = m_notes.studies();
    for (const platform::StudyUid &study : studies) {
        if (isClosing()) {
            co_return false;
        }
        if (study != m_inUse) {
            const SampleRemoved removed = co_await remove(sampleOfStudy(study), false);
            static_cast<void>(removed); // it is forgotten when it is gone
        }
    }
    co_return m_notes.studies().isEmpty();
}

} // namespace gateway::wizard

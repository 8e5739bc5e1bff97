#include "shell/desktop/attention_watch.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "receive/store_listener_service.h"

#include <utility>

namespace gateway::shell {

namespace {

/// Room for some four thousand CT images: time for a person to come before images are refused.
constexpr qint64 kNearlyFullBytes = qint64{2} * 1024 * 1024 * 1024;

} // namespace

bool isNearlyFull(qint64 availableBytes)
{
    return availableBytes < kNearlyFullBytes;
}

AttentionWatch::AttentionWatch(const Collaborators &collaborators)
    : m_collaborators(collaborators), m_lastSession(collaborators.auth.standing().state),
      m_lastFailedImages(collaborators.appState.figures().failedImagesCount)
{
    platform::assertMainThread("AttentionWatch");
    m_observers.push_back(
        m_collaborators.notifications.observe(core::kStoreListenerError, [this](const QVariantMap &userInfo) {
            if (!userInfo.value(receive::kListenerFailureIsKnownKey).toBool()) {
                m_collaborators.attention.call(AttentionCause::listenerFailed);
            }
        }));
    observe(core::kQuorinCloudTermsRequired, AttentionCause::termsNeeded);
    m_observers.push_back(m_collaborators.notifications.observe(
        core::kAuthStateChanged, [this](const QVariantMap &) { sessionChanged(); }));
    connect(&m_collaborators.cloudStorage,
            &account::QuorinCloudStorageLimitViewModel::changed,
            this,
            &AttentionWatch::cloudStorageChanged);
    connect(
        &m_collaborators.appState, &state::GatewayAppState::published, this, &AttentionWatch::figureChanged);
}

void AttentionWatch::observe(const QString &name, AttentionCause cause)
{
    m_observers.push_back(m_collaborators.notifications.observe(
        name, [this, cause](const QVariantMap &) { m_collaborators.attention.call(cause); }));
}

/// Whoever signs out on purpose needn't be called; a session that the cloud has ended leaves images waiting,
/// and so do credentials that an archive refuses.
void AttentionWatch::sessionChanged()
{
    using account::SessionState;
    const SessionState now = m_collaborators.auth.standing().state;
    const SessionState before = std::exchange(m_lastSession, now);
    if (now != before && (now == SessionState::ended || now == SessionState::credentialsRefused)) {
        m_collaborators.attention.call(AttentionCause::signInNeeded);
    }
}

void AttentionWatch::cloudStorageChanged()
{
    const auto &usage = m_collaborators.cloudStorage.storageUsage();
    const bool isUsedUp = usage && usage->allowanceInKb > 0 && usage->usedInKb >= usage->allowanceInKb;
    if (isUsedUp && m_collaborators.appState.figures().notSyncedImagesCount > 0) {
        m_collaborators.attention.call(AttentionCause::allowanceUsedUp);
    }
}

void AttentionWatch::figureChanged(state::GatewayField field)
{
    if (field == state::GatewayField::receivedStorageUsage && m_collaborators.appState.isStorageMeasured() &&
        isNearlyFull(m_collaborators.appState.figures().receivedStorageUsage.availableBytes)) {
        m_collaborators.attention.call(AttentionCause::diskNearlyFull);
    } else if (field == state::GatewayField::failedImagesCount) {
        failuresChanged();
    }
}

/// Only failures that have just happened call: those of yesterday may have been seen to by now.
void AttentionWatch::failuresChanged()
{
    const std::int64_t failed = m_collaborators.appState.figures().failedImagesCount;
    if (failed > std::exchange(m_lastFailedImages, failed)) {
        askWhyUploadsFail();
    }
}

void AttentionWatch::askWhyUploadsFail()
{
    const std::chrono::nanoseconds now = m_collaborators.clock.monotonic();
    if (m_askedAt && now - *m_askedAt < kAskingPause) {
        return;
    }
    m_askedAt = now;
    m_collaborators.pool.run([this,
                              &main = m_collaborators.main,
                              ask = m_collaborators.failureClasses,
                              life = std::weak_ptr<const void>(m_life)] {
        main.post(life, [this, classes = ask()] { uploadsFail(classes); });
    });
}

void AttentionWatch::uploadsFail(const QList<core::FailureClass> &classes)
{
    if (classes.contains(core::FailureClass::sessionEnded) && !m_collaborators.auth.state().isSignedIn()) {
        m_collaborators.attention.call(AttentionCause::signInNeeded);
    }
    if (classes.contains(core::FailureClass::termsNotAccepted)) {
        m_collaborators.attention.call(AttentionCause::termsNeeded);
    }
    if (classes.contains(core::FailureClass::storageUsedUp)) {
        m_collaborators.attention.call(AttentionCause::allowanceUsedUp);
    }
}

} // namespace gateway::shell

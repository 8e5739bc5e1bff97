#include "upload/upload_opener.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"

namespace gateway::upload {

namespace {

const QString kSenderKey = QStringLiteral("QuorinUploadSender");
const QString kSessionReason = QStringLiteral("auth_state_changed");

} // namespace

UploadOpener::UploadOpener(Collaborators collaborators)
    : m_collaborators(collaborators), m_session(m_collaborators.auth.standing().state)
{
    platform::assertMainThread("UploadOpener");
    m_authObserver = m_collaborators.notifications.observe(
        core::kAuthStateChanged, [this](const QVariantMap &) { sessionLookedAt(); });
    connect(&m_collaborators.cloudWatch.status(),
            &account::QuorinCloudStatusViewModel::changed,
            this,
            &UploadOpener::cloudLookedAt);
    connect(&std::as_const(m_collaborators.cloudWatch).terms(),
            &account::GatewayQuorinCloudTermsCoordinator::changed,
            this,
            &UploadOpener::termsLookedAt);
}

void UploadOpener::launched(const QString &sender)
{
    const std::optional<QVariant> before = m_collaborators.defaults.object(kSenderKey);
    if (before && before->toString() == sender) {
        return;
    }
    m_collaborators.requests.requestUpload(QStringLiteral("another_sender"), UploadUrgency::everythingNow);
    m_collaborators.defaults.setObject(kSenderKey, sender);
}

/// Posted at every look at the session, changed or not: only a change of its standing asks, and a sign-in.
void UploadOpener::sessionLookedAt()
{
    using account::SessionState;
    const SessionState session = m_collaborators.auth.standing().state;
    const SessionState before = std::exchange(m_session, session);
    const bool isGood = session == SessionState::signedIn;
    if (isGood && m_collaborators.auth.isChecking()) {
        m_collaborators.requests.requestUpload(kSessionReason,
                                               UploadUrgency::everythingNow); // by a person, just now
    } else if (session != before) {
        m_collaborators.requests.requestUpload(
            kSessionReason, isGood ? UploadUrgency::unlessAskedToWait : UploadUrgency::whenOpen);
    }
}

void UploadOpener::cloudLookedAt()
{
    const std::optional<bool> isOnline = m_collaborators.cloudWatch.isOnline();
    const std::optional<bool> wasOnline = std::exchange(m_wasOnline, isOnline);
    if (isOnline == true && wasOnline == false) {
        m_collaborators.requests.requestUpload(QStringLiteral("cloud_back"),
                                               UploadUrgency::unlessAskedToWait);
    }
}

void UploadOpener::termsLookedAt()
{
    const std::optional<bool> areRequired = m_collaborators.cloudWatch.areTermsRequired();
    if (areRequired && std::exchange(m_wereTermsRequired, *areRequired) && !*areRequired) {
        m_collaborators.requests.requestUpload(QStringLiteral("terms_accepted"),
                                               UploadUrgency::unlessAskedToWait);
    }
}

} // namespace gateway::upload

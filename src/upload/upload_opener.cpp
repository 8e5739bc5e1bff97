#include "upload/upload_opener.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"

namespace gateway::upload {

namespace {

const QString kSenderKey = QStringLiteral("QuorinUploadSender");
const QString kSessionReason = QStringLiteral("auth_state_changed");

} // namespace

UploadOpener::UploadOpener(Collaborators with) : m_with(with), m_session(m_with.auth.standing().state)
{
    platform::assertMainThread("UploadOpener");
    m_authObserver = m_with.notifications.observe(core::kAuthStateChanged,
                                                  [this](const QVariantMap &) { sessionLookedAt(); });
    connect(&m_with.cloudWatch.status(),
            &account::QuorinCloudStatusViewModel::changed,
            this,
            &UploadOpener::cloudLookedAt);
    connect(&std::as_const(m_with.cloudWatch).terms(),
            &account::GatewayQuorinCloudTermsCoordinator::changed,
            this,
            &UploadOpener::termsLookedAt);
}

void UploadOpener::launched(const QString &sender)
{
    const std::optional<QVariant> before = m_with.defaults.object(kSenderKey);
    if (before && before->toString() == sender) {
        return;
    }
    m_with.requests.requestUpload(QStringLiteral("another_sender"), UploadUrgency::everythingNow);
    m_with.defaults.setObject(kSenderKey, sender);
}

/// Posted at every look at the session, changed or not: only a change of its standing asks, and a sign-in.
void UploadOpener::sessionLookedAt()
{
    using account::SessionState;
    const SessionState session = m_with.auth.standing().state;
    const SessionState before = std::exchange(m_session, session);
    const bool isGood = session == SessionState::signedIn;
    if (isGood && m_with.auth.isChecking()) {
        m_with.requests.requestUpload(kSessionReason, UploadUrgency::everythingNow); // by a person, just now
    } else if (session != before) {
        m_with.requests.requestUpload(kSessionReason,
                                      isGood ? UploadUrgency::unlessAskedToWait : UploadUrgency::whenOpen);
    }
}

void UploadOpener::cloudLookedAt()
{
    const std::optional<bool> isOnline = m_with.cloudWatch.isOnline();
    const std::optional<bool> wasOnline = std::exchange(m_wasOnline, isOnline);
    if (isOnline == true && wasOnline == false) {
        m_with.requests.requestUpload(QStringLiteral("cloud_back"), UploadUrgency::unlessAskedToWait);
    }
}

void UploadOpener::termsLookedAt()
{
    const std::optional<bool> areRequired = m_with.cloudWatch.areTermsRequired();
    if (areRequired && std::exchange(m_wereTermsRequired, *areRequired) && !*areRequired) {
        m_with.requests.requestUpload(QStringLiteral("terms_accepted"), UploadUrgency::unlessAskedToWait);
    }
}

} // namespace gateway::upload

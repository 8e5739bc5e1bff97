#include "terminal/instance/terms_commands.h"

#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/quorin_error.h"
#include "core/notification_names.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/main_thread.h"
#include "terminal/commands/account_requests.h"
#include "terminal/commands/command_requests.h"

namespace gateway::terminal {

namespace {

ControlReply termsReply(bool required, const QString &version, const QString &text, const QString &reason)
{
    return ControlReply::success({{QStringLiteral("required"), required},
                                  {QStringLiteral("version"), version},
                                  {QStringLiteral("reason"), reason},
                                  {QStringLiteral("text"), text}});
}

ControlReply showFirst()
{
    return ControlReply::failure(
        QStringLiteral("Only Terms & Conditions that wait for an answer and were shown can be answered. "
                       "Run: quorin-gateway terms show"));
}

} // namespace

TermsCommands::TermsCommands(const Collaborators &collaborators)
    : m_collaborators(collaborators),
      m_coordinator({collaborators.api,
                     collaborators.defaults,
                     collaborators.main,
                     collaborators.pool,
                     collaborators.clock},
                    account::TermsSigner::here(QStringLiteral(QUORIN_VERSION))),
      m_scope(collaborators.main, collaborators.pool)
{
    platform::assertMainThread("TermsCommands");
    m_authObserver =
        collaborators.notifications.observe(core::kAuthStateChanged, [this](const QVariantMap &) {
            if (!m_collaborators.auth.state().isSignedIn()) {
                m_coordinator.reset();
            }
        });
}

bool TermsCommands::handle(const ControlRequest &request, const Answer &answer)
{
    const bool isShow = request.command == requests::kTermsShow;
    const bool isAccept = request.command == requests::kTermsAccept;
    if (!isShow && !isAccept && request.command != requests::kTermsDecline) {
        return false;
    }
    if (!m_collaborators.auth.state().isSignedIn()) {
        answer(noSessionReply());
    } else if (m_coordinator.isLoading()) {
        answer(ControlReply::failure(QStringLiteral("Another question about the terms is under way.")));
    } else if (isShow) {
        m_scope.start(show(answer));
    } else if (!m_coordinator.showTerms()) {
        answer(showFirst());
    } else {
        m_scope.start(isAccept ? accept(answer) : decline(answer));
    }
    return true;
}

QCoro::Task<> TermsCommands::show(Answer answer)
{
    co_await m_coordinator.refreshStatus();
    if (m_coordinator.errorMessage()) {
        answer(failure());
    } else if (m_coordinator.showTerms()) {
        answer(termsReply(true,
                          m_coordinator.termsVersion(),
                          m_coordinator.termsText(),
                          m_coordinator.reasonMessage().value_or(QString())));
    } else {
        const ControlReply reply = co_await readTerms();
        answer(reply);
    }
}

/// The terms of which nobody wants an answer.
QCoro::Task<ControlReply> TermsCommands::readTerms()
{
    try {
        const cloud_client::QrnQuorinCloudTermsResponse terms =
            co_await platform::onPool(m_collaborators.main,
                                      m_collaborators.pool,
                                      [api = &m_collaborators.api] { return api->terms(); });
        co_return termsReply(false, terms.version, terms.text, QString());
    } catch (const std::exception &error) {
        co_return ControlReply::failure(cloud_client::userFacingMessage(
            error, QStringLiteral("Unable to check Quorin Cloud Terms & Conditions.")));
    }
}

QCoro::Task<> TermsCommands::accept(Answer answer)
{
    const QString version = m_coordinator.termsVersion();
    const bool isTaken = co_await m_coordinator.accept();
    if (!isTaken) {
        answer(failure());
        co_return;
    }
    m_collaborators.answered();
    answer(ControlReply::success({{QStringLiteral("version"), version}}));
}

QCoro::Task<> TermsCommands::decline(Answer answer)
{
    const bool isTaken = co_await m_coordinator.decline();
    if (!isTaken) {
        answer(failure());
        co_return;
    }
    co_await m_collaborators.auth.signOut();
    answer(ControlReply::success());
}

ControlReply TermsCommands::failure() const
{
    return ControlReply::failure(
        m_coordinator.errorMessage().value_or(QStringLiteral("The session has ended.")));
}

} // namespace gateway::terminal

#include "cloud/service/account_routes.h"

#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"
#include "cloud/service/bug_report.h"
#include "cloud/service/json_answers.h"
#include "cloud/service/terms.h"
#include "cloud/store/archive_index.h"

namespace gateway::cloud {

namespace {

constexpr std::int64_t kBytesPerKb = 1024;

QString iso(const QDateTime &time)
{
    return time.toUTC().toString(Qt::ISODate);
}

QString textMember(const QJsonObject &json, const QString &name)
{
    const QJsonValue value = json.value(name);
    if (!value.isString()) {
        throw HttpProblem(422,
                          ProblemKind::badRequest,
                          QStringLiteral("The member \"%1\" is missing or not a text.").arg(name));
    }
    return value.toString();
}

} // namespace

AccountRoutes::AccountRoutes(Accounts &accounts,
                             ServiceSettings &settings,
                             const ArchiveIndex &archive,
                             QString reportsFolder)
    : m_accounts(accounts), m_settings(settings), m_archive(archive),
      m_reportsFolder(std::move(reportsFolder)), m_access(accounts)
{
}

void AccountRoutes::handle(Exchange &exchange, const std::vector<std::string> &path)
{
    struct Route
    {
        std::string_view request;
        void (AccountRoutes::*answer)(Exchange &);
    };
    static constexpr Route kRoutes[] = {
        {"POST auth/login", &AccountRoutes::login},
        {"POST auth/logout", &AccountRoutes::logout},
        {"GET auth/token", &AccountRoutes::tokenExpiration},
        {"GET user", &AccountRoutes::getUser},
        {"PUT user", &AccountRoutes::putUser},
        {"POST user/password", &AccountRoutes::changePassword},
        {"GET storage", &AccountRoutes::storage},
        {"GET ping", &AccountRoutes::ping},
        {"GET terms/status", &AccountRoutes::termsStatus},
        {"GET terms", &AccountRoutes::terms},
        {"POST terms/accept", &AccountRoutes::acceptTerms},
        {"POST terms/decline", &AccountRoutes::declineTerms},
        {"GET versions/policy", &AccountRoutes::versionPolicy},
        {"POST bug-reports", &AccountRoutes::bugReport},
    };
    std::string request = exchange.method();
    for (std::size_t i = 0; i < path.size(); ++i) {
        request += (i == 0 ? " " : "/") + path[i];
    }
    for (const Route &route : kRoutes) {
        if (route.request == request) {
            (this->*route.answer)(exchange);
            return;
        }
    }
    throw HttpProblem(404, ProblemKind::notFound, QStringLiteral("The account service doesn't offer this."));
}

void AccountRoutes::login(Exchange &exchange)
{
    const QJsonObject request = readJson(exchange);
    const std::optional<UserId> user = m_accounts.userWithPassword(
        textMember(request, QStringLiteral("email")), textMember(request, QStringLiteral("password")));
    if (!user) {
        throw HttpProblem(401,
                          ProblemKind::credentialsRefused,
                          QStringLiteral("The email address or password is incorrect."));
    }
    const Session session = m_accounts.beginSession(*user, m_settings.rules().sessionLifetime);
    answerJson(exchange,
               200,
               {{QStringLiteral("token"), QString::fromLatin1(session.token)},
                {QStringLiteral("userId"), static_cast<qint64>(session.userId)},
                {QStringLiteral("expiresAt"), iso(session.expiresAt)}});
}

void AccountRoutes::logout(Exchange &exchange)
{
    m_accounts.endSession(m_access.session(exchange).token);
    exchange.answer(204);
}

void AccountRoutes::tokenExpiration(Exchange &exchange)
{
    const Session session = m_access.session(exchange);
    answerJson(exchange, 200, QJsonObject{{QStringLiteral("expiresAt"), iso(session.expiresAt)}});
}

void AccountRoutes::getUser(Exchange &exchange)
{
    answerJson(exchange, 200, m_accounts.profile(m_access.session(exchange).userId));
}

void AccountRoutes::putUser(Exchange &exchange)
{
    const UserId user = m_access.session(exchange).userId;
    m_accounts.putProfile(user, readJson(exchange));
    answerJson(exchange, 200, m_accounts.profile(user));
}

void AccountRoutes::changePassword(Exchange &exchange)
{
    const UserId user = m_access.session(exchange).userId;
    const QJsonObject request = readJson(exchange);
    const QString current = textMember(request, QStringLiteral("currentPassword"));
    const QString changed = textMember(request, QStringLiteral("newPassword"));
    if (changed != textMember(request, QStringLiteral("confirmPassword"))) {
        throw HttpProblem(
            422, ProblemKind::passwordsDiffer, QStringLiteral("The two new passwords do not match."));
    }
    if (!m_accounts.isPassword(user, current)) {
        throw HttpProblem(
            422, ProblemKind::currentPasswordWrong, QStringLiteral("The current password is incorrect."));
    }
    if (changed.isEmpty()) {
        throw HttpProblem(422, ProblemKind::badRequest, QStringLiteral("The new password is empty."));
    }
    m_accounts.setPassword(user, changed);
    exchange.answer(204);
}

void AccountRoutes::storage(Exchange &exchange)
{
    m_access.session(exchange);
    const qint64 usedKb = (m_archive.totals().bytes + kBytesPerKb - 1) / kBytesPerKb;
    answerJson(exchange,
               200,
               {{QStringLiteral("allowanceKb"), static_cast<qint64>(m_settings.rules().allowanceKb)},
                {QStringLiteral("usedKb"), usedKb}});
}

void AccountRoutes::ping(Exchange &exchange)
{
    exchange.answer(204);
}

void AccountRoutes::termsStatus(Exchange &exchange)
{
    const UserId user = m_access.session(exchange).userId;
    const ServiceRules rules = m_settings.rules();
    const bool required = termsRequired(rules, m_accounts, user);
    QJsonValue reason;
    if (required && !rules.termsReason.isEmpty()) {
        reason = rules.termsReason;
    } else if (required) {
        reason = m_accounts.acceptedTerms(user).isEmpty() ? QStringLiteral("First-time acceptance required")
                                                          : QStringLiteral("T&Cs updated");
    }
    answerJson(exchange,
               200,
               {{QStringLiteral("required"), required},
                {QStringLiteral("requiredVersion"), rules.termsVersion},
                {QStringLiteral("reason"), reason}});
}

void AccountRoutes::terms(Exchange &exchange)
{
    m_access.session(exchange);
    const ServiceRules rules = m_settings.rules();
    answerJson(exchange,
               200,
               {{QStringLiteral("version"), rules.termsVersion}, {QStringLiteral("text"), rules.termsText}});
}

void AccountRoutes::acceptTerms(Exchange &exchange)
{
    const UserId user = m_access.session(exchange).userId;
    const QJsonObject request = readJson(exchange);
    const QString version = textMember(request, QStringLiteral("version"));
    if (version != m_settings.rules().termsVersion) {
        throw HttpProblem(422,
                          ProblemKind::badRequest,
                          QStringLiteral("These terms are not the current ones. Please reload."));
    }
    m_accounts.setAcceptedTerms(user, version);
    m_accounts.recordTermsAnswer(user, QStringLiteral("accepted"), request);
    answerJson(exchange, 200, QJsonObject{{QStringLiteral("acceptedVersion"), version}});
}

void AccountRoutes::declineTerms(Exchange &exchange)
{
    const UserId user = m_access.session(exchange).userId;
    const QJsonObject request = readJson(exchange);
    if (textMember(request, QStringLiteral("version")) == m_accounts.acceptedTerms(user)) {
        m_accounts.setAcceptedTerms(user, QString());
    }
    m_accounts.recordTermsAnswer(user, QStringLiteral("declined"), request);
    exchange.answer(204);
}

void AccountRoutes::versionPolicy(Exchange &exchange)
{
    const ServiceRules rules = m_settings.rules();
    answerJson(exchange,
               200,
               {{QStringLiteral("minimumVersion"), rules.minimumVersion},
                {QStringLiteral("latestVersion"), rules.latestVersion},
                {QStringLiteral("minimumOs"), rules.minimumOs}});
}

void AccountRoutes::bugReport(Exchange &exchange)
{
    m_access.session(exchange);
    receiveBugReport(exchange, m_reportsFolder);
}

} // namespace gateway::cloud

#include "cloud/service/access.h"

#include "cloud/http/exchange.h"
#include "cloud/http/problem.h"
#include "cloud/http/text.h"

namespace gateway::cloud {

namespace {

/// What follows the scheme in the Authorization field; nothing where another scheme stands there.
std::optional<std::string> credentialsOf(const Exchange &exchange, std::string_view scheme)
{
    const std::string field = trimmed(exchange.header("Authorization"));
    if (field.size() <= scheme.size() || field[scheme.size()] != ' ' ||
        lowerCase(field.substr(0, scheme.size())) != scheme) {
        return std::nullopt;
    }
    return trimmed(field.substr(scheme.size()));
}

HttpProblem sessionInvalid()
{
    return {
        401, ProblemKind::sessionInvalid, QStringLiteral("Your session has expired. Please sign in again.")};
}

} // namespace

Session Access::session(const Exchange &exchange) const
{
    const std::optional<std::string> token = credentialsOf(exchange, "bearer");
    const std::optional<Session> session =
        token ? m_accounts.session(QByteArray::fromStdString(*token)) : std::nullopt;
    if (!session) {
        throw sessionInvalid();
    }
    return *session;
}

std::optional<UserId> Access::dicomwebUser(Exchange &exchange) const
{
    if (const auto credentials = credentialsOf(exchange, "basic")) {
        return basicUser(exchange, *credentials);
    }
    if (credentialsOf(exchange, "bearer")) {
        return session(exchange).userId;
    }
    if (!m_accounts.hasUsers() && exchange.peerIsLoopback()) {
        return std::nullopt;
    }
    exchange.setHeader("WWW-Authenticate", "Basic realm=\"quorin-cloud\", charset=\"UTF-8\"");
    throw sessionInvalid();
}

UserId Access::basicUser(Exchange &exchange, std::string_view credentials) const
{
    const auto decoded = QByteArray::fromBase64Encoding(
        QByteArray(credentials.data(), static_cast<qsizetype>(credentials.size())));
    const QString pair = QString::fromUtf8(*decoded);
    const qsizetype colon = pair.indexOf(u':');
    const std::optional<UserId> user =
        colon < 0 ? std::nullopt : m_accounts.userWithPassword(pair.left(colon), pair.mid(colon + 1));
    if (!user) {
        exchange.setHeader("WWW-Authenticate", "Basic realm=\"quorin-cloud\", charset=\"UTF-8\"");
        throw HttpProblem(
            401, ProblemKind::credentialsRefused, QStringLiteral("The user name or password is incorrect."));
    }
    return *user;
}

} // namespace gateway::cloud

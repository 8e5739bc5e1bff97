#include "cloud/http/problem.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace gateway::cloud {

namespace {

QString titleOf(ProblemKind kind)
{
    switch (kind) {
    case ProblemKind::sessionInvalid:
        return QStringLiteral("Session no longer valid");
    case ProblemKind::credentialsRefused:
        return QStringLiteral("Credentials refused");
    case ProblemKind::termsNotAccepted:
        return QStringLiteral("Terms not accepted");
    case ProblemKind::badRequest:
        return QStringLiteral("Bad request");
    case ProblemKind::passwordsDiffer:
        return QStringLiteral("Passwords do not match");
    case ProblemKind::currentPasswordWrong:
        return QStringLiteral("Current password incorrect");
    case ProblemKind::notFound:
        return QStringLiteral("Not found");
    case ProblemKind::allowanceUsedUp:
        return QStringLiteral("Storage allowance used up");
    case ProblemKind::tooManyRequests:
        return QStringLiteral("Too many requests");
    case ProblemKind::serviceFault:
        return QStringLiteral("Fault of the service");
    }
    return {};
}

} // namespace

HttpProblem::HttpProblem(int status, ProblemKind kind, const QString &detail)
    : std::runtime_error(detail.toStdString()), m_status(status), m_kind(kind), m_detail(detail)
{
}

QByteArray HttpProblem::toJson() const
{
    const QJsonObject problem{{QStringLiteral("type"), QStringLiteral("about:blank")},
                              {QStringLiteral("title"), titleOf(m_kind)},
                              {QStringLiteral("status"), m_status},
                              {QStringLiteral("detail"), m_detail},
                              {QStringLiteral("kind"), static_cast<int>(m_kind)}};
    return QJsonDocument(problem).toJson(QJsonDocument::Compact);
}

} // namespace gateway::cloud

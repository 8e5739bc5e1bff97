#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <stdexcept>

namespace gateway::cloud {

/// The words that clients tell refusals apart by.
enum class ProblemKind
{
    sessionInvalid = 0,
    credentialsRefused = 1,
    termsNotAccepted = 2,
    badRequest = 3,
    passwordsDiffer = 4,
    currentPasswordWrong = 5,
    notFound = 6,
    allowanceUsedUp = 7,
    tooManyRequests = 8,
    serviceFault = 9
};

/// A refusal on its way to the client as `application/problem+json` (RFC 9457).
///
/// Thread: any; a value.
class HttpProblem : public std::runtime_error
{
public:
    /// \param detail  a sentence for the user.
    HttpProblem(int status, ProblemKind kind, const QString &detail);

    int status() const { return m_status; }

    ProblemKind kind() const { return m_kind; }

    /// The body to answer with.
    QByteArray toJson() const;

private:
    int m_status;
    ProblemKind m_kind;
    QString m_detail;
};

} // namespace gateway::cloud

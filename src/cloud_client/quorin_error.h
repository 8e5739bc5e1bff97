#pragma once

#include "platform/dicom/instance_identity.h"
#include "platform/sentences/sentence.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <chrono>
#include <exception>
#include <optional>

namespace gateway::cloud_client {

/// What a call of the cloud client throws: one plain sentence for the user, and a domain and a number for
/// the log.
///
/// Thread: a value, any.
class QuorinError : public std::exception
{
public:
    QuorinError(const platform::Sentence &description, QString errorDomain, int errorCode);

    const char *what() const noexcept override { return m_what.constData(); }

    QString localizedDescription; ///< in the language of the program
    QString plainDescription;     ///< the same in English, for logs and command lines
    QString domain;
    int code;

    /// For how long the service asked to be left alone, where it did; an hour at most.
    std::optional<std::chrono::seconds> retryAfter;

private:
    QByteArray m_what; // the plain description in UTF-8
};

/// The kinds of refusal that the cloud service tells apart; a number outside this list is kept as it came.
enum class QrnErrorKind : int
{
    sessionInvalid = 0,
    credentialsRefused = 1,
    termsNotAccepted = 2,
    badRequest = 3,
    passwordsDoNotMatch = 4,
    currentPasswordIncorrect = 5,
    notFound = 6,
    storageUsedUp = 7,
    tooManyRequests = 8,
    serviceFault = 9
};

/// The service refused the call and said why.
///
/// Without a message the localized description is empty too, so that the caller's own words show.
class QrnErrorResponse final : public QuorinError
{
public:
    QrnErrorResponse(QrnErrorKind errorKind,
                     std::optional<QString> errorMessage,
                     std::optional<int> status = std::nullopt);

    QrnErrorKind kind;
    std::optional<QString> message;  ///< the service's words for the user
    std::optional<int> responseCode; ///< the HTTP status, which may say more than the kind
};

/// What kept a call from an answer.
enum class NoAnswer
{
    otherReason,
    badAddress,      ///< the configured address can't be used
    addressNotFound, ///< its name isn't known to the network
    notReachable,    ///< nobody takes the connection there
    proxyRefused,    ///< a web proxy on the way doesn't let the connection through
    notSecure,       ///< no TLS connection, or none that can be trusted
    timedOut,
    connectionLost,
    unusableAnswer,    ///< something came that isn't an answer of the service
    sessionOver,       ///< nothing was asked: the session in which it was to be asked stands no more
    signInUnavailable, ///< nothing was asked: what it takes to sign in couldn't be had at this moment
    notAsked,          ///< nothing was asked: the service has left such questions unanswered
    unusableFile,      ///< the file to send can't be read, or changed while it was being sent
    answerNotKept      ///< this machine couldn't write down what came
};

/// The call failed without such words: no answer, an answer that can't be used, or a bare HTTP status.
class AFError final : public QuorinError
{
public:
    /// \param transportCode  the number for the log where no status came.
    /// \param reason         why no status came.
    AFError(const platform::Sentence &description,
            std::optional<int> status,
            int transportCode = 0,
            NoAnswer reason = NoAnswer::otherReason);

    std::optional<int> responseCode; ///< the HTTP status; absent when no answer came
    NoAnswer noAnswer;               ///< of meaning only without a status

    /// True where no answer came of another server than images are sent to, which the session names for this
    /// service alone.
    bool isOfAnotherServer = false;
};

/// The archive this gateway is set up for has no such service (any plain DICOMweb archive).
class QrnNotOffered final : public QuorinError
{
public:
    explicit QrnNotOffered(const platform::Sentence &description);
};

/// The server answered an upload, but some of its instances are not proven to be stored.
class QrnStowResponse final : public QuorinError
{
public:
    /// \param failures  one entry a failure, see the member.
    /// \param reason    the first failure reason that the server gave (PS3.18 I.2.2), 0 for none.
    /// \param reasons   see the member.
    /// \param cause     see the member.
    /// \param thereAlready  see `alreadyStored`.
    /// \param takenWithoutProof  see `taken`.
    /// \param foundByAQuery      see `found`.
    QrnStowResponse(QList<QStringList> failures,
                    int reason,
                    QHash<platform::InstanceUid, int> reasons = {},
                    std::exception_ptr cause = nullptr,
                    QSet<platform::InstanceUid> thereAlready = {},
                    QSet<platform::InstanceUid> takenWithoutProof = {},
                    QSet<platform::InstanceUid> foundByAQuery = {});

    /// One entry a failed instance, each with the texts that identify it: the bare SOP instance UID where
    /// it is known, and the local path of the file that was sent. A file without a readable meta header
    /// has its path alone; an instance that the server named of its own accord has its UID alone.
    QList<QStringList> failures;

    /// The failure reason of each instance for which the server gave one.
    QHash<platform::InstanceUid, int> reasons;

    /// Those of the others that the server says it had before, in whatever version.
    QSet<platform::InstanceUid> alreadyStored;

    /// Those of the failed ones that the server has taken without naming them, and doesn't show yet.
    QSet<platform::InstanceUid> taken;

    /// Those of the failed ones that a query finds all the same. In which version, and who sent it, nobody
    /// said.
    QSet<platform::InstanceUid> found;

    /// What ended those requests of the upload that weren't answered instance by instance; null when all
    /// were.
    std::exception_ptr cause;

    /// True when the file, or the instance that it holds, is among the failures; an empty UID is nobody's.
    /// The one safe question to ask before a file of a batch counts as sent.
    bool names(const QUrl &file, const platform::InstanceUid &instance) const;
};

/// The words of an error as they stand; empty where it has none.
QString localizedDescription(const std::exception &error);

/// An error as one line for somebody who looks for its cause: what it is, its number, and our words for it. A
/// server's words, which may name a patient, aren't in it.
QString plainText(const std::exception &error);

/// The one rule that turns a thrown error into words for the user.
///
/// \param error     anything thrown; the service's message comes first, then the localized description.
/// \param fallback  used where the error has no words of its own.
QString userFacingMessage(const std::exception &error, const QString &fallback);

/// The HTTP status by which a call failed; nothing where none came. Thread: any.
std::optional<int> statusOf(const std::exception &error);

/// True where the same call may be answered a while later: no answer came, or one of this moment (408, 429,
/// 5xx but 501). Thread: any.
bool isOfThisMoment(const std::exception &error);

} // namespace gateway::cloud_client

#pragma once

#include "cloud_client/cloud_configuration.h"
#include "cloud_client/cloud_session.h"
#include "cloud_client/http_message.h"
#include "cloud_client/http_transport.h"
#include "cloud_client/kept_refresh_token.h"
#include "cloud_client/network_settings.h"
#include "cloud_client/query_silence.h"
#include "cloud_client/request_limit.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <chrono>
#include <memory>
#include <optional>

namespace gateway::platform {
class Clock;
class TokenStore;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::cloud_client {

/// The largest answers that are taken in: for one record, and for a page of a query or what became of a
/// batch.
inline constexpr qint64 kBriefAnswer = 256 << 10;
inline constexpr qint64 kLargeAnswer = 16 << 20;

/// One call in the terms of the service; the client turns it into a request.
struct ApiCall
{
    enum class Service
    {
        account, ///< below <base>/api/v1
        store,   ///< below <base>/dicom-web, or below the base itself for a plain archive
        query,   ///< likewise, or below the root that the archive's session names
        retrieve ///< likewise
    };

    Service service = Service::account;
    QByteArray method = "GET";
    QByteArray path; ///< encoded, from the slash on; may hold a query
    QByteArray accept = "application/json";
    QByteArray contentType;           ///< empty where there is no body
    QByteArray body;                  ///< small bodies
    HttpBodySource *stream = nullptr; ///< large ones; borrowed
    bool authorized = true;           ///< carries the session, when there is one
    QString trial;                    ///< an archive's session in place of the present one; empty for that
    std::optional<CloudSession> within = {}; ///< goes in this session alone; nothing for whichever stands
    QString deviceId;                        ///< empty where the operation has none
    bool isBrief = true;               ///< ends within the limit for calls; false for uploads and queries
    bool wantsCertificate = false;     ///< the answer brings the server's, where it has one
    qint64 answerLimit = kBriefAnswer; ///< bytes of the answer; what isn't brief may always be large
    UploadProgressCallback progress;
    HttpBodySink sink =
        {}; ///< takes the body of a good answer, up to its limit, which isn't kept in memory then
};

/// How long a call may take in all; 0 where that hangs on a body that is sent. What is fetched into a sink
/// has longer the more it may be.
///
/// Thread: any; a pure function.
std::chrono::seconds timeLimitOf(const ApiCall &call, const HttpLimits &limits);

struct ArchiveAccess;
struct ArchiveExtras;

/// The cloud service as the Qrn...API classes see it: its address, its kind, the session and the transport.
///
/// The session goes to the configured service only: every address is made from the base address, or from a
/// root that is part of the session; redirects aren't followed, and the token is kept under the service's own
/// name.
///
/// Owner: app. Thread: any.
class QuorinApiClient
{
public:
    /// \param store  keeps the session between runs; outlives this.
    /// \param clock  tells when access tokens end; outlives this.
    /// \param defaults  keep what was learnt of the service; outlive this. None to learn it in each run.
    QuorinApiClient(CloudConfiguration configuration,
                    platform::TokenStore &store,
                    platform::Clock &clock,
                    platform::UserDefaults *defaults = nullptr);

    const CloudConfiguration &configuration() const { return m_configuration; }
    bool isPlainArchive() const { return m_configuration.kind == CloudKind::dicomweb; }
    NetworkSettings &networkSettings() { return m_settings; }

    /// The session that stands now.
    CloudSession session() const;

    /// Sends a call and returns the answer, with any status.
    ///
    /// \throws AFError  without a response code when no answer came, also when the configuration can't be
    ///                  used; the sentence names the cause. Nothing went out where the call's session is
    ///                  over.
    HttpResponse send(const ApiCall &call);

    /// Sends a call and returns the answer if its status is a success.
    ///
    /// \throws QrnErrorResponse, AFError  for any other status; AFError as `send`.
    HttpResponse request(const ApiCall &call);

    /// As `request`, for an answer that must be one JSON object.
    ///
    /// \throws AFError  without a response code when it isn't.
    QVariantMap requestObject(const ApiCall &call);

    /// What it takes to speak to whoever gives out tokens for an archive.
    OAuthService::Collaborators oauthAccess();

    /// What size of a request the service refuses.
    RequestLimit &requestLimit() { return m_requestLimit; }

    /// Whether the service leaves queries unanswered.
    QuerySilence &querySilence() { return m_querySilence; }

    /// Ends every call in flight and refuses later ones: for the end of the program.
    void shutDown() { m_transport.shutDown(); }

private:
    QByteArray address(const ApiCall &call) const;
    HttpRequest requestOf(const ApiCall &call) const;
    std::optional<QString> sessionOf(const ApiCall &call) const;
    void aim(HttpRequest &request, const ApiCall &call, const QString &root) const;
    HttpResponse sendToArchive(const ApiCall &call, HttpRequest request);
    HttpResponse sendSignedIn(ArchiveAccess &access, const HttpRequest &request);
    HttpResponse sendWith(ArchiveAccess &access, HttpRequest request, const QByteArray &header);
    std::shared_ptr<ArchiveAccess> accessFor(const QString &session);
    void noteCredentials(const QString &session, bool areRefused);

    const CloudConfiguration m_configuration;
    const std::optional<QString> m_problem; // why no call may be made
    NetworkSettings m_settings;
    HttpTransport m_transport;
    platform::Clock &m_clock;
    RequestLimit m_requestLimit;
    QuerySilence m_querySilence;
    KeptRefreshToken m_refreshToken;
    platform::Mutex m_mutex;
    std::shared_ptr<ArchiveAccess> m_access QUORIN_GUARDED_BY(m_mutex); // of the session asked for last
};

/// A call of the account service with a JSON body.
ApiCall jsonCall(const QByteArray &method, const QByteArray &path, const QJsonObject &body);

/// One segment of a path, encoded.
///
/// \throws AFError  for text that can't be a segment of its own (empty, "." or ".."): the call would mean
///                  something else without it.
QByteArray pathSegment(const QString &text);

} // namespace gateway::cloud_client

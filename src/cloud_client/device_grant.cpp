#include "cloud_client/device_grant.h"

#include "cloud_client/oauth_service.h"
#include "cloud_client/quorin_api_client.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/server_words.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QUrl>

#include <algorithm>

namespace gateway::cloud_client {

namespace {

constexpr qsizetype kLongestUserCode = 64;
constexpr qsizetype kLongestAddress = 512;

// Where the service doesn't say (RFC 8628 3.2), and what is believed of what it says: nobody waits longer,
// and no service is asked more often.
constexpr qlonglong kUsualInterval = 5;
constexpr qlonglong kLongestInterval = 60;
constexpr qlonglong kUsualLifetime = 10 * 60;
constexpr qlonglong kLongestLifetime = 60 * 60;

std::chrono::seconds secondsIn(const QVariantMap &record, const char *member, qlonglong usual, qlonglong most)
{
    bool isNumber = false;
    const qlonglong seconds = record.value(QLatin1StringView(member)).toLongLong(&isNumber);
    return std::chrono::seconds(isNumber && seconds > 0 ? std::min(seconds, most) : usual);
}

/// An address that a person may be sent to; empty for anything else.
QString addressIn(const QVariantMap &record, const char *member)
{
    const QUrl url(record.value(QLatin1StringView(member)).toString(), QUrl::StrictMode);
    const bool isWeb = url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty() &&
                       (url.scheme() == QStringLiteral("https") || url.scheme() == QStringLiteral("http"));
    const QString address = isWeb ? url.toString(QUrl::FullyEncoded) : QString();
    return address.size() <= kLongestAddress ? address : QString();
}

/// Who has let this gateway in; a service that doesn't say begins another account with each sign-in.
QString holderIn(const OAuthTokens &tokens)
{
    for (const QString &token : {tokens.identity, QString::fromLatin1(tokens.access.value)}) {
        if (const QString holder = holderOf(token); !holder.isEmpty()) {
            return holder;
        }
    }
    return QString::fromLatin1(
        QCryptographicHash::hash(tokens.refresh.toUtf8(), QCryptographicHash::Sha256).toHex());
}

[[noreturn]] void throwNothing(const QString &sentence, const HttpResponse &response)
{
    throw QrnErrorResponse(QrnErrorKind::credentialsRefused, sentence.arg(response.host), response.status);
}

DeviceTokens grantedTokens(const HttpResponse &response)
{
    const OAuthTokens tokens = OAuthService::tokensIn(response);
    if (tokens.refresh.isEmpty()) {
        throwNothing(QCoreApplication::translate(
                         "CloudClient",
                         "The sign-in service at %1 gave no token that renews the sign-in, which would "
                         "soon end; ask for one by the scope, often with the word offline_access."),
                     response);
    }
    return {QString::fromLatin1(tokens.access.value), tokens.refresh, holderIn(tokens)};
}

} // namespace

DeviceCode DeviceGrantAPI::begin(const ArchiveSignIn &signIn)
{
    OAuthService service(m_client.oauthAccess(), signIn);
    const HttpResponse response =
        service.post(OAuthService::Endpoint::deviceAuthorization,
                     {{"scope", signIn.client.scope}, {"audience", signIn.client.audience}});
    if (!response.isSuccess()) {
        service.throwRefusal(response, OAuthService::refusalIn(response));
    }
    const QVariantMap record = OAuthService::recordIn(response);
    const DeviceCode code{
        .deviceCode = record.value(QStringLiteral("device_code")).toString(),
        .userCode = cleanServerWords(record.value(QStringLiteral("user_code")).toString(), kLongestUserCode),
        .address = addressIn(record, "verification_uri"),
        .wholeAddress = addressIn(record, "verification_uri_complete"),
        .lifetime = secondsIn(record, "expires_in", kUsualLifetime, kLongestLifetime),
        .interval = secondsIn(record, "interval", kUsualInterval, kLongestInterval)};
    if (code.deviceCode.isEmpty() || code.userCode.isEmpty() || code.address.isEmpty()) {
        throw OAuthService::away(
            QCoreApplication::translate(
                "CloudClient",
                "What the sign-in service at %1 answered is no code that a person could enter.")
                .arg(response.host));
    }
    return code;
}

DeviceAnswer DeviceGrantAPI::ask(const ArchiveSignIn &signIn, const QString &deviceCode)
{
    OAuthService service(m_client.oauthAccess(), signIn);
    const HttpResponse response =
        service.post(OAuthService::Endpoint::token,
                     {{"grant_type", QStringLiteral("urn:ietf:params:oauth:grant-type:device_code")},
                      {"device_code", deviceCode}});
    if (response.isSuccess()) {
        return {.tokens = grantedTokens(response)};
    }
    // By RFC 8628 3.5.
    const QString code = OAuthService::refusalIn(response);
    if (code == QStringLiteral("authorization_pending") || code == QStringLiteral("slow_down")) {
        return {.isTooOften = code == QStringLiteral("slow_down")};
    }
    if (code == QStringLiteral("access_denied")) {
        throwNothing(QCoreApplication::translate(
                         "CloudClient", "The sign-in was refused by whoever entered the code at %1."),
                     response);
    }
    if (code == QStringLiteral("expired_token") || code == QStringLiteral("invalid_grant")) {
        throwNothing(
            QCoreApplication::translate(
                "CloudClient", "The code of %1 is over before somebody has entered it; begin again."),
            response);
    }
    service.throwRefusal(response, code);
}

} // namespace gateway::cloud_client

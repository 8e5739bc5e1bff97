#include "cloud_client/archive_sign_in.h"

#include "cloud_client/signing_key.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <algorithm>
#include <cmath>

namespace gateway::cloud_client {

namespace {

using Method = ArchiveSignIn::Method;
using SecretIn = OAuthClient::SecretIn;

// Servers take headers of some 8 KiB; in Base64 a character of UTF-8 may need four.
constexpr qsizetype kLongestPair = 1024;
constexpr qsizetype kLongestToken = 7 * 1024;

constexpr Method kMethods[] = {Method::none,
                               Method::basic,
                               Method::bearer,
                               Method::tokenFile,
                               Method::clientCredentials,
                               Method::device};
constexpr SecretIn kPlaces[] = {SecretIn::header, SecretIn::body, SecretIn::assertion, SecretIn::certificate};

QString placeName(SecretIn place)
{
    switch (place) {
    case SecretIn::header:
        return QStringLiteral("header");
    case SecretIn::body:
        return QStringLiteral("body");
    case SecretIn::assertion:
        return QStringLiteral("assertion");
    case SecretIn::certificate:
        return QStringLiteral("certificate");
    }
    return {};
}

QString pairText(const ArchiveSignIn &signIn)
{
    return QString::fromLatin1((signIn.userName + u':' + signIn.secret).toUtf8().toBase64());
}

ArchiveSignIn signInOfPair(const QString &text)
{
    ArchiveSignIn signIn;
    if (text == QString::fromLatin1(kNoPairSession)) {
        return signIn;
    }
    const QByteArray pair = QByteArray::fromBase64(text.toLatin1());
    const qsizetype colon = qMax<qsizetype>(pair.indexOf(':'), 0);
    signIn.method = Method::basic;
    signIn.userName = QString::fromUtf8(pair.left(colon));
    signIn.secret = QString::fromUtf8(pair.mid(colon + 1));
    return signIn;
}

void insert(QJsonObject &record, const QString &member, const QString &value)
{
    if (!value.isEmpty()) {
        record.insert(member, value);
    }
}

/// The members that a record has for texts, each with its place in the sign-in.
template <typename SignIn, typename Visit>
void visitTexts(SignIn &signIn, Visit visit)
{
    visit(QStringLiteral("userName"), signIn.userName);
    visit(QStringLiteral("secret"), signIn.secret);
    visit(QStringLiteral("holder"), signIn.holder);
    visit(QStringLiteral("tokenFile"), signIn.tokenFile);
    visit(QStringLiteral("issuer"), signIn.client.issuer);
    visit(QStringLiteral("tokenEndpoint"), signIn.client.tokenEndpoint);
    visit(QStringLiteral("deviceEndpoint"), signIn.client.deviceEndpoint);
    visit(QStringLiteral("clientId"), signIn.client.id);
    visit(QStringLiteral("scope"), signIn.client.scope);
    visit(QStringLiteral("audience"), signIn.client.audience);
}

bool hasControl(const QString &text)
{
    return std::any_of(
        text.begin(), text.end(), [](QChar letter) { return letter.category() == QChar::Other_Control; });
}

std::optional<QString> issueWithPair(const ArchiveSignIn &signIn)
{
    const QString pair = signIn.userName + signIn.secret;
    if (!signIn.userName.isEmpty() && !signIn.secret.isEmpty() && !signIn.userName.contains(u':') &&
        !hasControl(pair) && pair.size() <= kLongestPair) {
        return std::nullopt;
    }
    return QCoreApplication::translate(
        "Archive",
        "The archive needs a user name without a colon, and a password, both without "
        "control characters and of less than a thousand letters together.");
}

/// True for a method by which somebody gives out access tokens.
bool isOfOAuth(Method method)
{
    return method == Method::clientCredentials || method == Method::device;
}

bool isWebAddress(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty() && url.userInfo().isEmpty() && !url.hasFragment() &&
           (url.scheme() == QStringLiteral("https") || url.scheme() == QStringLiteral("http"));
}

std::optional<QString> issueWithClient(const ArchiveSignIn &signIn)
{
    const OAuthClient &client = signIn.client;
    const QString address = client.tokenEndpoint.isEmpty() ? client.issuer : client.tokenEndpoint;
    const bool needsSecret =
        signIn.method == Method::clientCredentials && client.secretIn != SecretIn::certificate;
    if (!isWebAddress(address)) {
        return QCoreApplication::translate(
            "Archive", "OAuth 2.0 needs the web address of an issuer or of a token endpoint.");
    }
    if (client.id.isEmpty() || (needsSecret && signIn.secret.isEmpty()) || hasControl(client.id)) {
        return needsSecret
                   ? QCoreApplication::translate("Archive", "OAuth 2.0 needs a client id and a secret.")
                   : QCoreApplication::translate("Archive", "OAuth 2.0 needs a client id.");
    }
    if (signIn.method == Method::device && client.issuer.isEmpty() && !isWebAddress(client.deviceEndpoint)) {
        return QCoreApplication::translate(
            "Archive", "A sign-in by code needs the web address where codes are given out, too.");
    }
    if (client.secretIn == SecretIn::certificate && signIn.certificate.isEmpty()) {
        return QCoreApplication::translate(
            "Archive", "A client that its certificate names needs one: --certificate FILE --key FILE.");
    }
    if (client.secretIn == SecretIn::assertion && !SigningKey::read(signIn.secret.toUtf8())) {
        return QCoreApplication::translate(
            "Archive",
            "A signed statement needs a private key in PEM form without a passphrase, RSA of "
            "2048 bits or more, or of the curve P-256.");
    }
    return std::nullopt;
}

QString labelWithoutMethod(const ArchiveSignIn &signIn)
{
    if (!signIn.certificate.isEmpty()) {
        return QStringLiteral("client certificate");
    }
    return signIn.extras.headers.isEmpty() ? QStringLiteral("guest") : headerNames(signIn.extras);
}

QString digest(const QByteArray &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
}

/// What a token says of itself (RFC 7519 4.1); nothing where it can't be read.
QJsonObject claimsOf(const QString &token)
{
    const QByteArray claims = QByteArray::fromBase64(
        token.section(u'.', 1, 1).toLatin1(), QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    return QJsonDocument::fromJson(claims).object();
}

/// False where it holds a number that was read as the nearest of others, too.
bool isExact(const QJsonValue &value)
{
    constexpr double kExactUpTo = 9007199254740992.0; // 2 to the 53rd
    if (value.isObject()) {
        const QJsonObject members = value.toObject();
        return std::all_of(members.begin(), members.end(), isExact);
    }
    if (value.isArray()) {
        const QJsonArray members = value.toArray();
        return std::all_of(members.begin(), members.end(), isExact);
    }
    const double number = value.toDouble();
    return std::trunc(number) == number && std::abs(number) < kExactUpTo;
}

/// What a token says but for its number and its times, so that a new one for the same holder is no other. One
/// that doesn't say who issued it to whom, or can't be read to the last digit, stands for itself.
QString holderOfToken(const QString &token)
{
    QJsonObject record = claimsOf(token);
    const auto isNamed = [&record](const char *claim) {
        return !record.value(QLatin1StringView(claim)).toString().isEmpty();
    };
    if (!isNamed("iss") || !isNamed("sub")) {
        return digest(token.toUtf8());
    }
    for (const char *passing : {"iat", "exp", "nbf", "jti", "auth_time"}) {
        record.remove(QLatin1StringView(passing));
    }
    return digest(isExact(record) ? QJsonDocument(record).toJson() : token.toUtf8());
}

/// One client of one service of tokens, for one purpose.
QString clientName(const OAuthClient &client)
{
    const QString service = client.tokenEndpoint.isEmpty() ? client.issuer : client.tokenEndpoint;
    return QStringList{service, client.id, client.scope, client.audience}.join(u'\n');
}

/// The user or client whom a method names. Those that somebody else's archive may know by the same word are
/// told apart by the method; a pair goes by its name alone.
QString holderOfMethod(const ArchiveSignIn &signIn)
{
    const QString method = methodName(signIn.method) + u'\n';
    switch (signIn.method) {
    case Method::none:
        return {};
    case Method::basic:
        return signIn.userName;
    case Method::bearer:
        return method + holderOfToken(signIn.secret);
    case Method::tokenFile:
        return method + signIn.tokenFile; // whoever keeps it may change what it holds at any time
    case Method::clientCredentials:
        return method + clientName(signIn.client);
    case Method::device:
        return method + clientName(signIn.client) + u'\n' + signIn.holder;
    case Method::unknown:
        break; // nothing is sent as that
    }
    return {};
}

} // namespace

QString methodName(Method method)
{
    switch (method) {
    case Method::none:
        return QStringLiteral("none");
    case Method::basic:
        return QStringLiteral("basic");
    case Method::bearer:
        return QStringLiteral("bearer");
    case Method::tokenFile:
        return QStringLiteral("token-file");
    case Method::clientCredentials:
        return QStringLiteral("oauth2");
    case Method::device:
        return QStringLiteral("device");
    case Method::unknown:
        return QStringLiteral("unknown");
    }
    return {};
}

QString sessionText(const ArchiveSignIn &signIn)
{
    const bool isAlone = signIn.certificate.isEmpty() && signIn.extras.isEmpty();
    if (isAlone && signIn.method == Method::none) {
        return QString::fromLatin1(kNoPairSession);
    }
    if (isAlone && signIn.method == Method::basic) {
        return pairText(signIn);
    }
    QJsonObject record{{QStringLiteral("method"), methodName(signIn.method)}};
    visitTexts(signIn,
               [&record](const QString &member, const QString &value) { insert(record, member, value); });
    if (isOfOAuth(signIn.method)) {
        record.insert(QStringLiteral("secretIn"), placeName(signIn.client.secretIn));
    }
    insert(record, QStringLiteral("certificate"), QString::fromLatin1(signIn.certificate.chain));
    insert(record, QStringLiteral("key"), QString::fromLatin1(signIn.certificate.key));
    insertExtras(record, signIn.extras);
    return QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact));
}

void keepBesides(ArchiveSignIn &signIn, const ArchiveSignIn &before)
{
    if (signIn.certificate.isEmpty()) {
        signIn.certificate = before.certificate;
    }
    ArchiveExtras &extras = signIn.extras;
    extras.queryRoot = extras.queryRoot.isEmpty() ? before.extras.queryRoot : extras.queryRoot;
    extras.retrieveRoot = extras.retrieveRoot.isEmpty() ? before.extras.retrieveRoot : extras.retrieveRoot;
    extras.headers = extras.headers.isEmpty() ? before.extras.headers : extras.headers;
}

ArchiveSignIn archiveSignIn(const QString &sessionText)
{
    if (!sessionText.startsWith(u'{')) { // which Base64 doesn't know
        return signInOfPair(sessionText);
    }
    const QJsonObject record = QJsonDocument::fromJson(sessionText.toUtf8()).object();
    const auto text = [&record](const QString &member) { return record.value(member).toString(); };
    ArchiveSignIn signIn;
    const auto *method = std::ranges::find(kMethods, text(QStringLiteral("method")), methodName);
    const auto *place = std::ranges::find(kPlaces, text(QStringLiteral("secretIn")), placeName);
    const bool hasPlace = place != std::end(kPlaces);
    signIn.method = method != std::end(kMethods) ? *method : Method::unknown;
    if (isOfOAuth(signIn.method) && !hasPlace) {
        signIn.method = Method::unknown; // a secret isn't shown where nobody wanted it
    }
    signIn.client.secretIn = hasPlace ? *place : SecretIn::header;
    visitTexts(signIn, [&text](const QString &member, QString &value) { value = text(member); });
    signIn.certificate = {text(QStringLiteral("certificate")).toLatin1(),
                          text(QStringLiteral("key")).toLatin1()};
    signIn.extras = extrasIn(record);
    return signIn;
}

std::optional<QString> issueWith(const ArchiveSignIn &signIn)
{
    switch (signIn.method) {
    case Method::none:
        return std::nullopt;
    case Method::basic:
        return issueWithPair(signIn);
    case Method::bearer:
        return canBeToken(signIn.secret)
                   ? std::nullopt
                   : std::optional(QCoreApplication::translate(
                         "Archive", "A token is one word of plain letters, digits and signs."));
    case Method::tokenFile:
        return signIn.tokenFile.startsWith(u'/')
                   ? std::nullopt
                   : std::optional(QCoreApplication::translate(
                         "Archive", "The file of the token needs its whole path."));
    case Method::clientCredentials:
    case Method::device:
        return issueWithClient(signIn);
    case Method::unknown:
        return QCoreApplication::translate(
            "Archive",
            "The kept sign-in can't be read by this version of the gateway; sign in again, or "
            "run the version that kept it.");
    }
    return std::nullopt;
}

QString accountName(const QString &sessionText)
{
    const ArchiveSignIn signIn = archiveSignIn(sessionText);
    QString name = holderOfMethod(signIn);
    if (const std::optional<CertificateFacts> facts = factsOf(signIn.certificate.chain)) {
        name += QStringLiteral("\ncertificate ") + facts->holder + u'\n' + facts->issuedBy;
    }
    for (const ArchiveHeader &header : signIn.extras.headers) {
        name += u'\n' + QString::fromLatin1(header.name.toLower()) + u' ' + digest(header.value);
    }
    return name;
}

QString signInLabel(const ArchiveSignIn &signIn)
{
    switch (signIn.method) {
    case Method::none:
        return labelWithoutMethod(signIn);
    case Method::basic:
        return signIn.userName;
    case Method::bearer:
        return QStringLiteral("access token");
    case Method::tokenFile:
        return QStringLiteral("token file");
    case Method::clientCredentials:
    case Method::device:
        return signIn.client.id;
    case Method::unknown:
        return QStringLiteral("unknown");
    }
    return {};
}

QString holderOf(const QString &token)
{
    const QJsonObject claims = claimsOf(token);
    const QString subject = claims.value(QStringLiteral("sub")).toString();
    const QString issuer = claims.value(QStringLiteral("iss")).toString();
    return subject.isEmpty() ? QString() : digest((issuer + u'\n' + subject).toUtf8());
}

bool canBeToken(const QString &text)
{
    return !text.isEmpty() && text.size() <= kLongestToken &&
           std::ranges::all_of(text, [](QChar letter) { return letter > u' ' && letter <= u'~'; });
}

} // namespace gateway::cloud_client

#include "cloud_client/archive_authorizer.h"

#include "cloud_client/access_tokens.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/token_file.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::cloud_client {

namespace {

/// The same header for every request, or none.
class FixedAuthorizer final : public ArchiveAuthorizer
{
public:
    explicit FixedAuthorizer(QByteArray header) : m_header(std::move(header)) {}

    QByteArray header() override { return m_header; }
    bool refused(const QByteArray &, Refusal) override { return false; }

private:
    const QByteArray m_header;
};

/// The token that a file holds at this moment: it is read for every request, which costs nothing beside one.
class TokenFileAuthorizer final : public ArchiveAuthorizer
{
public:
    TokenFileAuthorizer(const QString &path, platform::Clock &clock) : m_file(path, clock) {}

    QByteArray header() override { return "Bearer " + m_file.token(); }
    bool refused(const QByteArray &used, Refusal) override { return header() != used; }

private:
    TokenFile m_file;
};

/// Of a kept session that can't be read: whom to sign in as isn't known, and as nobody would be wrong.
class UnreadableAuthorizer final : public ArchiveAuthorizer
{
public:
    explicit UnreadableAuthorizer(QString sentence) : m_sentence(std::move(sentence)) {}

    QByteArray header() override { throw AFError(m_sentence, std::nullopt, 0, NoAnswer::signInUnavailable); }
    bool refused(const QByteArray &, Refusal) override { return false; }

private:
    const QString m_sentence;
};

QByteArray pairHeader(const ArchiveSignIn &signIn)
{
    return "Basic " + (signIn.userName + u':' + signIn.secret).toUtf8().toBase64();
}

} // namespace

std::unique_ptr<ArchiveAuthorizer>
makeAuthorizer(const ArchiveSignIn &signIn, FetchToken fetch, platform::Clock &clock)
{
    switch (signIn.method) {
    case ArchiveSignIn::Method::none:
        break;
    case ArchiveSignIn::Method::basic:
        return std::make_unique<FixedAuthorizer>(pairHeader(signIn));
    case ArchiveSignIn::Method::bearer:
        return std::make_unique<FixedAuthorizer>("Bearer " + signIn.secret.toLatin1());
    case ArchiveSignIn::Method::tokenFile:
        return std::make_unique<TokenFileAuthorizer>(signIn.tokenFile, clock);
    case ArchiveSignIn::Method::clientCredentials:
    case ArchiveSignIn::Method::device:
        return std::make_unique<AccessTokens>(std::move(fetch), clock);
    case ArchiveSignIn::Method::unknown:
        return std::make_unique<UnreadableAuthorizer>(issueWith(signIn).value_or(QString()));
    }
    return std::make_unique<FixedAuthorizer>(QByteArray());
}

} // namespace gateway::cloud_client

#include "cloud_client/archive_authorizer.h"

#include "cloud_client/access_tokens.h"
#include "cloud_client/multipart_body.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

#include <array>
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

/// What a file holds at this moment: it is read for every request, which costs nothing beside one. A pipe or
/// a device in its place is no file: reading one might never end.
class TokenFileAuthorizer final : public ArchiveAuthorizer
{
public:
    explicit TokenFileAuthorizer(QString path) : m_path(std::move(path)) {}

    QByteArray header() override
    {
        std::array<char, 16 * 1024> bytes{};
        const std::optional<ReadableFile> file = ReadableFile::open(m_path);
        const qint64 size = file ? file->read(0, bytes.data(), bytes.size()) : -1;
        if (size < 0) {
            throwUnusable(QCoreApplication::translate(
                              "CloudClient",
                              "The file of the archive's token, %1, isn't there, can't be read, or "
                              "is no ordinary file.")
                              .arg(m_path));
        }
        const QByteArray token = QByteArray(bytes.data(), size).trimmed();
        if (!canBeToken(QString::fromUtf8(token))) {
            throwUnusable(
                QCoreApplication::translate("CloudClient", "The file %1 holds no token of one word.")
                    .arg(m_path));
        }
        return "Bearer " + token;
    }

    bool refused(const QByteArray &used, Refusal) override { return header() != used; }

private:
    [[noreturn]] static void throwUnusable(const QString &sentence)
    {
        throw AFError(sentence, std::nullopt, 0, NoAnswer::signInUnavailable);
    }

    const QString m_path;
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
makeAuthorizer(const ArchiveSignIn &signIn, FetchToken fetch, const platform::Clock &clock)
{
    switch (signIn.method) {
    case ArchiveSignIn::Method::none:
        break;
    case ArchiveSignIn::Method::basic:
        return std::make_unique<FixedAuthorizer>(pairHeader(signIn));
    case ArchiveSignIn::Method::bearer:
        return std::make_unique<FixedAuthorizer>("Bearer " + signIn.secret.toLatin1());
    case ArchiveSignIn::Method::tokenFile:
        return std::make_unique<TokenFileAuthorizer>(signIn.tokenFile);
    case ArchiveSignIn::Method::clientCredentials:
    case ArchiveSignIn::Method::device:
        return std::make_unique<AccessTokens>(std::move(fetch), clock);
    case ArchiveSignIn::Method::unknown:
        return std::make_unique<UnreadableAuthorizer>(issueWith(signIn).value_or(QString()));
    }
    return std::make_unique<FixedAuthorizer>(QByteArray());
}

} // namespace gateway::cloud_client

#include "terminal/client/archive_secrets.h"

#include "cloud_client/sign_in_files.h"
#include "terminal/client/console.h"

#include <QtCore/QFile>

namespace gateway::terminal {

namespace {

using cloud_client::ArchiveSignIn;
using cloud_client::OAuthClient;

// Headers have room in it many times over.
constexpr qint64 kLargestFile = 256 * 1024;

/// What a file holds; nothing, with the reason said, where it can't be read.
std::optional<QByteArray> contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        printError(QStringLiteral("The file %1 can't be read: %2.").arg(path, file.errorString()));
        return std::nullopt;
    }
    return file.read(kLargestFile);
}

QString promptFor(const ArchiveSignIn &signIn)
{
    switch (signIn.method) {
    case ArchiveSignIn::Method::basic:
        return QStringLiteral("Password");
    case ArchiveSignIn::Method::bearer:
        return QStringLiteral("Token");
    case ArchiveSignIn::Method::none:
    case ArchiveSignIn::Method::tokenFile:
    case ArchiveSignIn::Method::clientCredentials:
    case ArchiveSignIn::Method::device:
    case ArchiveSignIn::Method::unknown:
        break;
    }
    return QStringLiteral("Client secret");
}

bool isRead(const std::optional<QString> &problem)
{
    if (problem) {
        printError(*problem);
    }
    return !problem;
}

bool addSecret(const ArchiveCommand &command, ArchiveSignIn &signIn)
{
    if (!command.needsSecret()) {
        return true;
    }
    if (command.secretFile.isEmpty() && signIn.client.secretIn == OAuthClient::SecretIn::assertion) {
        printError(QStringLiteral("The key that signs comes in a file: --secret-file FILE."));
        return false;
    }
    if (command.secretFile.isEmpty()) {
        signIn.secret = readSecret(promptFor(signIn));
        return true;
    }
    return isRead(cloud_client::addSecretFrom(command.secretFile, signIn));
}

bool addCertificate(const ArchiveCommand &command, ArchiveSignIn &signIn)
{
    return command.certificateFile.isEmpty() ||
           isRead(cloud_client::addCertificateFrom(command.certificateFile, command.keyFile, signIn));
}

bool addHeaders(const ArchiveCommand &command, ArchiveSignIn &signIn)
{
    if (command.headerFile.isEmpty()) {
        return true;
    }
    const std::optional<QByteArray> content = contentOf(command.headerFile);
    const auto headers = content ? cloud_client::headersIn(*content) : std::nullopt;
    if (content && (!headers || headers->isEmpty())) {
        printError(QStringLiteral("The file %1 holds no headers, one a line as Name: value.")
                       .arg(command.headerFile));
    }
    signIn.extras.headers = headers.value_or(QList<cloud_client::ArchiveHeader>());
    return !signIn.extras.headers.isEmpty();
}

} // namespace

std::optional<ArchiveSignIn> withSecrets(const ArchiveCommand &command)
{
    ArchiveSignIn signIn = command.signIn;
    const bool isWhole =
        addCertificate(command, signIn) && addHeaders(command, signIn) && addSecret(command, signIn);
    return isWhole ? std::optional(signIn) : std::nullopt;
}

} // namespace gateway::terminal

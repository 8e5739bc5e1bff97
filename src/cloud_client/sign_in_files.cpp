#include "cloud_client/sign_in_files.h"

#include "cloud_client/archive_sign_in.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

namespace gateway::cloud_client {

namespace {

// A chain of certificates and a key have room in it many times over.
constexpr qint64 kLargestFile = 256 * 1024;

/// Reads the file; else tells why it can't be read.
std::optional<QString> read(const QString &path, QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QCoreApplication::translate("Archive", "The file %1 can't be read: %2.")
            .arg(path, file.errorString());
    }
    content = file.read(kLargestFile);
    return std::nullopt;
}

} // namespace

std::optional<QString> addSecretFrom(const QString &file, ArchiveSignIn &signIn)
{
    QByteArray content;
    std::optional<QString> problem = read(file, content);
    signIn.secret = QString::fromUtf8(content).trimmed();
    return problem;
}

std::optional<QString>
addCertificateFrom(const QString &certificateFile, const QString &keyFile, ArchiveSignIn &signIn)
{
    QByteArray chain;
    QByteArray key;
    std::optional<QString> problem = read(certificateFile, chain);
    if (!problem) {
        problem = read(keyFile.isEmpty() ? certificateFile : keyFile, key);
    }
    if (!problem) {
        signIn.certificate = {chain, key};
    }
    return problem;
}

} // namespace gateway::cloud_client

#include "cloud_client/client_certificate.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>

#include <algorithm>
#include <ctime>
#include <memory>

namespace gateway::cloud_client {

namespace {

using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Source = std::unique_ptr<BIO, decltype(&BIO_free)>;

Source sourceOf(const QByteArray &pem)
{
    return {BIO_new_mem_buf(pem.constData(), static_cast<int>(pem.size())), BIO_free};
}

/// Gives no passphrase, where OpenSSL would ask at the terminal.
int noPassphrase(char *, int, int, void *)
{
    return -1;
}

Certificate certificateIn(const QByteArray &pem)
{
    const Source source = sourceOf(pem);
    return {source ? PEM_read_bio_X509(source.get(), nullptr, noPassphrase, nullptr) : nullptr, X509_free};
}

Key keyIn(const QByteArray &pem)
{
    const Source source = sourceOf(pem);
    return {source ? PEM_read_bio_PrivateKey(source.get(), nullptr, noPassphrase, nullptr) : nullptr,
            EVP_PKEY_free};
}

QDateTime timeOf(const ASN1_TIME *time)
{
    std::tm parts = {};
    return ASN1_TIME_to_tm(time, &parts) == 1 ? QDateTime::fromSecsSinceEpoch(timegm(&parts), Qt::UTC)
                                              : QDateTime();
}

QString digest(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

/// The certificate in DER.
QByteArray encoded(const X509 *certificate)
{
    unsigned char *der = nullptr;
    const int length = i2d_X509(certificate, &der);
    QByteArray bytes(reinterpret_cast<const char *>(der), std::max(length, 0));
    OPENSSL_free(der);
    return bytes;
}

/// The common name, else that of the organization.
QString nameIn(const X509_NAME *name)
{
    const int named = X509_NAME_get_index_by_NID(name, NID_commonName, -1);
    const int at = named < 0 ? X509_NAME_get_index_by_NID(name, NID_organizationName, -1) : named;
    const ASN1_STRING *common = at < 0 ? nullptr : X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at));
    unsigned char *text = nullptr;
    const int length = common == nullptr ? -1 : ASN1_STRING_to_UTF8(&text, common);
    const QString found =
        length < 0 ? QString() : QString::fromUtf8(reinterpret_cast<const char *>(text), length);
    OPENSSL_free(text);
    return found;
}

/// All parts of a name, in one line.
QString wholeName(const X509_NAME *name)
{
    const Source text{BIO_new(BIO_s_mem()), BIO_free};
    if (!text || X509_NAME_print_ex(text.get(), name, 0, XN_FLAG_RFC2253) < 0) {
        return {};
    }
    const char *bytes = nullptr;
    const long length = BIO_get_mem_data(text.get(), &bytes);
    return QString::fromUtf8(bytes, length);
}

/// The whole name of the holder, and their other names in no words of theirs: many a certificate names its
/// holder by these alone. One that names nobody stands for itself.
QString holderOf(const X509 *certificate)
{
    const QString name = wholeName(X509_get_subject_name(certificate));
    const int at = X509_get_ext_by_NID(certificate, NID_subject_alt_name, -1);
    const X509_EXTENSION *others = at < 0 ? nullptr : X509_get_ext(certificate, at);
    if (others != nullptr) {
        const ASN1_OCTET_STRING *bytes = X509_EXTENSION_get_data(const_cast<X509_EXTENSION *>(others));
        return name + u'\n' +
               digest(
                   {reinterpret_cast<const char *>(ASN1_STRING_get0_data(bytes)), ASN1_STRING_length(bytes)});
    }
    return name.isEmpty() ? digest(encoded(certificate)) : name;
}

} // namespace

std::optional<CertificateFacts> factsOf(const QByteArray &chain)
{
    const Certificate parsed = certificateIn(chain);
    if (!parsed) {
        return std::nullopt;
    }
    return CertificateFacts{nameIn(X509_get_subject_name(parsed.get())),
                            nameIn(X509_get_issuer_name(parsed.get())),
                            holderOf(parsed.get()),
                            wholeName(X509_get_issuer_name(parsed.get())),
                            timeOf(X509_get0_notBefore(parsed.get())),
                            timeOf(X509_get0_notAfter(parsed.get()))};
}

std::optional<QString> issueWith(const ClientCertificate &certificate, const QDateTime &now)
{
    if (certificate.isEmpty()) {
        return std::nullopt;
    }
    const Certificate parsed = certificateIn(certificate.chain);
    const Key key = keyIn(certificate.key);
    if (!parsed) {
        return QCoreApplication::translate("Archive", "The client certificate isn't one in PEM form.");
    }
    if (!key) {
        return QCoreApplication::translate(
            "Archive",
            "The key of the client certificate isn't a private key in PEM form without a "
            "passphrase.");
    }
    if (X509_check_private_key(parsed.get(), key.get()) != 1) {
        return QCoreApplication::translate("Archive", "The key does not belong to the client certificate.");
    }
    const CertificateFacts facts = *factsOf(certificate.chain);
    if (now > facts.notAfter) {
        return QCoreApplication::translate(
                   "Archive",
                   "The client certificate has expired on %1, or the clock of this computer is wrong.")
            .arg(facts.notAfter.toString(Qt::ISODate));
    }
    if (now < facts.notBefore) {
        return QCoreApplication::translate(
                   "Archive",
                   "The client certificate is not valid before %1, or the clock of this computer is "
                   "wrong.")
            .arg(facts.notBefore.toString(Qt::ISODate));
    }
    return std::nullopt;
}

} // namespace gateway::cloud_client

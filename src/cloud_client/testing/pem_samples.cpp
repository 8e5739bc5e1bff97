#include "cloud_client/testing/pem_samples.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace gateway::cloud_client::testing {

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Sink = std::unique_ptr<BIO, decltype(&BIO_free)>;

template <typename Write>
QByteArray written(Write write)
{
    const Sink sink(BIO_new(BIO_s_mem()), BIO_free);
    write(sink.get());
    char *data = nullptr;
    const long size = BIO_get_mem_data(sink.get(), &data);
    return QByteArray(data, size);
}

QByteArray decoded(const QByteArray &text)
{
    return QByteArray::fromBase64(text, QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

/// The signature as OpenSSL wants it.
QByteArray derOf(const QByteArray &plain)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(plain.constData());
    const int half = static_cast<int>(plain.size()) / 2;
    ECDSA_SIG *signature = ECDSA_SIG_new();
    ECDSA_SIG_set0(signature, BN_bin2bn(bytes, half, nullptr), BN_bin2bn(bytes + half, half, nullptr));
    unsigned char *der = nullptr;
    const int length = i2d_ECDSA_SIG(signature, &der);
    QByteArray result(reinterpret_cast<const char *>(der), length);
    OPENSSL_free(der);
    ECDSA_SIG_free(signature);
    return result;
}

} // namespace

PemSample makePemSample(const QDateTime &notBefore,
                        const QDateTime &notAfter,
                        int bits,
                        const QByteArray &holder,
                        const QByteArray &issuer,
                        const QByteArray &alternative)
{
    const Key key(bits > 0 ? EVP_RSA_gen(static_cast<unsigned>(bits)) : EVP_EC_gen("P-256"), EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    ASN1_TIME_set(X509_getm_notBefore(certificate.get()), notBefore.toSecsSinceEpoch());
    ASN1_TIME_set(X509_getm_notAfter(certificate.get()), notAfter.toSecsSinceEpoch());
    X509_set_pubkey(certificate.get(), key.get());
    const auto setName = [](X509_NAME *name, const QByteArray &text) {
        const auto *bytes = reinterpret_cast<const unsigned char *>(text.constData());
        if (!text.isEmpty()) {
            X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, bytes, -1, -1, 0);
        }
    };
    setName(X509_get_subject_name(certificate.get()), holder);
    setName(X509_get_issuer_name(certificate.get()), issuer.isEmpty() ? holder : issuer);
    if (!alternative.isEmpty()) {
        X509_EXTENSION *names =
            X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, alternative.constData());
        X509_add_ext(certificate.get(), names, -1);
        X509_EXTENSION_free(names);
    }
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    return {written([&](BIO *sink) { PEM_write_bio_X509(sink, certificate.get()); }), written([&](BIO *sink) {
                PEM_write_bio_PrivateKey(sink, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
            })};
}

bool isSignedBy(const QByteArray &key, const QByteArray &webSignature)
{
    const Sink source(BIO_new_mem_buf(key.constData(), static_cast<int>(key.size())), BIO_free);
    const Key parsed(PEM_read_bio_PrivateKey(source.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    const qsizetype dot = webSignature.lastIndexOf('.');
    const QByteArray message = webSignature.left(dot);
    const QByteArray plain = decoded(webSignature.mid(dot + 1));
    const QByteArray signature = EVP_PKEY_is_a(parsed.get(), "EC") == 1 ? derOf(plain) : plain;
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    return EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, parsed.get()) == 1 &&
           EVP_DigestVerify(context.get(),
                            reinterpret_cast<const unsigned char *>(signature.constData()),
                            static_cast<std::size_t>(signature.size()),
                            reinterpret_cast<const unsigned char *>(message.constData()),
                            static_cast<std::size_t>(message.size())) == 1;
}

} // namespace gateway::cloud_client::testing

#include "updates/ed25519.h"

#include <openssl/evp.h>

#include <memory>

namespace gateway::updates {

namespace {

constexpr qsizetype kKeyBytes = 32;
constexpr qsizetype kSignatureBytes = 64;

struct FreeKey
{
    void operator()(EVP_PKEY *key) const { EVP_PKEY_free(key); }
};

struct FreeContext
{
    void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};

const unsigned char *bytesOf(const QByteArray &array)
{
    return reinterpret_cast<const unsigned char *>(array.constData());
}

std::size_t sizeOf(const QByteArray &array)
{
    return static_cast<std::size_t>(array.size());
}

} // namespace

bool isSignedBy(const QByteArray &publicKey, const QByteArray &message, const QByteArray &signature)
{
    if (publicKey.size() != kKeyBytes || signature.size() != kSignatureBytes) {
        return false;
    }
    const std::unique_ptr<EVP_PKEY, FreeKey> key(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, bytesOf(publicKey), sizeOf(publicKey)));
    const std::unique_ptr<EVP_MD_CTX, FreeContext> context(EVP_MD_CTX_new());
    return key && context && EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
           EVP_DigestVerify(
               context.get(), bytesOf(signature), sizeOf(signature), bytesOf(message), sizeOf(message)) == 1;
}

} // namespace gateway::updates

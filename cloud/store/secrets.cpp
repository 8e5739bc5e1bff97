#include "cloud/store/secrets.h"

#include <QtCore/QList>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <stdexcept>

namespace gateway::cloud {

namespace {

constexpr int kTokenBytes = 32;
constexpr int kSaltBytes = 16;
constexpr int kHashBytes = 32;
// About 50 ms of one core: dear to guess at, cheap to sign in with.
constexpr int kRounds = 120'000;

QByteArray randomBytes(int count)
{
    QByteArray bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char *>(bytes.data()), count) != 1) {
        throw std::runtime_error("The system gives no random numbers.");
    }
    return bytes;
}

QByteArray stretched(const QString &password, const QByteArray &salt, int rounds)
{
    const QByteArray secret = password.toUtf8();
    QByteArray hash(kHashBytes, '\0');
    const int done = PKCS5_PBKDF2_HMAC(secret.constData(),
                                       static_cast<int>(secret.size()),
                                       reinterpret_cast<const unsigned char *>(salt.constData()),
                                       static_cast<int>(salt.size()),
                                       rounds,
                                       EVP_sha256(),
                                       kHashBytes,
                                       reinterpret_cast<unsigned char *>(hash.data()));
    if (done != 1) {
        throw std::runtime_error("The password can't be hashed.");
    }
    return hash;
}

} // namespace

QByteArray randomToken()
{
    return randomBytes(kTokenBytes).toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

QByteArray sha256(const QByteArray &bytes)
{
    QByteArray digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int length = 0;
    if (EVP_Digest(bytes.constData(),
                   static_cast<std::size_t>(bytes.size()),
                   reinterpret_cast<unsigned char *>(digest.data()),
                   &length,
                   EVP_sha256(),
                   nullptr) != 1) {
        throw std::runtime_error("SHA-256 isn't available.");
    }
    return digest.left(length).toHex();
}

QByteArray hashPassword(const QString &password)
{
    const QByteArray salt = randomBytes(kSaltBytes);
    return QByteArray::number(kRounds) + ':' + salt.toHex() + ':' +
           stretched(password, salt, kRounds).toHex();
}

bool passwordMatches(const QString &password, const QByteArray &hash)
{
    const QList<QByteArray> pieces = hash.split(':');
    if (pieces.size() != 3) {
        return false;
    }
    const QByteArray expected = QByteArray::fromHex(pieces[2]);
    const QByteArray actual = stretched(password, QByteArray::fromHex(pieces[1]), pieces[0].toInt());
    return expected.size() == actual.size() &&
           CRYPTO_memcmp(expected.constData(), actual.constData(), static_cast<std::size_t>(actual.size())) ==
               0;
}

} // namespace gateway::cloud

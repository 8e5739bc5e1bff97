#include "updates/ed25519.h"

#include "updates/testing/signing_key.h"

#include <gtest/gtest.h>

namespace gateway::updates::testing {

namespace {

QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}

} // namespace

TEST(Ed25519, AcceptsTheSecondSignatureOfTheStandard)
{
    // RFC 8032 7.1, test 2.
    EXPECT_TRUE(isSignedBy(hex("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c"),
                           hex("72"),
                           hex("92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
                               "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00")));
}

TEST(Ed25519, RefusesAnotherKeyAnotherMessageAndAnotherSignature)
{
    const SigningKey key;
    const QByteArray message("a message");
    const QByteArray signature = key.sign(message);
    ASSERT_TRUE(isSignedBy(key.publicKey(), message, signature));

    EXPECT_FALSE(isSignedBy(SigningKey().publicKey(), message, signature));
    EXPECT_FALSE(isSignedBy(key.publicKey(), message + ' ', signature));
    for (qsizetype at = 0; at < signature.size(); ++at) {
        QByteArray other = signature;
        other[at] = static_cast<char>(other[at] ^ 1);
        EXPECT_FALSE(isSignedBy(key.publicKey(), message, other)) << at;
    }
}

TEST(Ed25519, RefusesBytesOfAnotherLength)
{
    const SigningKey key;
    const QByteArray signature = key.sign("m");

    EXPECT_FALSE(isSignedBy({}, "m", signature));
    EXPECT_FALSE(isSignedBy(key.publicKey().first(31), "m", signature));
    EXPECT_FALSE(isSignedBy(key.publicKey() + '\0', "m", signature));
    EXPECT_FALSE(isSignedBy(key.publicKey(), "m", {}));
    EXPECT_FALSE(isSignedBy(key.publicKey(), "m", signature.first(63)));
    EXPECT_FALSE(isSignedBy(key.publicKey(), "m", signature + '\0'));
}

} // namespace gateway::updates::testing

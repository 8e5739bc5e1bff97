#include "updates/own_build.h"

#include "updates/testing/feed_text.h"
#include "updates/testing/signing_key.h"

#include <gtest/gtest.h>

namespace gateway::updates::testing {

namespace {

struct OwnBuilds : ::testing::Test
{
    AppcastItem signedVersion(const QString &version) const
    {
        return key.signedItem(itemFor("a package of " + version.toUtf8(), version));
    }

    std::optional<AppcastItem> newest(const QList<AppcastItem> &items) const
    {
        return newestFor(build, items, u"updates.example"_qs);
    }

    SigningKey key;
    OwnBuild build{.versionString = u"1.9.3"_qs,
                   .kind = PackageKind::appImage,
                   .architecture = u"x86_64"_qs,
                   .publicKey = key.publicKey()};
};

} // namespace

TEST_F(OwnBuilds, TakeTheNewestByNumbers)
{
    const AppcastItem newer = signedVersion(u"1.10"_qs);
    const AppcastItem newest = signedVersion(u"1.10.1"_qs);

    EXPECT_EQ(this->newest({newer, newest, signedVersion(u"1.9.4"_qs)}), newest);
}

TEST_F(OwnBuilds, NeverGoBack)
{
    for (const char *version : {"1.9.3", "1.9.3.0", "1.9.2", "1.9", "0.99", "1"}) {
        EXPECT_EQ(newest({signedVersion(QLatin1StringView(version))}), std::nullopt) << version;
    }
}

TEST_F(OwnBuilds, TakeNoPackageOfAnotherKindOrForAnotherMachine)
{
    AppcastItem debian = itemFor("a");
    debian.kind = PackageKind::debian;
    AppcastItem arm = itemFor("a");
    arm.architecture = u"aarch64"_qs;

    EXPECT_EQ(newest({key.signedItem(debian), key.signedItem(arm)}), std::nullopt);
}

TEST_F(OwnBuilds, TakeNothingSignedByAnotherKey)
{
    const AppcastItem item = SigningKey().signedItem(itemFor("a"));

    EXPECT_EQ(failureOf([&] { newest({item}); }), UpdateFailure::badSignature);
}

TEST_F(OwnBuilds, TakeNothingWhoseMembersAreNotThoseThatWereSigned)
{
    const AppcastItem item = signedVersion(u"2.0"_qs);
    ASSERT_EQ(newest({item}), item);
    QList<AppcastItem> changed(5, item);
    changed[0].versionString = u"9.0"_qs;
    changed[1].length += 1;
    changed[2].sha256[0] = static_cast<char>(changed[2].sha256[0] ^ 1);
    changed[3].notes.append(u"!"_qs);
    changed[4].displayVersionString = u"9.0"_qs;

    for (const AppcastItem &other : changed) {
        EXPECT_EQ(failureOf([&] { newest({other}); }), UpdateFailure::badSignature);
    }
}

TEST_F(OwnBuilds, DoNotTakeAPackageOfOneKindSignedAsAnother)
{
    AppcastItem debian = itemFor("a");
    debian.kind = PackageKind::debian;
    debian = key.signedItem(debian);
    debian.kind = PackageKind::appImage;

    EXPECT_EQ(failureOf([&] { newest({debian}); }), UpdateFailure::badSignature);
}

TEST_F(OwnBuilds, TakeTheNewestOneThatIsSigned)
{
    const AppcastItem good = signedVersion(u"2.0"_qs);
    AppcastItem forged = itemFor("b", u"3.0"_qs);
    forged.signature = good.signature;

    EXPECT_EQ(newest({forged, good}), good);
}

TEST_F(OwnBuilds, DoNotCareForTheSignatureOfWhatTheyWouldNotTake)
{
    EXPECT_EQ(newest({SigningKey().signedItem(itemFor("a", u"1.0"_qs))}), std::nullopt);
}

} // namespace gateway::updates::testing

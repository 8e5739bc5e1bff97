#include "upload/instance_verifier.h"

#include "upload/testing/fake_surroundings.h"

#include <gtest/gtest.h>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::AttemptEnd;
using StoreUpload::AttemptResult;
using StoreUpload::PreparedCandidate;

namespace {

const QString kUid = QStringLiteral("1.2.3");

struct InstanceVerifierTest : ::testing::Test
{
    testing::FakeSurroundings around;
    InstanceVerifier verifier{around.with};
    PreparedCandidate prepared = stored();

    PreparedCandidate stored() const
    {
        PreparedCandidate made;
        made.identity = {QStringLiteral("1"), QStringLiteral("1.1"), kUid};
        made.version = 7;
        return made;
    }

    void upload() { around.cloud.upload(platform::StowFile{storedFile(), prepared.identity}, {}, {}); }

    QUrl storedFile() { return QUrl::fromLocalFile(around.store(kUid)); }
};

AttemptEnd failedFor(FailureClass failureClass, std::int64_t code = 0)
{
    return {.result = AttemptResult::failed, .failure = {failureClass, code}};
}

} // namespace

TEST_F(InstanceVerifierTest, TakesTheCloudsWordForTheOnlyVersionThatWasSent)
{
    upload();

    EXPECT_EQ(verifier.confirm(prepared), StoreUpload::kUploaded);
    EXPECT_TRUE(around.cloud.retrieved().isEmpty());
}

TEST_F(InstanceVerifierTest, FetchesASecondVersionAndComparesIt)
{
    upload();
    around.index.rememberOtherVersion(kUid);

    EXPECT_EQ(verifier.confirm(prepared), (AttemptEnd{.result = AttemptResult::success, .isVerified = true}));
    EXPECT_EQ(around.cloud.retrieved(), QStringList{kUid});
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_F(InstanceVerifierTest, SaysThatTheCloudHoldsAnotherVersion)
{
    upload();
    around.index.rememberOtherVersion(kUid);
    around.converter.compareAs(platform::Likeness::different);

    EXPECT_EQ(verifier.confirm(prepared), failedFor(FailureClass::anotherVersionInCloud));
    EXPECT_EQ(around.leftovers(), 0);
}

TEST_F(InstanceVerifierTest, TakesNothingForProvenThatCannotBeFetchedOrCompared)
{
    around.index.rememberOtherVersion(kUid);

    EXPECT_EQ(verifier.confirm(prepared), failedFor(FailureClass::notComparable, 404));

    upload();
    around.converter.compareAs(platform::Likeness::unknown);
    EXPECT_EQ(verifier.confirm(prepared), failedFor(FailureClass::notConfirmed));

    prepared.identity.study.clear();
    EXPECT_EQ(verifier.confirm(prepared), failedFor(FailureClass::notComparable));
}

} // namespace gateway::upload

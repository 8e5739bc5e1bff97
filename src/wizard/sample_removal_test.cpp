#include "platform/dicom/testing/identities.h"
#include "wizard/sample_removal.h"

#include "wizard/sample.h"
#include "wizard/testing/sample_world.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace gateway::wizard {
namespace {

using platform::InstanceIdentity;
using Rest = SampleRemoved::Rest;
using State = LocalSample::State;

class SampleRemovalTest : public ::testing::Test, public testing::SampleWorld
{
protected:
    SampleRemoved remove(const InstanceIdentity &sample, bool wasUploadSeenToEnd = false)
    {
        std::optional<SampleRemoved> result;
        const auto task =
            removal.remove(sample, wasUploadSeenToEnd).then([&](SampleRemoved removed) { result = removed; });
        runUntil([&] { return result.has_value(); });
        return *result;
    }

    /// Lets time pass until all samples are gone.
    void passTime()
    {
        runUntil([this] {
            clock.advance(SampleRemoval::kFirstPause);
            return kept().isEmpty();
        });
    }

    SampleRemoval removal{parts()};
};

TEST(Sample, IsCalledByItsOwnRootWithinTheLengthOfAUid)
{
    for (int once = 0; once < 100; ++once) {
        const InstanceIdentity sample = newSample();

        EXPECT_TRUE(isSampleStudy(sample.study));
        for (const QString &uid : {sample.study.value(), sample.series.value(), sample.instance.value()}) {
            EXPECT_TRUE(uid.startsWith(kSampleRoot));
            EXPECT_LE(uid.size(), 64);
            EXPECT_FALSE(uid.contains(QStringLiteral("..")));
        }
        EXPECT_EQ(sampleOfStudy(sample.study), sample);
        EXPECT_NE(sample.instance, newSample().instance);
    }
    EXPECT_FALSE(isSampleStudy(platform::testing::studyUid("1.2.840.1")));
}

TEST_F(SampleRemovalTest, TakesASampleAwayHereAndInTheCloud)
{
    const InstanceIdentity sample = newSample();
    ASSERT_TRUE(removal.expect(sample));
    gateway.put(sample.study.value(), State::uploaded);

    EXPECT_EQ(remove(sample).rest, Rest::none);

    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(cloud.removed(), QStringList{sample.study.value()});
    EXPECT_EQ(kept(), QStringList());
}

TEST_F(SampleRemovalTest, LeavesTheCloudAloneWhileAnUploadMayCarryIt)
{
    const InstanceIdentity sample = newSample();
    removal.expect(sample);
    gateway.put(sample.study.value(), State::waiting);
    gateway.setUploading(true);

    EXPECT_EQ(remove(sample).rest, Rest::beingUploaded);
    EXPECT_EQ(gateway.here(), QStringList()); // so that no later run takes it
    EXPECT_EQ(cloud.removed(), QStringList());
    EXPECT_EQ(kept(), QStringList{sample.study.value()});

    gateway.setUploading(false);
    EXPECT_EQ(remove(sample).rest, Rest::mayComeLater);
    EXPECT_EQ(cloud.removed(), QStringList{sample.study.value()});
}

TEST_F(SampleRemovalTest, AsksForADayForWhatTheCloudMayStoreLater)
{
    const InstanceIdentity sample = newSample();
    removal.expect(sample);
    gateway.put(sample.study.value(), State::waiting); // the archive took it and doesn't show it
    EXPECT_EQ(remove(sample).rest, Rest::mayComeLater);
    EXPECT_EQ(kept(), QStringList{sample.study.value()});

    clock.advance(SampleRemoval::kLatestArrival - std::chrono::seconds(1));
    EXPECT_EQ(remove(sample).rest, Rest::mayComeLater);
    clock.advance(std::chrono::seconds(1));

    EXPECT_EQ(remove(sample).rest, Rest::none);
    EXPECT_EQ(cloud.removed(), (QStringList(3, sample.study.value())));
    EXPECT_EQ(kept(), QStringList());
}

TEST_F(SampleRemovalTest, KeepsInMindWhatTheCloudDoesNotDelete)
{
    const InstanceIdentity sample = newSample();
    removal.expect(sample);
    cloud.refuseDeletes(QStringLiteral("Deleting isn't allowed."));

    const SampleRemoved removed = remove(sample);

    EXPECT_EQ(removed.rest, Rest::inCloud);
    EXPECT_TRUE(removed.why.has_value());
    EXPECT_EQ(kept(), QStringList{sample.study.value()});
}

TEST_F(SampleRemovalTest, KeepsInMindWhatCannotBeDeletedHere)
{
    const InstanceIdentity sample = newSample();
    removal.expect(sample);
    gateway.put(sample.study.value(), State::uploaded);
    gateway.setMayBeRemoved(false);

    EXPECT_EQ(remove(sample).rest, Rest::here);
    EXPECT_EQ(cloud.removed(), QStringList()); // or the next run would put it back there
    EXPECT_EQ(kept(), QStringList{sample.study.value()});
}

TEST_F(SampleRemovalTest, ClearsUpWhatAnEarlierStartLeft)
{
    const InstanceIdentity uploaded = newSample();
    const InstanceIdentity arriving = newSample();
    removal.expect(uploaded);
    removal.expect(arriving);
    gateway.put(uploaded.study.value(), State::uploaded);
    gateway.put(arriving.study.value(), State::mayYetCome);

    removal.clearUp();
    runUntil([this] { return kept().size() == 1; });
    EXPECT_EQ(kept(), QStringList{arriving.study.value()});

    gateway.put(arriving.study.value(), State::waiting); // the listener has handed it over
    passTime();

    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(cloud.removed().first(), uploaded.study.value());
    EXPECT_EQ(cloud.removed().last(), arriving.study.value());
}

TEST_F(SampleRemovalTest, WaitsForASession)
{
    const InstanceIdentity sample = newSample();
    removal.expect(sample);
    gateway.put(sample.study.value(), State::uploaded);
    cloud.setSignedIn(false);

    removal.clearUp();
    pass(std::chrono::seconds(0));
    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(kept(), QStringList{sample.study.value()});

    cloud.setSignedIn(true);
    removal.sessionSeen();
    runUntil([this] { return !cloud.removed().isEmpty(); }); // whatever time it is
    EXPECT_EQ(cloud.removed(), QStringList{sample.study.value()});
}

TEST_F(SampleRemovalTest, LeavesASampleAloneThatSomebodyWorksWith)
{
    const InstanceIdentity left = newSample();
    const InstanceIdentity inUse = newSample();
    removal.expect(inUse);
    removal.expect(left);
    gateway.put(left.study.value(), State::uploaded);
    removal.setInUse(inUse.study);

    removal.clearUp();
    runUntil([this] { return kept().size() == 1; });

    EXPECT_EQ(kept(), QStringList{inUse.study.value()});
    EXPECT_EQ(cloud.removed(), QStringList{left.study.value()});
}

TEST_F(SampleRemovalTest, DeletesNothingButSamples)
{
    defaults.setObject(QStringLiteral("SetupTrial.samples"), QStringLiteral("1.2.840.1 1.2.3.1"));

    EXPECT_EQ(kept(), QStringList());
}

} // namespace
} // namespace gateway::wizard

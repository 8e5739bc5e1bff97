#include "upload/conversion_ahead.h"

#include "upload/testing/upload_run_world.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <future>
#include <latch>
#include <optional>

namespace gateway::upload {
namespace {

using platform::SendableFile;
using StoreUpload::ExecutionMode;
using testing::config;
using testing::FakeConverter;
using testing::UploadRunTest;

struct ConversionAheadTest : ::testing::Test
{
    QString stored(const QString &name) const
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("original");
        return file.fileName();
    }

    QTemporaryDir folder;
    FakeConverter converter{folder.path()};
};

TEST_F(ConversionAheadTest, MakesWhatIsExpectedOnceAndHandsItOverWhenAsked)
{
    const QString path = stored(QStringLiteral("1"));
    std::latch isMade(1);
    converter.behave([&](const QString &source) {
        isMade.count_down();
        return converter.write(source);
    });
    ConversionAhead ahead(converter, true, 1);

    ahead.expect(path);
    ahead.expect(path);
    isMade.wait(); // nobody has asked yet

    EXPECT_EQ(ahead.convertToJPEGLossless(path).path, folder.filePath(QStringLiteral("converted-1")));
    EXPECT_EQ(converter.conversions(), 1);
}

TEST_F(ConversionAheadTest, MakesTheOriginalReadyAheadWhereNothingIsConverted)
{
    const QString path = stored(QStringLiteral("1"));
    std::latch isMade(1);
    converter.behaveUnconverted([&](const QString &source) {
        isMade.count_down();
        return FakeConverter::ready(source, source);
    });
    ConversionAhead ahead(converter, false, 1);

    ahead.expect(path);
    isMade.wait();

    EXPECT_EQ(ahead.makeSendable(path).path, path);
    EXPECT_EQ(converter.conversions(), 0);
}

TEST_F(ConversionAheadTest, AsksAgainForAFileThatWasHandedOver)
{
    const QString path = stored(QStringLiteral("1"));
    ConversionAhead ahead(converter, true, 1);
    ahead.expect(path);
    ahead.convertToJPEGLossless(path);

    ahead.convertToJPEGLossless(path);

    EXPECT_EQ(converter.conversions(), 2);
}

TEST_F(ConversionAheadTest, TheOtherFormOfAFileIsMadeWhenItIsAskedFor)
{
    const QString path = stored(QStringLiteral("1"));
    ConversionAhead ahead(converter, true, 1);
    ahead.expect(path);

    EXPECT_EQ(ahead.makeSendable(path).path, path) << "what is sent where the conversion failed";
}

TEST_F(ConversionAheadTest, RemovesAtItsEndWhatNobodyAskedForAndNoStoredFile)
{
    const QString first = stored(QStringLiteral("1"));
    const QString second = stored(QStringLiteral("2"));
    converter.behave([&](const QString &source) {
        return source == first ? converter.write(source) : FakeConverter::ready(source, source);
    });
    {
        ConversionAhead ahead(converter, true, 1);
        ahead.expect(first);
        ahead.expect(second);
    }

    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), (QStringList{u"1"_qs, u"2"_qs}));
}

TEST_F(ConversionAheadTest, MakesAsManyAtOnceAsItMay)
{
    std::barrier twoInside(2);
    converter.behave([&](const QString &source) {
        twoInside.arrive_and_wait(); // hangs unless two are made at once
        return converter.write(source);
    });
    ConversionAhead ahead(converter, true, 2);
    const QString first = stored(QStringLiteral("1"));
    const QString second = stored(QStringLiteral("2"));

    ahead.expect(first);
    ahead.expect(second);

    EXPECT_EQ(ahead.convertToJPEGLossless(first).path, folder.filePath(QStringLiteral("converted-1")));
    EXPECT_EQ(ahead.convertToJPEGLossless(second).path, folder.filePath(QStringLiteral("converted-2")));
}

TEST_F(UploadRunTest, MakesTheNextFileReadyWhileASingleOneIsOnItsWay)
{
    constexpr std::chrono::seconds kLongEnough(20); // it comes at once, or never
    storeMany(3);
    std::promise<void> allConverted;
    std::atomic<int> converted = 0;
    around.converter.behave([&](const QString &path) {
        if (++converted == 3) {
            allConverted.set_value();
        }
        return around.converter.write(path);
    });
    const auto areConverted = allConverted.get_future().share();
    around.cloud.duringRequest([&](const auto &, const auto &) {
        EXPECT_EQ(areConverted.wait_for(kLongEnough), std::future_status::ready);
    });

    EXPECT_EQ(run(config(ExecutionMode::single)).successfulUploads, 3);
    EXPECT_EQ(around.cloud.mostAtOnce(), 1);
    EXPECT_EQ(around.converter.conversions(), 3);
}

TEST_F(UploadRunTest, LeavesNoConvertedFileOfASingleRunThatIsStopped)
{
    storeMany(5);
    around.cloud.duringRequest([this](const auto &, const auto &) { stop.request_stop(); });

    run(config(ExecutionMode::single));

    EXPECT_EQ(around.leftovers(), 0);
}

} // namespace
} // namespace gateway::upload

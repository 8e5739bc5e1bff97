#include "wizard/setup_checks.h"

#include "platform/files/testing/faulty_file_system.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>
#include <unistd.h>

namespace gateway::wizard {
namespace {

using core::GatewayAutoDeleteMode;

SetupDraft goodDraft()
{
    SetupDraft draft;
    draft.aeTitle = u"GATE"_qs;
    draft.portText = u"11112"_qs;
    return draft;
}

PortState anyPort(int)
{
    return PortState::available;
}

TEST(SetupChecks, TakeAGoodDraft)
{
    EXPECT_EQ(firstBlockingIssue(goodDraft(), anyPort), std::nullopt);
}

TEST(SetupChecks, TakePortsFrom1Through65535)
{
    EXPECT_EQ(parsedPort(u" 1 "_qs), 1);
    EXPECT_EQ(parsedPort(u"65535"_qs), 65535);
    for (const QString &bad :
         {u"0"_qs, u"65536"_qs, u""_qs, u"-1"_qs, u"11a12"_qs, u"99999999999999999999"_qs}) {
        EXPECT_EQ(parsedPort(bad), std::nullopt) << bad.toStdString();
        EXPECT_EQ(portFormatIssue(bad), u"Port must be a number between 1 and 65535."_qs);
    }
}

TEST(SetupChecks, NeedATitleWithALetterOrNumber)
{
    EXPECT_EQ(aeTitleIssue(u"  "_qs), u"AE Title is required."_qs);
    EXPECT_EQ(aeTitleIssue(u"\\\\"_qs), u"AE Title must include at least one letter or number."_qs);
    EXPECT_EQ(aeTitleIssue(u"GATE 1"_qs), std::nullopt);
}

TEST(SetupChecks, NameTheFirstIssueInTheOrderOfTheFields)
{
    SetupDraft draft;
    draft.autoDeleteMode = GatewayAutoDeleteMode::days;
    EXPECT_EQ(firstBlockingIssue(draft, anyPort), u"AE Title is required."_qs);

    draft.aeTitle = u"GATE"_qs;
    EXPECT_EQ(firstBlockingIssue(draft, anyPort), u"Port must be a number between 1 and 65535."_qs);

    draft.portText = u"11112"_qs;
    const auto inUse = [](int) { return PortState::inUse; };
    EXPECT_EQ(firstBlockingIssue(draft, inUse), u"Port 11112 is already in use by another process."_qs);
    EXPECT_EQ(firstBlockingIssue(draft, anyPort),
              u"Auto-delete in days must be a number between 1 and 3650."_qs);
}

TEST(SetupChecks, SayWhenAPortNeedsRights)
{
    EXPECT_TRUE(portStateIssue(104, PortState::forbidden)->contains(u"Port 104 needs rights"_qs));
    EXPECT_TRUE(portStateIssue(104, PortState::noAddress).has_value());
}

TEST(SetupChecks, TakeRetentionUpTo3650DaysAnd120Months)
{
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::days, u"3650"_qs), std::nullopt);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::months, u"120"_qs), std::nullopt);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::never, {}), std::nullopt);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::days, u"3651"_qs),
              u"Auto-delete in days must be a number between 1 and 3650."_qs);
    EXPECT_EQ(retentionIssue(GatewayAutoDeleteMode::months, u"121"_qs),
              u"Auto-delete in months must be a number between 1 and 120."_qs);
    EXPECT_TRUE(retentionIssue(GatewayAutoDeleteMode::days, {}).has_value());
}

TEST(SetupChecks, TakeTimeoutsFrom1Through600)
{
    EXPECT_EQ(timeoutIssue(u"600"_qs), std::nullopt);
    for (const QString &bad : {u"601"_qs, u"0"_qs, u"abc"_qs}) {
        EXPECT_EQ(timeoutIssue(bad), u"Timeout must be a number between 1 and 600."_qs);
    }
}

TEST(SetupChecks, TakeAFolderThatCanBeWrittenAndLeaveItAsItWas)
{
    const QTemporaryDir folder;

    EXPECT_EQ(folderIssue(folder.path()), std::nullopt);
    EXPECT_TRUE(
        QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
}

TEST(SetupChecks, RefuseAFolderThatIsNotThere)
{
    EXPECT_EQ(folderIssue(u"/no/such/folder"_qs),
              u"Could not create or validate a folder permission bookmark."_qs);
}

TEST(SetupChecks, RefuseAVolumeThatCannotSyncFolders)
{
    const QTemporaryDir folder;
    platform::testing::FaultyFileSystem files;
    for (const int code : {EINVAL, ENOTSUP}) {
        files.failStep(0, code);
        EXPECT_EQ(
            folderIssue(folder.path(), files),
            u"Selected folder lies on a volume that can't sync folders, so that no received image would be "
            u"safe there. Choose a folder on another volume."_qs);
    }
    files.failStep(0, EIO);
    EXPECT_EQ(folderIssue(folder.path(), files), std::nullopt) << "which may pass";
}

TEST(SetupChecks, RefuseAFolderThatTakesNoFile)
{
    // A folder of the process file system may be entered by anybody and written by nobody, root included.
    EXPECT_EQ(folderIssue(u"/proc/self/fdinfo"_qs),
              u"Selected folder is not writable. Choose a different folder or restore defaults."_qs);
}

} // namespace
} // namespace gateway::wizard

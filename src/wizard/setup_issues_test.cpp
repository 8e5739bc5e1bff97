#include "wizard/setup_issues.h"

#include <gtest/gtest.h>

namespace gateway::wizard {
namespace {

using core::GatewayAutoDeleteMode;
using Fix = GatewaySetupIssueFixAction;
using Severity = GatewaySetupIssueSeverity;
using Step = GatewaySetupStep;

GatewaySetupDraft goodDraft()
{
    GatewaySetupDraft draft;
    draft.aeTitle = u"GATE"_qs;
    draft.portText = u"104"_qs;
    return draft;
}

TEST(SetupIssues, HaveNothingAgainstAGoodDraft)
{
    EXPECT_TRUE(listenerIssues(goodDraft(), {false, PortState::available}).isEmpty());
    EXPECT_TRUE(localIssues(goodDraft(), {}).isEmpty());
}

TEST(SetupIssues, NameTheTitleBeforeThePort)
{
    GatewaySetupDraft draft;

    const QList<GatewaySetupIssue> issues = listenerIssues(draft, {});

    ASSERT_EQ(issues.size(), 2);
    EXPECT_EQ(issues[0],
              (GatewaySetupIssue{u"listener.ae.required"_qs,
                                 Step::listener,
                                 GatewaySetupIssueField::aeTitle,
                                 u"AE Title is required."_qs,
                                 Severity::error,
                                 Fix::restoreRecommendedListenerDefaults}));
    EXPECT_EQ(issues[1],
              (GatewaySetupIssue{u"listener.port.invalid"_qs,
                                 Step::listener,
                                 GatewaySetupIssueField::port,
                                 u"Port must be a number between 1 and 65535."_qs,
                                 Severity::error,
                                 Fix::restoreRecommendedListenerDefaults}));
}

TEST(SetupIssues, TellAnUnusableTitleFromAnAbsentOne)
{
    GatewaySetupDraft draft = goodDraft();
    draft.aeTitle = u"\\"_qs;

    const auto issue = listenerIssues(draft, {false, PortState::available}).value(0);

    EXPECT_EQ(issue.id, u"listener.ae.invalid"_qs);
    EXPECT_EQ(issue.message, u"AE Title must include at least one letter or number."_qs);
    EXPECT_EQ(issue.fixAction, Fix::restoreRecommendedListenerDefaults);
}

TEST(SetupIssues, SayOneThingAboutThePort)
{
    struct Case
    {
        PortFacts facts;
        QString id;
        QString message;
        Severity severity;
        std::optional<Fix> fix;
    };
    const std::vector<Case> cases{
        {{true, PortState::inUse},
         u"listener.port.checking"_qs,
         u"Checking whether port 104 is available..."_qs,
         Severity::warning,
         std::nullopt},
        {{false, PortState::inUse},
         u"listener.port.unavailable"_qs,
         u"Port 104 is already in use by another process."_qs,
         Severity::error,
         Fix::suggestAvailablePort},
        {{false, PortState::forbidden},
         u"listener.port.unavailable"_qs,
         u"Port 104 needs rights that this user doesn't have; choose one from 1024 up."_qs,
         Severity::error,
         Fix::suggestAvailablePort},
        {{false, std::nullopt},
         u"listener.port.pending"_qs,
         u"Port availability has not been verified yet."_qs,
         Severity::error,
         std::nullopt}};
    for (const Case &one : cases) {
        const QList<GatewaySetupIssue> issues = listenerIssues(goodDraft(), one.facts);
        ASSERT_EQ(issues.size(), 1);
        EXPECT_EQ(
            issues[0],
            (GatewaySetupIssue{
                one.id, Step::listener, GatewaySetupIssueField::port, one.message, one.severity, one.fix}));
    }
}

TEST(SetupIssues, NameTheFolderBeforeTheRetention)
{
    GatewaySetupDraft draft = goodDraft();
    draft.destinationFolder = u"/in"_qs;
    draft.autoDeleteMode = GatewayAutoDeleteMode::months;
    draft.autoDeleteValueText = u"121"_qs;

    const QList<GatewaySetupIssue> issues =
        localIssues(draft, {false, {u"/in"_qs, u"No way in."_qs, u"No room."_qs, std::nullopt}});

    ASSERT_EQ(issues.size(), 3);
    EXPECT_EQ(issues[0],
              (GatewaySetupIssue{u"local.folder.bookmark"_qs,
                                 Step::localFiles,
                                 GatewaySetupIssueField::destinationFolder,
                                 u"No way in."_qs,
                                 Severity::error,
                                 Fix::useDefaultFolder}));
    EXPECT_EQ(issues[1].id, u"local.folder.writable"_qs);
    EXPECT_EQ(issues[1].fixAction, Fix::rerunFolderProbe);
    EXPECT_EQ(issues[2],
              (GatewaySetupIssue{u"local.auto_delete.months.invalid"_qs,
                                 Step::localFiles,
                                 GatewaySetupIssueField::autoDeleteValue,
                                 u"Auto-delete in months must be a number between 1 and 120."_qs,
                                 Severity::error,
                                 Fix::restoreRecommendedLocalDefaults}));
}

TEST(SetupIssues, HaveNoSilentDefaultForAnAmount)
{
    GatewaySetupDraft draft = goodDraft();
    draft.autoDeleteMode = GatewayAutoDeleteMode::days;

    EXPECT_EQ(localIssues(draft, {}).value(0).id, u"local.auto_delete.days.invalid"_qs);
    draft.autoDeleteValueText = u"3650"_qs;
    EXPECT_TRUE(localIssues(draft, {}).isEmpty());
}

} // namespace
} // namespace gateway::wizard

#include "wizard/setup_summary_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace gateway::wizard {
namespace {

using Status = GatewaySetupPreflightCheckStatus;

const QDateTime kNow(QDate(2026, 5, 4), QTime(23, 2, 1), Qt::UTC);

TEST(SetupSummary, ListsRowsAndChecks)
{
    const QString text = setupSummaryText(
        kNow,
        {{u"ae_title"_qs, u"AE Title"_qs, u"GATE"_qs}, {u"bonjour"_qs, u"Bonjour"_qs, u"Enabled"_qs}},
        {{{}, u"AE Title"_qs, u"AE Title is valid."_qs, Status::passed, {}, {}},
         {{}, u"Port"_qs, u"Taken."_qs, Status::failed, {}, {}},
         {{}, u"Folder"_qs, u"Looking."_qs, Status::checking, {}, {}},
         {{}, u"Account"_qs, u"None."_qs, Status::warning, {}, {}}});

    EXPECT_EQ(text,
              u"Quorin Gateway Setup Summary\n"
              u"Exported At: 2026-05-04 23:02:01 UTC\n"
              u"\n"
              u"Settings:\n"
              u"- AE Title: GATE\n"
              u"- Bonjour: Enabled\n"
              u"\n"
              u"Preflight Checks:\n"
              u"[PASSED] AE Title: AE Title is valid.\n"
              u"[FAILED] Port: Taken.\n"
              u"[CHECKING] Folder: Looking.\n"
              u"[WARNING] Account: None."_qs);
}

TEST(SetupSummary, SaysWhenThereIsNothing)
{
    EXPECT_TRUE(
        setupSummaryText(kNow, {}, {}).endsWith(u"Settings:\n- None\n\nPreflight Checks:\n- None"_qs));
}

TEST(SetupSummary, IsNamedByLocalTimeAndDatedInUtc)
{
    ::setenv("TZ", "UTC-2", 1); // two hours ahead
    ::tzset();

    EXPECT_EQ(setupSummaryFileName(kNow), u"QuorinGateway-SetupSummary-20260505-010201.pdf"_qs);
    EXPECT_TRUE(
        setupSummaryText(kNow.toLocalTime(), {}, {}).contains(u"Exported At: 2026-05-04 23:02:01 UTC"_qs));

    ::unsetenv("TZ");
    ::tzset();
}

} // namespace
} // namespace gateway::wizard

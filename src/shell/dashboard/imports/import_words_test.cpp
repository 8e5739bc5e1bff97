#include "shell/dashboard/imports/import_words.h"

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using receive::ManualImportReport;
using receive::SkipReason;
using Phase = ManualImportReport::Phase;

/// A batch of 3,000 files of a megabyte each, 1,204 of which are done after half a minute.
ManualImportReport underWay()
{
    ManualImportReport report;
    report.phase = Phase::importing;
    report.doneFiles = 1204;
    report.knownFiles = 3000;
    report.doneBytes = 1'204'000'000;
    report.knownBytes = 3'000'000'000;
    report.elapsed = 30s;
    return report;
}

TEST(ImportWords, TellNumbersRateAndTimeLeft)
{
    EXPECT_EQ(importProgressText(underWay()),
              QStringLiteral("1,204 of 3,000 files · 40.1 MB/s · less than a minute left"));

    ManualImportReport slow = underWay();
    slow.elapsed = 600s;
    EXPECT_TRUE(importProgressText(slow).endsWith(QStringLiteral("15 min left"))) << 1;
    slow.elapsed = 6000s;
    EXPECT_TRUE(importProgressText(slow).endsWith(QStringLiteral("2 h 30 min left"))) << 2;
}

TEST(ImportWords, TellNoRateBeforeAnythingIsDone)
{
    ManualImportReport report = underWay();
    report.doneFiles = 0;
    report.doneBytes = 0;

    EXPECT_EQ(importProgressText(report), QStringLiteral("0 of 3,000 files"));
}

TEST(ImportWords, TellWhatItDoesBeforeItImports)
{
    ManualImportReport report;
    EXPECT_EQ(importProgressText(report), QStringLiteral("Waiting for the import before it"));

    report.phase = Phase::collecting;
    report.knownFiles = 17;
    EXPECT_EQ(importProgressText(report), QStringLiteral("Looking for files: 17 found"));

    report.phase = Phase::unpacking;
    EXPECT_EQ(importProgressText(report), QStringLiteral("0 of 17 files · unpacking an archive"));
}

TEST(ImportWords, TellTheOutcome)
{
    ManualImportReport report;
    report.phase = Phase::finished;
    EXPECT_EQ(importOutcomeText(report), QStringLiteral("No files found"));
    EXPECT_EQ(importOutcomeColor(report), Color::amber);

    report.candidateFiles = 3000;
    EXPECT_EQ(importOutcomeText(report), QStringLiteral("No DICOM files were imported"));

    report.importedFiles = 2950;
    EXPECT_EQ(importOutcomeText(report), QStringLiteral("Imported 2,950 of 3,000 files"));
    EXPECT_EQ(importOutcomeColor(report), Color::green);

    report.stopped = true;
    EXPECT_EQ(importOutcomeText(report), QStringLiteral("Imported 2,950 of 3,000 files, then stopped"));
    EXPECT_EQ(importOutcomeColor(report), Color::amber);
}

TEST(ImportWords, TellThatItWasStoppedBeforeAnything)
{
    ManualImportReport report;
    report.stopped = true;

    EXPECT_EQ(importOutcomeText(report), QStringLiteral("Stopped before anything was imported"));
}

TEST(ImportWords, TellWhatWasPassedOverAndWhy)
{
    ManualImportReport report;
    report.importedFiles = 1;
    report.candidateFiles = 9;
    for (int i = 0; i < 7; ++i) {
        report.addSkipped(SkipReason::notDicom, QStringLiteral("/a/%1").arg(i));
    }
    EXPECT_EQ(importOutcomeColor(report), Color::green); // nothing that could be an image
    report.addSkipped(SkipReason::protectedArchive, QStringLiteral("/a/locked.zip"));

    EXPECT_EQ(importSkipTexts(report),
              (QStringList{QStringLiteral("7 not DICOM: /a/0, /a/1, /a/2, /a/3, /a/4, …"),
                           QStringLiteral("1 archive with a password: /a/locked.zip")}));
    EXPECT_EQ(importOutcomeColor(report), Color::amber);
}

TEST(ImportWords, KeepAPathAsItIsAlsoWhereItLooksLikeAPlaceholder)
{
    ManualImportReport report;
    report.addSkipped(SkipReason::unreadable, QStringLiteral("/a/%1%2.dcm"));

    EXPECT_EQ(importSkipTexts(report), QStringList{QStringLiteral("1 can't be read: /a/%1%2.dcm")});
}

TEST(ImportWords, HaveWordsForEachReason)
{
    for (const SkipReason reason : {SkipReason::notDicom,
                                    SkipReason::damagedObject,
                                    SkipReason::unreadable,
                                    SkipReason::specialFile,
                                    SkipReason::damagedArchive,
                                    SkipReason::protectedArchive,
                                    SkipReason::oversizedArchive,
                                    SkipReason::nestedTooDeep,
                                    SkipReason::storage}) {
        ManualImportReport report;
        report.addSkipped(reason, QStringLiteral("x"));
        EXPECT_TRUE(importSkipTexts(report).value(0).startsWith(QStringLiteral("1 ")));
    }
}

} // namespace
} // namespace gateway::shell

#include "terminal/instance/import_commands.h"

#include "receive/testing/manual_import_world.h"

#include <QtCore/QJsonArray>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

using receive::ManualImportReport;
using receive::SkipReason;
using receive::testing::ManualImportWorld;

/// A request as it arrives over the socket.
ControlRequest carried(const ControlRequest &request)
{
    return decodeRequest(encode(request).chopped(1)).value_or(ControlRequest());
}

QJsonObject finishedReport(const std::function<void(ManualImportReport &)> &change)
{
    ManualImportReport report;
    report.phase = ManualImportReport::Phase::finished;
    report.importedFiles = 2;
    change(report);
    return toJson(u"id"_qs, report);
}

TEST(ImportCommands, BeginABatchAndTellItsReport)
{
    ManualImportWorld world;
    const QString file = world.source(u"a.dcm"_qs, "DICM a");

    const ControlReply begun = answerImport(*world.service, carried(importRequest({file})), false);
    world.awaitEnd(batchIn(begun.result));
    const ControlReply ended =
        answerImport(*world.service, carried(importReportRequest(batchIn(begun.result))), false);

    ASSERT_EQ(begun.code, ExitCode::done);
    ASSERT_EQ(ended.code, ExitCode::done);
    EXPECT_TRUE(hasFinished(ended.result));
    EXPECT_EQ(ended.result.value(u"importedFiles"_qs).toInt(), 1);
    EXPECT_EQ(importFailureSentence(ended.result), QString());
    EXPECT_EQ(world.uploadRequests(), QStringList{u"manual_upload_import_succeeded"_qs});
}

TEST(ImportCommands, AreRefusedBeforeSetupIsFinished)
{
    ManualImportWorld world;

    const ControlReply reply =
        answerImport(*world.service, importRequest({world.source(u"a.dcm"_qs, "DICM a")}), true);

    EXPECT_EQ(reply.code, ExitCode::failed);
    EXPECT_TRUE(world.log.events().empty());
}

TEST(ImportCommands, KnowNoBatchThatWasNeverBegun)
{
    ManualImportWorld world;

    EXPECT_EQ(answerImport(*world.service, importReportRequest(u"x"_qs), false).code, ExitCode::failed);
    EXPECT_EQ(answerImport(*world.service, importStopRequest(u"x"_qs), false).code, ExitCode::failed);
    EXPECT_EQ(answerImport(*world.service, importRequest({}), false).code, ExitCode::usage);
    EXPECT_EQ(answerImport(*world.service, {requests::kImport, {{u"paths"_qs, 7}}}, false).code,
              ExitCode::usage);
}

TEST(ImportCommands, StopABatch)
{
    ManualImportWorld world;
    const QString zip = world.source(u"a.zip"_qs, receive::testing::archiveOf({{u"a.dcm"_qs, "DICM a"}}));
    world.unpacking.onEntry = [](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            std::this_thread::yield();
        }
    };
    const QString batch = batchIn(answerImport(*world.service, importRequest({zip}), false).result);

    const ControlReply reply = answerImport(*world.service, carried(importStopRequest(batch)), false);
    world.awaitEnd(batch);

    EXPECT_EQ(reply.code, ExitCode::done);
    EXPECT_TRUE(world.service->report(batch)->stopped);
}

TEST(ImportCommands, ASelectionAsLongAsACommandLineCanBeTravels)
{
    QStringList paths;
    for (int number = 0; number < 20'000; ++number) {
        paths.append(u"/a/folder/with/a/rather/long/name/for/an/image/%1.dcm"_qs.arg(number));
    }

    EXPECT_EQ(carried(importRequest(paths)).arguments.value(u"paths"_qs).toArray().size(), 20'000);
}

TEST(ImportCommands, SayWhyABatchFailed)
{
    const auto sentence = [](const std::function<void(ManualImportReport &)> &change) {
        return importFailureSentence(finishedReport(change));
    };

    EXPECT_TRUE(
        sentence([](ManualImportReport &r) { r.addSkipped(SkipReason::notDicom, u"/a"_qs); }).isEmpty());
    EXPECT_TRUE(sentence([](ManualImportReport &r) { r.stopped = true; }).contains(u"stopped"_qs));
    EXPECT_TRUE(sentence([](ManualImportReport &r) { r.importedFiles = 0; }).contains(u"no DICOM file"_qs));
    EXPECT_TRUE(sentence([](ManualImportReport &r) {
                    r.addSkipped(SkipReason::damagedArchive, u"/a"_qs);
                }).contains(u"may be images"_qs));
}

TEST(ImportCommands, TellEveryReasonWithExamplesAndHowOften)
{
    const QString text = importSummaryText(finishedReport([](ManualImportReport &report) {
        for (int number = 0; number < 7; ++number) {
            report.addSkipped(SkipReason::notDicom, u"/s/%1.txt"_qs.arg(number));
        }
        report.addSkipped(SkipReason::protectedArchive, u"/s/x.zip"_qs);
        report.leftInArchives = 3;
    }));

    EXPECT_EQ(text,
              u"2 files imported, 8 files passed over.\n"
              "  7 x not DICOM: /s/0.txt, /s/1.txt, /s/2.txt, /s/3.txt, /s/4.txt, ...\n"
              "  1 x an archive with a password: /s/x.zip\n"
              "  Links and special files in archives were left there: 3.\n"_qs);
}

TEST(ImportCommands, TellHowFarABatchIs)
{
    ManualImportReport report;
    EXPECT_EQ(importProgressText(toJson(u"id"_qs, report)), u"Waiting ..."_qs);
    report.phase = ManualImportReport::Phase::collecting;
    report.knownFiles = 10;
    EXPECT_EQ(importProgressText(toJson(u"id"_qs, report)), u"Finding files ... 10"_qs);
    report.phase = ManualImportReport::Phase::importing;
    report.doneFiles = 4;
    report.doneBytes = 4'000'000;
    report.knownBytes = 10'000'000;
    report.elapsed = std::chrono::seconds(2);
    EXPECT_EQ(importProgressText(toJson(u"id"_qs, report)),
              u"4 of 10 files, 4.0 MB of 10.0 MB, 2.0 MB/s, 3 s left"_qs);
}

} // namespace
} // namespace gateway::terminal

#include "terminal/commands/doctor_report.h"

#include "terminal/control/control_protocol.h"

#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace gateway::terminal {
namespace {

using doctor::Diagnosis;
using doctor::FindingKind;

doctor::FileName name()
{
    return {u"10000/12.dcm"_qs, QString(16, u'a'), QString(16, u'b')};
}

Diagnosis sick()
{
    return {.findings = {{FindingKind::unrecordedImage, 2, 1, {name(), {{}, QString(16, u'c'), {}}}}},
            .failures = {{{core::FailureClass::storageUsedUp, 7}, 4, {name()}}},
            .storedFiles = 8,
            .recordedFiles = 9};
}

TEST(DoctorReport, AlwaysHasTheSameKeys)
{
    const QJsonObject json = toJson(sick(), true);

    EXPECT_EQ(json.keys(),
              (QStringList{u"failures"_qs,
                           u"findings"_qs,
                           u"recordedFiles"_qs,
                           u"repaired"_qs,
                           u"storedFiles"_qs,
                           u"waiting"_qs,
                           u"well"_qs}));
    EXPECT_EQ(toJson(Diagnosis(), false).keys(), json.keys());
    EXPECT_EQ(json[u"findings"][0].toObject().keys(),
              (QStringList{u"count"_qs,
                           u"examples"_qs,
                           u"kind"_qs,
                           u"mendable"_qs,
                           u"mended"_qs,
                           u"problem"_qs,
                           u"sentence"_qs}));
    EXPECT_EQ(json[u"failures"][0].toObject().keys(),
              (QStringList{u"class"_qs, u"code"_qs, u"count"_qs, u"examples"_qs, u"sentence"_qs}));
    EXPECT_EQ(json[u"failures"][0][u"examples"][0].toObject().keys(),
              (QStringList{u"file"_qs, u"fileHash"_qs, u"instanceHash"_qs}));
    EXPECT_TRUE(json[u"findings"][0][u"examples"][1][u"file"].isNull());
}

TEST(DoctorReport, CallsWhatTheCloudHasTakenAndDoesNotShowYetNeitherSentNorUnsent)
{
    const Diagnosis diagnosis{.failures = {{{core::FailureClass::notThereYet, 0}, 3, {name()}},
                                           {{core::FailureClass::storageUsedUp, 7}, 4, {}}}};

    const QString text = doctorText(toJson(diagnosis, false));

    EXPECT_TRUE(text.contains(u"3 sent, waiting for the cloud's confirmation: "_qs)) << text.toStdString();
    EXPECT_FALSE(text.contains(u"3 not sent"_qs));
    EXPECT_TRUE(text.contains(u"4 not sent: "_qs));
}

TEST(DoctorReport, SaysOnlyWhatTheKernelLacksToConfineProcesses)
{
    QJsonObject whole = toJson(Diagnosis(), false);
    addFences(whole, platform::HelperFences{.files = true, .calls = true});
    QJsonObject lacking = toJson(Diagnosis(), false);
    addFences(lacking, platform::HelperFences{.files = false, .calls = true});
    QJsonObject unknown = toJson(Diagnosis(), false);
    addFences(unknown, std::nullopt);

    EXPECT_TRUE(whole[u"confinement"][u"files"].toBool());
    EXPECT_FALSE(doctorText(whole).contains(u"kernel"_qs));
    EXPECT_FALSE(lacking[u"confinement"][u"files"].toBool());
    EXPECT_TRUE(doctorText(lacking).contains(u"The kernel lacks Landlock"_qs));
    EXPECT_FALSE(doctorText(lacking).contains(u"seccomp"_qs));
    EXPECT_TRUE(lacking[u"well"].toBool());
    EXPECT_FALSE(unknown.contains(u"confinement"_qs));
}

TEST(DoctorReport, SaysWhatTheLogTakesAndWhatLimitsIt)
{
    constexpr qint64 kMiB = 1024 * 1024;
    QJsonObject free = toJson(Diagnosis(), false);
    addLogRoom(free, 150 * kMiB, 0);
    QJsonObject limited = toJson(Diagnosis(), false);
    addLogRoom(limited, 150 * kMiB, 500 * kMiB);

    EXPECT_FALSE(doctorText(toJson(Diagnosis(), false)).contains(u"log files"_qs));
    EXPECT_TRUE(doctorText(free).contains(u"The log files take 150.00 MiB; nothing limits them. "
                                          "quorin-gateway settings set GatewayLogLimitMiB MIB does.\n"_qs));
    EXPECT_TRUE(free[u"log"][u"limitBytes"].isNull());
    EXPECT_TRUE(doctorText(limited).contains(u"The log files take 150.00 MiB of at most 500.00 MiB.\n"_qs));
    EXPECT_EQ(limited[u"log"][u"bytes"].toInteger(), 150 * kMiB);
    EXPECT_TRUE(limited[u"well"].toBool());
}

TEST(DoctorReport, SaysWhatUploadsWaitFor)
{
    const QDateTime moment(QDate(2026, 5, 1), QTime(13, 0), Qt::UTC);

    const QJsonObject json = toJson(Diagnosis(), false, {{7, moment}, {}});

    EXPECT_EQ(json[u"waiting"][u"files"].toInt(), 7);
    EXPECT_TRUE(json[u"well"].toBool()) << "waiting is no fault";
    EXPECT_TRUE(doctorText(json).contains(u"Waiting: files that failed and are tried again later: 7"_qs));
}

TEST(DoctorReport, IsNotWellWhileImagesWaitWithoutASession)
{
    QJsonObject json = toJson(Diagnosis(), false);

    addMissingSession(json, 12, u"There is no session."_qs);

    EXPECT_FALSE(json[u"well"].toBool());
    EXPECT_EQ(json[u"findings"][0].toObject().keys(), toJson(sick(), true)[u"findings"][0].toObject().keys());
    EXPECT_TRUE(doctorText(json).contains(u"12 found: There is no session.\n"_qs));
    EXPECT_FALSE(doctorText(json).contains(u"All is well"_qs));
}

TEST(DoctorReport, ReadsAsAFewLines)
{
    const QString text = doctorText(toJson(sick(), false));

    EXPECT_EQ(text,
              u"Looked at 8 stored files, and for 9 files that the index knows.\n"
              "2 found, 1 mended: "_qs +
                  doctor::findingSentence(FindingKind::unrecordedImage) +
                  u"\n    10000/12.dcm, in the log aaaaaaaaaaaaaaaa, instance bbbbbbbbbbbbbbbb\n"
                  "    in the log cccccccccccccccc\n"
                  "4 not sent: "_qs +
                  core::failureSentence(core::FailureClass::storageUsedUp) +
                  u"\n    10000/12.dcm, in the log aaaaaaaaaaaaaaaa, instance bbbbbbbbbbbbbbbb\n"
                  "Nothing was changed. quorin-gateway doctor --repair mends what can be mended.\n"_qs);
    EXPECT_FALSE(doctorText(toJson(sick(), true)).contains(u"--repair mends"_qs));
    const Diagnosis lost{.findings = {{FindingKind::fileGone, 1, 0, {}}}};
    EXPECT_FALSE(doctorText(toJson(lost, false)).contains(u"--repair mends"_qs));
    EXPECT_TRUE(doctorText(toJson(Diagnosis(), false)).endsWith(u"All is well.\n"_qs));
}

TEST(DoctorReport, FitsIntoOneAnswerHoweverMuchIsWrong)
{
    Diagnosis diagnosis;
    for (int kind = 0; kind <= static_cast<int>(FindingKind::rejectedObject); ++kind) {
        diagnosis.findings.append({static_cast<FindingKind>(kind), 1'000'000, 0, {name(), name(), name()}});
    }
    for (int code = 0; code < 5000; ++code) {
        diagnosis.failures.append(
            {{core::FailureClass::storageUsedUp, code}, 1'000'000, {name(), name(), name()}});
    }

    EXPECT_LT(encode(ControlReply::success(toJson(diagnosis, true))).size(), kMaxControlLine);
}

} // namespace
} // namespace gateway::terminal

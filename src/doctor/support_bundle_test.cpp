#include "doctor/support_bundle.h"

#include <gtest/gtest.h>

namespace gateway::doctor {
namespace {

const QStringList kCanaries{QStringLiteral("MUELLER^ANNA"),
                            QStringLiteral("mueller"),
                            QStringLiteral("CT_SCANNER_3"),
                            QStringLiteral("scanner"),
                            QStringLiteral("/home/anna/images"),
                            QStringLiteral("ann@site.example"),
                            QStringLiteral("https://pacs.site.example/x"),
                            QStringLiteral("1.2.840.113619.2.55"),
                            QStringLiteral("10.20.30.40")};

void expectNoCanary(const QString &bundle)
{
    for (const QString &canary : kCanaries) {
        EXPECT_FALSE(bundle.contains(canary, Qt::CaseInsensitive)) << canary.toStdString();
    }
}

log::GatewayLogEvent event(const QMap<QString, QString> &details)
{
    log::GatewayLogEvent made;
    made.timestamp = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    made.level = log::GatewayLogLevel::error;
    made.category = log::GatewayLogCategory::send;
    made.action = log::GatewayLogAction::uploadAttemptFailed;
    made.outcome = log::GatewayLogOutcome::failed;
    made.fileHash = QStringLiteral("0123456789abcdef");
    made.fileSizeBytes = 4096;
    made.attempt = 2;
    made.details = details;
    return made;
}

TEST(SupportBundle, TellsVersionsFiguresSettingsFindingsAndLog)
{
    const QString bundle =
        supportBundle({.at = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC),
                       .versions = {{QStringLiteral("program"), QStringLiteral("0.1.0")}},
                       .figures = {{QStringLiteral("images"), QStringLiteral("12")}},
                       .settings = {{QStringLiteral("port"), 11112},
                                    {QStringLiteral("compress"), true},
                                    {QStringLiteral("mode"), QStringLiteral("days")},
                                    {QStringLiteral("none"), QString()}},
                       .diagnosis = Diagnosis{.findings = {{.kind = FindingKind::fileGone, .count = 3}},
                                              .failures = {{{core::FailureClass::tooLarge, 413}, 2, {}}},
                                              .storedFiles = 40,
                                              .recordedFiles = 43},
                       .log = {event({{QStringLiteral("trigger"), QStringLiteral("app_launch")},
                                      {QStringLiteral("failed_uploads"), QStringLiteral("7")}})}});

    for (const char *line :
         {"== Versions ==\nprogram: 0.1.0\n",
          "== Figures ==\nimages: 12\n",
          "port: 11112\ncompress: true\nmode: days\nnone: (empty)\n",
          "looked at 40 stored files and 43 recorded ones\n",
          "not sent, tooLarge (code 413): 2\n",
          "2026-01-02T03:04:05Z error send upload_attempt_failed failed "
          "file=0123456789abcdef bytes=4096 attempt=2 failed_uploads=7 trigger=app_launch\n"}) {
        EXPECT_TRUE(bundle.contains(QString::fromUtf8(line))) << line << "\n\n" << bundle.toStdString();
    }
    EXPECT_TRUE(bundle.contains(rawValue(FindingKind::fileGone) + QStringLiteral(": 3")));
}

TEST(SupportBundle, NamesNobodyAndNoPlaceOfTheSettings)
{
    SupportFacts facts;
    for (const QString &canary : kCanaries) {
        facts.settings.append({QStringLiteral("key"), canary});
    }
    facts.settings.append({QStringLiteral("bookmark"), QByteArray("/home/anna/images")});

    const QString bundle = supportBundle(facts);

    expectNoCanary(bundle);
    EXPECT_EQ(bundle.count(QStringLiteral("key: (left out)")), kCanaries.size());
    EXPECT_TRUE(bundle.contains(QStringLiteral("bookmark: (17 bytes)")));
}

TEST(SupportBundle, NamesNobodyAndNoPlaceOfTheLog)
{
    SupportFacts facts;
    for (const QString &canary : kCanaries) {
        log::GatewayLogEvent one = event({{QStringLiteral("ae_title"), canary},
                                          {QStringLiteral("study_instance_uid"), canary},
                                          {QStringLiteral("host_hash"), canary}});
        one.fileHash = canary;
        one.assocHash = canary;
        one.error = log::GatewayLogError{canary, 7, canary};
        facts.log.append(one);
    }

    const QString bundle = supportBundle(facts);

    expectNoCanary(bundle);
    EXPECT_TRUE(bundle.contains(QStringLiteral("error=7")));
}

TEST(SupportBundle, NamesNoFileOfTheFindings)
{
    const FileName named{QStringLiteral("/home/anna/images/7"), QStringLiteral("mueller"), {}};

    const QString bundle =
        supportBundle({.diagnosis = Diagnosis{
                           .findings = {{.kind = FindingKind::fileGone, .count = 1, .examples = {named}}},
                           .failures = {{{core::FailureClass::tooLarge, 0}, 1, {named}}}}});

    expectNoCanary(bundle);
}

TEST(SupportBundle, SaysThatAnExaminationDidNotEnd)
{
    EXPECT_TRUE(supportBundle({}).contains(QStringLiteral("The examination didn't end in time.")));
}

} // namespace
} // namespace gateway::doctor

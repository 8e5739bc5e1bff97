#include "dicom_helper/implementation.h"
#include "dicom_helper/scp/listener.h"
#include "dicom_helper/scp/pdus.h"
#include "monitor/prometheus_text.h"
#include "monitor/testing/full_metrics.h"
#include "terminal/commands/conformance_statement.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

constexpr int kPatienceMilliseconds = 60'000;

QByteArray source(const QString &name)
{
    QFile file(QStringLiteral(QUORIN_SOURCES "/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

/// The names of all metrics that the gateway can tell.
QSet<QString> toldMetrics()
{
    QSet<QString> names;
    for (const QByteArray &line : prometheusText(testing::fullMetrics()).split('\n')) {
        if (line.startsWith("# TYPE ")) {
            names.insert(QString::fromUtf8(line.split(' ').at(2)));
        }
    }
    return names;
}

/// The words in a text that look like one of our metrics.
QSet<QString> metricsIn(const QString &text)
{
    static const QRegularExpression name(u"\\b(?:quorin_gateway|process)_[a-z_]+\\b"_qs);
    QSet<QString> names;
    auto matches = name.globalMatch(text);
    while (matches.hasNext()) {
        names.insert(matches.next().captured());
    }
    return names;
}

/// Every expression in a board, however deep.
void collectExpressions(const QJsonValue &value, QStringList &expressions)
{
    for (const QJsonValue element : value.toArray()) {
        collectExpressions(element, expressions);
    }
    const QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member) {
        const bool isExpression =
            member.key() == u"expr"_qs || member.key() == u"query"_qs || member.key() == u"definition"_qs;
        if (isExpression && member.value().isString()) {
            expressions.append(member.value().toString());
        } else {
            collectExpressions(member.value(), expressions);
        }
    }
}

void expectKnown(const QString &text)
{
    for (const QString &name : metricsIn(text)) {
        EXPECT_TRUE(toldMetrics().contains(name)) << name.toStdString() << " in " << text.toStdString();
    }
}

TEST(Board, AsksForNothingButMetricsThatExist)
{
    const QJsonDocument board = QJsonDocument::fromJson(source(u"packaging/grafana/quorin-gateway.json"_qs));
    QStringList expressions;
    collectExpressions(board.object(), expressions);

    EXPECT_GT(expressions.size(), 40);
    for (const QString &expression : expressions) {
        EXPECT_TRUE(expression == u"prometheus"_qs || !metricsIn(expression).isEmpty())
            << expression.toStdString();
        expectKnown(expression);
    }
}

TEST(Board, ShowsEveryMetric)
{
    const QString board = QString::fromUtf8(source(u"packaging/grafana/quorin-gateway.json"_qs));

    for (const QString &name : toldMetrics()) {
        // What rises only now and then is for the alerts.
        const bool isForAlerts = name == u"quorin_gateway_listener_failures_total"_qs ||
                                 name == u"quorin_gateway_turned_away_total"_qs ||
                                 name == u"quorin_gateway_listener_enabled"_qs;
        EXPECT_TRUE(isForAlerts || metricsIn(board).contains(name)) << name.toStdString();
    }
}

TEST(Board, NumbersItsPanelsOnce)
{
    const QJsonDocument board = QJsonDocument::fromJson(source(u"packaging/grafana/quorin-gateway.json"_qs));
    QSet<int> ids;
    for (const QJsonValue panel : board[u"panels"].toArray()) {
        EXPECT_FALSE(ids.contains(panel[u"id"].toInt()));
        ids.insert(panel[u"id"].toInt());
    }
    EXPECT_GT(ids.size(), 10);
}

TEST(AlertRules, LookAtNothingButMetricsThatExist)
{
    const QString rules = QString::fromUtf8(source(u"packaging/prometheus/quorin-gateway-alerts.yml"_qs));
    static const QRegularExpression rule(u"- alert: (\\w+)\\n +expr: (.+)\\n"_qs);
    int count = 0;
    auto matches = rule.globalMatch(rules);
    while (matches.hasNext()) {
        const QString expression = matches.next().captured(2);
        EXPECT_TRUE(expression.startsWith(u"up{"_qs) || !metricsIn(expression).isEmpty())
            << expression.toStdString();
        expectKnown(expression);
        ++count;
    }
    EXPECT_EQ(count, rules.count(u"- alert: "_qs));
    EXPECT_EQ(count, rules.count(u" summary: \""_qs));
    EXPECT_GE(count, 10);
}

TEST(OperatorsPage, TellsOfEveryMetricAndOfNoOther)
{
    const QString page = QString::fromUtf8(source(u"docs/operations.md"_qs));

    expectKnown(page);
    for (const QString &name : toldMetrics()) {
        EXPECT_TRUE(metricsIn(page).contains(name)) << name.toStdString();
    }
}

TEST(ConformanceStatement, SaysWhatTheHelperProgramKeepsTo)
{
    const QJsonObject json = terminal::conformanceJson({.listener = {}, .cloudKind = u"quorin"_qs});
    const QJsonObject listener = json[u"listener"].toObject();
    const dicom_helper::scp::ListenerSettings helper;

    EXPECT_EQ(json[u"implementationClassUid"].toString().toStdString(),
              dicom_helper::kImplementationClassUid);
    EXPECT_EQ(json[u"implementationVersionName"].toString().toStdString(),
              dicom_helper::kImplementationVersionName);
    EXPECT_EQ(listener[u"maximumPduBytes"].toInteger(), qint64{dicom_helper::scp::kOurMaximumLength});
    EXPECT_EQ(std::chrono::seconds(listener[u"requestSeconds"].toInteger()), helper.requestDeadline);
    EXPECT_EQ(listener[u"associationsPerAddress"].toInteger(), static_cast<qint64>(helper.perAddress));
}

struct Verdict
{
    int code;
    QString words;
};

/// What `systemd-analyze` says of a unit.
Verdict askSystemd(const QStringList &question, QByteArray unit)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"quorin-gateway.service"_qs);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    // The program isn't installed on the machine that tests it.
    file.write(unit.replace("/usr/bin/quorin-gateway", "/bin/true"));
    file.close();
    QProcess analyze;
    analyze.setProcessChannelMode(QProcess::MergedChannels);
    analyze.start(u"systemd-analyze"_qs, question + QStringList(path));
    EXPECT_TRUE(analyze.waitForFinished(kPatienceMilliseconds)) << "systemd-analyze must be installed";
    return {analyze.exitCode(), QString::fromUtf8(analyze.readAll())};
}

/// Nothing when a unit is well.
QString verdictOfSystemd(const QByteArray &unit)
{
    const Verdict verdict = askSystemd({u"verify"_qs, u"--man=no"_qs}, unit);
    return verdict.code == 0 ? verdict.words : u"refused"_qs;
}

/// Whether a unit is exposed to no more than 2.0 of systemd's ten points.
Verdict exposureOf(const QByteArray &unit)
{
    return askSystemd({u"security"_qs, u"--offline=true"_qs, u"--threshold=20"_qs, u"--no-pager"_qs}, unit);
}

TEST(SystemdUnit, IsWellInTheEyesOfSystemd)
{
    EXPECT_EQ(verdictOfSystemd(source(u"packaging/systemd/quorin-gateway.service"_qs)), QString());
}

TEST(SystemdUnit, WouldBeFoundOutIfAKeyWereMisspelt)
{
    QByteArray unit = source(u"packaging/systemd/quorin-gateway.service"_qs);
    unit.replace("NoNewPrivileges=", "NoNewPrivilegs=");

    EXPECT_TRUE(verdictOfSystemd(unit).contains(u"NoNewPrivilegs"_qs));
}

TEST(SystemdUnit, LeavesTheServiceLittleThatItCouldDoToItsMachine)
{
    const Verdict verdict = exposureOf(source(u"packaging/systemd/quorin-gateway.service"_qs));

    EXPECT_TRUE(verdict.words.contains(u"Overall exposure level"_qs)) << verdict.words.toStdString();
    EXPECT_EQ(verdict.code, 0) << verdict.words.toStdString();
}

TEST(SystemdUnit, WouldBeFoundOutIfItGaveTheServiceMore)
{
    QByteArray unit = source(u"packaging/systemd/quorin-gateway.service"_qs);
    unit.replace("\nCapabilityBoundingSet=\n", "\n");

    const Verdict verdict = exposureOf(unit);

    EXPECT_TRUE(verdict.words.contains(u"Overall exposure level"_qs)) << verdict.words.toStdString();
    EXPECT_NE(verdict.code, 0) << verdict.words.toStdString();
}

} // namespace
} // namespace gateway::monitor

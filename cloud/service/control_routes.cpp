#include "cloud/service/control_routes.h"

#include "cloud/http/exchange.h"
#include "cloud/http/http_server.h"
#include "cloud/http/problem.h"
#include "cloud/service/fault_json.h"
#include "cloud/service/json_answers.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

namespace gateway::cloud {

namespace {

constexpr int kProcessingFailure = 0x0110; // FailureReason (PS3.4, annex GG)

/// Puts a text member in place where it was given.
void take(const QJsonObject &json, const QString &name, QString &value)
{
    value = json.value(name).toString(value);
}

std::int64_t numberMember(const QJsonObject &json, const QString &name)
{
    if (!json.value(name).isDouble()) {
        throw HttpProblem(422,
                          ProblemKind::badRequest,
                          QStringLiteral("The member \"%1\" is missing or not a number.").arg(name));
    }
    return json.value(name).toInteger();
}

} // namespace

void ControlRoutes::handle(Exchange &exchange, const std::vector<std::string> &path)
{
    struct Route
    {
        std::string_view request;
        void (ControlRoutes::*answer)(Exchange &);
    };
    static constexpr Route kRoutes[] = {
        {"POST faults", &ControlRoutes::addFault},
        {"GET faults", &ControlRoutes::listFaults},
        {"POST faults/clear", &ControlRoutes::clearFaults},
        {"POST refuse-instances", &ControlRoutes::refuseInstances},
        {"POST second-versions", &ControlRoutes::setSecondVersions},
        {"POST tokens/expire", &ControlRoutes::expireTokens},
        {"POST terms", &ControlRoutes::setTerms},
        {"GET terms/answers", &ControlRoutes::termsAnswers},
        {"POST allowance", &ControlRoutes::setAllowance},
        {"POST limits", &ControlRoutes::setLimits},
        {"POST versions", &ControlRoutes::setVersions},
        {"GET counts", &ControlRoutes::counts},
        {"POST counts/reset", &ControlRoutes::resetCounts},
        {"GET instances", &ControlRoutes::instances},
        {"GET bug-reports", &ControlRoutes::bugReports},
    };
    std::string request = exchange.method();
    for (std::size_t i = 0; i < path.size(); ++i) {
        request += (i == 0 ? " " : "/") + path[i];
    }
    for (const Route &route : kRoutes) {
        if (exchange.peerIsLoopback() && route.request == request) {
            (this->*route.answer)(exchange);
            return;
        }
    }
    throw HttpProblem(404, ProblemKind::notFound, QStringLiteral("There is no such control."));
}

void ControlRoutes::addFault(Exchange &exchange)
{
    m_parts.faults.add(faultFromJson(readJson(exchange)));
    exchange.answer(204);
}

void ControlRoutes::listFaults(Exchange &exchange)
{
    QJsonArray list;
    for (const FaultRule &rule : m_parts.faults.rules()) {
        list.append(toJson(rule));
    }
    answerJson(exchange, 200, list);
}

void ControlRoutes::clearFaults(Exchange &exchange)
{
    m_parts.faults.clear();
    exchange.answer(204);
}

void ControlRoutes::refuseInstances(Exchange &exchange)
{
    const QJsonObject request = readJson(exchange);
    const auto reason =
        static_cast<int>(request.value(QStringLiteral("failureReason")).toInteger(kProcessingFailure));
    const QJsonValue count = request.value(QStringLiteral("count"));
    const QJsonArray uids = request.value(QStringLiteral("sopInstanceUIDs")).toArray();
    for (const auto &uid : uids) {
        m_parts.faults.refuse(
            uid.toString(), reason, count.isDouble() ? std::optional(count.toInteger()) : std::nullopt);
    }
    exchange.answer(204);
}

void ControlRoutes::setSecondVersions(Exchange &exchange)
{
    const QString policy = readJson(exchange).value(QStringLiteral("policy")).toString();
    if (policy == u"replace") {
        m_parts.faults.setSecondVersion(SecondVersion::replaces);
    } else if (policy == u"refuse") {
        m_parts.faults.setSecondVersion(SecondVersion::isRefused);
    } else if (policy == u"ignore") {
        m_parts.faults.setSecondVersion(SecondVersion::isDropped);
    } else {
        throw HttpProblem(422, ProblemKind::badRequest, QStringLiteral("There is no such policy."));
    }
    exchange.answer(204);
}

void ControlRoutes::expireTokens(Exchange &exchange)
{
    m_parts.accounts.endAllSessions();
    exchange.answer(204);
}

void ControlRoutes::setTerms(Exchange &exchange)
{
    const QJsonObject request = readJson(exchange);
    ServiceRules rules = m_parts.settings.rules();
    take(request, QStringLiteral("version"), rules.termsVersion);
    take(request, QStringLiteral("text"), rules.termsText);
    rules.termsReason.clear();
    take(request, QStringLiteral("reason"), rules.termsReason);
    m_parts.settings.setRules(rules);
    exchange.answer(204);
}

void ControlRoutes::termsAnswers(Exchange &exchange)
{
    answerJson(exchange, 200, m_parts.accounts.termsAnswers());
}

void ControlRoutes::setAllowance(Exchange &exchange)
{
    ServiceRules rules = m_parts.settings.rules();
    rules.allowanceKb = numberMember(readJson(exchange), QStringLiteral("allowanceKb"));
    m_parts.settings.setRules(rules);
    exchange.answer(204);
}

void ControlRoutes::setLimits(Exchange &exchange)
{
    const QJsonObject request = readJson(exchange);
    ServiceRules rules = m_parts.settings.rules();
    const QJsonValue body = request.value(QStringLiteral("maxBodyBytes"));
    if (body.isDouble()) {
        rules.maxBodyBytes = body.toInteger();
    } else if (body.isNull()) {
        rules.maxBodyBytes.reset();
    }
    rules.sessionLifetime = std::chrono::seconds(
        request.value(QStringLiteral("sessionSeconds")).toInteger(rules.sessionLifetime.count()));
    m_parts.settings.setRules(rules);
    exchange.answer(204);
}

void ControlRoutes::setVersions(Exchange &exchange)
{
    const QJsonObject request = readJson(exchange);
    ServiceRules rules = m_parts.settings.rules();
    take(request, QStringLiteral("minimumVersion"), rules.minimumVersion);
    take(request, QStringLiteral("latestVersion"), rules.latestVersion);
    take(request, QStringLiteral("minimumOs"), rules.minimumOs);
    m_parts.settings.setRules(rules);
    exchange.answer(204);
}

void ControlRoutes::counts(Exchange &exchange)
{
    QJsonObject requests;
    for (const auto &[request, count] : m_parts.counts.counts()) {
        requests.insert(QString::fromStdString(request), static_cast<qint64>(count));
    }
    const ConnectionCounts connections = m_parts.connections();
    const ArchiveTotals totals = m_parts.store.index().totals();
    answerJson(exchange,
               200,
               {{QStringLiteral("requests"), requests},
                {QStringLiteral("connections"), static_cast<qint64>(connections.connections)},
                {QStringLiteral("openConnections"), static_cast<qint64>(connections.openConnections)},
                {QStringLiteral("bytesReceived"), static_cast<qint64>(connections.bytesReceived)},
                {QStringLiteral("bytesSent"), static_cast<qint64>(connections.bytesSent)},
                {QStringLiteral("instances"), static_cast<qint64>(totals.instances)},
                {QStringLiteral("instanceBytes"), static_cast<qint64>(totals.bytes)}});
}

void ControlRoutes::resetCounts(Exchange &exchange)
{
    m_parts.counts.reset();
    exchange.answer(204);
}

void ControlRoutes::instances(Exchange &exchange)
{
    QJsonArray list;
    for (const StoredInstance &instance : m_parts.store.index().instances({})) {
        list.append(QJsonObject{{QStringLiteral("sopInstanceUID"), instance.sopInstanceUid},
                                {QStringLiteral("sopClassUID"), instance.sopClassUid},
                                {QStringLiteral("studyInstanceUID"), instance.studyUid},
                                {QStringLiteral("seriesInstanceUID"), instance.seriesUid},
                                {QStringLiteral("transferSyntaxUID"), instance.transferSyntaxUid},
                                {QStringLiteral("bytes"), static_cast<qint64>(instance.bytes)},
                                {QStringLiteral("timesStored"), static_cast<qint64>(instance.timesStored)}});
    }
    answerJson(exchange, 200, list);
}

void ControlRoutes::bugReports(Exchange &exchange)
{
    QJsonArray list;
    const QStringList folders =
        QDir(m_parts.reportsFolder).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Time);
    for (const QString &folder : folders) {
        QFile file(m_parts.reportsFolder + u'/' + folder + QStringLiteral("/report.json"));
        if (file.open(QIODevice::ReadOnly)) {
            list.append(QJsonDocument::fromJson(file.readAll()).object());
        }
    }
    answerJson(exchange, 200, list);
}

} // namespace gateway::cloud

#include "cloud/service/fault_json.h"

#include "cloud/http/problem.h"

namespace gateway::cloud {

namespace {

HttpProblem badMember(const QString &name)
{
    return {422, ProblemKind::badRequest, QStringLiteral("The member \"%1\" can't be used so.").arg(name)};
}

std::string text(const QString &name, const QJsonValue &value)
{
    if (!value.isString()) {
        throw badMember(name);
    }
    return value.toString().toStdString();
}

std::int64_t number(const QString &name, const QJsonValue &value)
{
    if (!value.isDouble() || value.toInteger(-1) < 0) {
        throw badMember(name);
    }
    return value.toInteger();
}

bool flag(const QString &name, const QJsonValue &value)
{
    if (!value.isBool()) {
        throw badMember(name);
    }
    return value.toBool();
}

void readHeaders(const QJsonObject &json, FaultRule &rule)
{
    for (auto each = json.begin(); each != json.end(); ++each) {
        rule.headers[each.key().toStdString()] = text(each.key(), each.value());
    }
}

void readMember(const QString &name, const QJsonValue &value, FaultRule &rule)
{
    if (name == u"method") {
        rule.method = text(name, value);
    } else if (name == u"path") {
        rule.pathPrefix = text(name, value);
    } else if (name == u"count") {
        rule.count = value.isNull() ? std::nullopt : std::optional(number(name, value));
    } else if (name == u"status") {
        rule.status = static_cast<int>(number(name, value));
    } else if (name == u"body") {
        rule.body = text(name, value);
    } else if (name == u"contentType") {
        rule.contentType = text(name, value);
    } else if (name == u"headers") {
        readHeaders(value.toObject(), rule);
    } else if (name == u"delayMs") {
        rule.delay = std::chrono::milliseconds(number(name, value));
    } else if (name == u"bytesPerSecond") {
        rule.bytesPerSecond = static_cast<std::uint64_t>(std::max<std::int64_t>(1, number(name, value)));
    } else if (name == u"cutAfterBodyBytes") {
        rule.cutAfterBodyBytes = static_cast<std::uint64_t>(number(name, value));
    } else if (name == u"cutBeforeAnswer") {
        rule.cutBeforeAnswer = flag(name, value);
    } else {
        throw badMember(name);
    }
}

} // namespace

QJsonObject toJson(const FaultRule &rule)
{
    QJsonObject json{
        {QStringLiteral("method"), QString::fromStdString(rule.method)},
        {QStringLiteral("path"), QString::fromStdString(rule.pathPrefix)},
        {QStringLiteral("count"), rule.count ? QJsonValue(static_cast<qint64>(*rule.count)) : QJsonValue()},
        {QStringLiteral("delayMs"), static_cast<qint64>(rule.delay.count())},
        {QStringLiteral("cutBeforeAnswer"), rule.cutBeforeAnswer}};
    if (rule.status) {
        json.insert(QStringLiteral("status"), *rule.status);
    }
    if (rule.bytesPerSecond) {
        json.insert(QStringLiteral("bytesPerSecond"), static_cast<qint64>(*rule.bytesPerSecond));
    }
    if (rule.cutAfterBodyBytes) {
        json.insert(QStringLiteral("cutAfterBodyBytes"), static_cast<qint64>(*rule.cutAfterBodyBytes));
    }
    return json;
}

FaultRule faultFromJson(const QJsonObject &json)
{
    FaultRule rule;
    for (auto each = json.begin(); each != json.end(); ++each) {
        readMember(each.key(), each.value(), rule);
    }
    return rule;
}

} // namespace gateway::cloud

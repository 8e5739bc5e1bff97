#include "terminal/control/control_protocol.h"

#include <QtCore/QJsonDocument>

namespace gateway::terminal {

namespace {

const QString kCommand = QStringLiteral("command");
const QString kArguments = QStringLiteral("arguments");
const QString kCode = QStringLiteral("code");
const QString kError = QStringLiteral("error");
const QString kResult = QStringLiteral("result");

QByteArray line(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<QJsonObject> objectIn(const QByteArray &line, qsizetype limit)
{
    if (line.size() > limit) {
        return std::nullopt;
    }
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    return document.object();
}

std::optional<ExitCode> exitCode(const QJsonValue &value)
{
    switch (value.toInt(-1)) {
    case 0:
        return ExitCode::done;
    case 1:
        return ExitCode::failed;
    case 2:
        return ExitCode::usage;
    case 3:
        return ExitCode::noInstance;
    default:
        return std::nullopt;
    }
}

} // namespace

QByteArray encode(const ControlRequest &request)
{
    return line({{kCommand, request.command}, {kArguments, request.arguments}});
}

QByteArray encode(const ControlReply &reply)
{
    QJsonObject object{{kCode, static_cast<int>(reply.code)}};
    if (reply.code == ExitCode::done) {
        object.insert(kResult, reply.result);
    } else {
        object.insert(kError, reply.error);
    }
    return line(object);
}

std::optional<ControlRequest> decodeRequest(const QByteArray &line)
{
    const std::optional<QJsonObject> object = objectIn(line, kMaxControlLine);
    if (!object) {
        return std::nullopt;
    }
    const QJsonValue arguments = object->value(kArguments);
    ControlRequest request{object->value(kCommand).toString(), arguments.toObject()};
    if (request.command.isEmpty() || !(arguments.isUndefined() || arguments.isObject())) {
        return std::nullopt;
    }
    return request;
}

std::optional<ControlReply> decodeReply(const QByteArray &line)
{
    const std::optional<QJsonObject> object = objectIn(line, kMaxControlReply);
    if (!object) {
        return std::nullopt;
    }
    const std::optional<ExitCode> code = exitCode(object->value(kCode));
    if (!code) {
        return std::nullopt;
    }
    return ControlReply{*code, object->value(kError).toString(), object->value(kResult).toObject()};
}

} // namespace gateway::terminal

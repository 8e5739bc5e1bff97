#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <optional>
#include <stop_token>

namespace gateway::terminal {

/// How a command ends, as the program's exit code.
enum class ExitCode
{
    done = 0,
    failed = 1,     ///< the work failed; a sentence says why
    usage = 2,      ///< what was asked for makes no sense
    noInstance = 3, ///< no gateway runs for this home
};

/// What a command asks of the running instance: one JSON object on one line,
/// `{"command": "upload", "arguments": {...}}`.
struct ControlRequest
{
    QString command;
    QJsonObject arguments;

    std::stop_token hungUp = {}; ///< requested when the caller has gone and nobody waits for the answer
};

/// What the instance answers: one JSON object on one line, `{"code": 0, "result": {...}}` or
/// `{"code": 1, "error": "a sentence"}`.
struct ControlReply
{
    ExitCode code = ExitCode::done;
    QString error;      ///< one sentence when the code isn't `done`
    QJsonObject result; ///< by the command

    static ControlReply success(QJsonObject result = {}) { return {ExitCode::done, {}, std::move(result)}; }

    static ControlReply failure(QString sentence, ExitCode code = ExitCode::failed)
    {
        return {code, std::move(sentence), {}};
    }
};

/// The longest request that the instance takes, in bytes without the line feed: all that a command line can
/// hold.
inline constexpr qsizetype kMaxControlLine = 4 * 1024 * 1024;

/// The longest reply that a command takes, in bytes without the line feed: a list of 200,000 studies has room
/// in it.
inline constexpr qsizetype kMaxControlReply = 64 * 1024 * 1024;

QByteArray encode(const ControlRequest &request);
QByteArray encode(const ControlReply &reply);

/// The request in a line, or nothing when it is none: not an object, no command, or too long.
std::optional<ControlRequest> decodeRequest(const QByteArray &line);

/// The reply in a line, or nothing when it is none.
std::optional<ControlReply> decodeReply(const QByteArray &line);

} // namespace gateway::terminal

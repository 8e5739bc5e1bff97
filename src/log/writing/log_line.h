#pragma once

#include "log/writing/gateway_log_event.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace gateway::log {

/// The record of an event as it stands in a log file: one JSON object without spaces, keys sorted at every
/// level, fields without a value left out, the time in UTC with whole seconds. No line feed at the end.
QByteArray encodeLogLine(const GatewayLogEvent &event);

/// One entry of a decoded line's details.
struct LogLineDetail
{
    std::string_view key;
    std::string_view value;
};

/// The error of a decoded line.
struct LogLineError
{
    std::string_view domain;
    qint64 code = 0;
    std::string_view message;
};

/// A decoded line whose texts (UTF-8) still lie in the decoder's memory: what a reader of very many lines
/// looks at before it decides what to keep. The fields are those of GatewayLogEvent.
///
/// Owner: LogLineDecoder. Thread: its decoder's; valid until that decoder takes another line.
struct LogLineView
{
    std::string_view eventId;
    qint64 secondsSinceEpoch = 0;
    GatewayLogLevel level = GatewayLogLevel::info;
    GatewayLogCategory category = GatewayLogCategory::listener;
    GatewayLogAction action = GatewayLogAction::listenerStartRequested;
    GatewayLogOutcome outcome = GatewayLogOutcome::started;
    std::optional<std::string_view> correlationId;
    std::optional<std::string_view> assocHash;
    std::optional<std::string_view> fileHash;
    std::optional<qint64> fileSizeBytes;
    std::optional<qint64> attempt;
    std::optional<std::vector<LogLineDetail>>
        details; ///< as they stand in the line; of equal keys the last counts
    std::optional<LogLineError> error;
};

/// True when the whole text is valid UTF-8.
bool isUtf8(QByteArrayView text);

/// Reads records of log files. Keeps its working memory from line to line, so that a reader of many lines
/// uses one decoder.
///
/// Owner: the reader. Thread: one at a time.
class LogLineDecoder
{
public:
    /// How many bytes behind a line `view` may read, without making anything of them.
    static constexpr qsizetype kReadAhead = 64;

    LogLineDecoder();
    ~LogLineDecoder();

    LogLineDecoder(const LogLineDecoder &) = delete;
    LogLineDecoder &operator=(const LogLineDecoder &) = delete;

    /// The event of one line, with or without its line feed.
    ///
    /// \return nothing when the line isn't one whole JSON object, when one of `eventId`, `timestamp`,
    ///         `level`, `category`, `action` and `outcome` is missing, or when any known key holds a value
    ///         of another kind or a word that no enumeration knows. Unknown keys are passed over; a null
    ///         under an optional key counts as absent.
    std::optional<GatewayLogEvent> decode(QByteArrayView line);

    /// The same by the same rules without copying anything: `kReadAhead` bytes behind the line must be
    /// readable, whatever they hold. Null where `decode` gives nothing.
    const LogLineView *view(QByteArrayView line);

private:
    struct Parser;
    std::unique_ptr<Parser> m_parser;
};

} // namespace gateway::log

#pragma once

#include "log/gateway_log_event.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>

#include <memory>
#include <optional>

namespace gateway::log {

/// The record of an event as it stands in a log file: one JSON object without spaces, keys sorted at every
/// level, fields without a value left out, the time in UTC with whole seconds. No line feed at the end.
QByteArray encodeLogLine(const GatewayLogEvent &event);

/// Reads records of log files. Keeps its working memory from line to line, so that a reader of many lines
/// uses one decoder.
///
/// Owner: the reader. Thread: one at a time.
class LogLineDecoder
{
public:
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

private:
    struct Parser;
    std::unique_ptr<Parser> m_parser;
};

} // namespace gateway::log

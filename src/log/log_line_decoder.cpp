#include "log/log_line.h"

#include <simdjson.h>

namespace gateway::log {

struct LogLineDecoder::Parser
{
    simdjson::dom::parser json;
};

namespace {

QString toText(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

// The readers below take the value of one key into its field and say whether it was of the right kind.

bool read(simdjson::dom::element value, QString &field)
{
    std::string_view text;
    if (value.get(text) != simdjson::SUCCESS) {
        return false;
    }
    field = toText(text);
    return true;
}

bool read(simdjson::dom::element value, qint64 &field)
{
    std::int64_t number = 0;
    if (value.get(number) != simdjson::SUCCESS) {
        return false;
    }
    field = number;
    return true;
}

bool read(simdjson::dom::element value, QMap<QString, QString> &field)
{
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS) {
        return false;
    }
    for (const auto entry : object) {
        QString text;
        if (!read(entry.value, text)) {
            return false;
        }
        field.insert(toText(entry.key), text);
    }
    return true;
}

bool read(simdjson::dom::element value, GatewayLogError &field)
{
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS) {
        return false;
    }
    bool hasDomain = false;
    bool hasCode = false;
    bool hasMessage = false;
    for (const auto entry : object) {
        if (entry.key == "domain") {
            hasDomain = read(entry.value, field.domain);
        } else if (entry.key == "code") {
            hasCode = read(entry.value, field.code);
        } else if (entry.key == "message") {
            hasMessage = read(entry.value, field.message);
        }
    }
    return hasDomain && hasCode && hasMessage;
}

template <typename Value>
bool readOptional(simdjson::dom::element value, std::optional<Value> &field)
{
    if (value.is_null()) {
        field.reset();
        return true;
    }
    return read(value, field.emplace());
}

template <typename Case>
bool readCase(simdjson::dom::element value, std::optional<Case> (*find)(std::string_view), Case &field)
{
    std::string_view raw;
    if (value.get(raw) != simdjson::SUCCESS) {
        return false;
    }
    const std::optional<Case> found = find(raw);
    if (found) {
        field = *found;
    }
    return found.has_value();
}

/// The decimal of a fixed-width field, or -1 when any character is no digit.
int digits(std::string_view text)
{
    int number = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9') {
            return -1;
        }
        number = number * 10 + (digit - '0');
    }
    return number;
}

/// Takes a time of the form 2026-01-31T23:59:59Z.
bool readTimestamp(simdjson::dom::element value, QDateTime &field)
{
    std::string_view text;
    if (value.get(text) != simdjson::SUCCESS || text.size() != 20 || text[4] != '-' || text[7] != '-' ||
        text[10] != 'T' || text[13] != ':' || text[16] != ':' || text[19] != 'Z') {
        return false;
    }
    const int year = digits(text.substr(0, 4));
    const QDate date(year, digits(text.substr(5, 2)), digits(text.substr(8, 2)));
    const QTime time(digits(text.substr(11, 2)), digits(text.substr(14, 2)), digits(text.substr(17, 2)));
    if (year < 1 || !date.isValid() || !time.isValid()) {
        return false;
    }
    field = QDateTime(date, time, Qt::UTC);
    return true;
}

/// Which of the six mandatory keys have been read.
struct Presence
{
    bool eventId = false;
    bool timestamp = false;
    bool level = false;
    bool category = false;
    bool action = false;
    bool outcome = false;

    bool isComplete() const { return eventId && timestamp && level && category && action && outcome; }
};

/// \return false when the key is known and its value is wrong.
bool readMandatory(simdjson::dom::key_value_pair entry, GatewayLogEvent &event, Presence &presence)
{
    if (entry.key == "eventId") {
        return presence.eventId = read(entry.value, event.eventId);
    }
    if (entry.key == "timestamp") {
        return presence.timestamp = readTimestamp(entry.value, event.timestamp);
    }
    if (entry.key == "level") {
        return presence.level = readCase(entry.value, &logLevel, event.level);
    }
    if (entry.key == "category") {
        return presence.category = readCase(entry.value, &logCategory, event.category);
    }
    if (entry.key == "action") {
        return presence.action = readCase(entry.value, &logAction, event.action);
    }
    if (entry.key == "outcome") {
        return presence.outcome = readCase(entry.value, &logOutcome, event.outcome);
    }
    return true;
}

/// \return false when the key is known and its value is wrong.
bool readOptionals(simdjson::dom::key_value_pair entry, GatewayLogEvent &event)
{
    if (entry.key == "correlationId") {
        return readOptional(entry.value, event.correlationId);
    }
    if (entry.key == "assocHash") {
        return readOptional(entry.value, event.assocHash);
    }
    if (entry.key == "fileHash") {
        return readOptional(entry.value, event.fileHash);
    }
    if (entry.key == "fileSizeBytes") {
        return readOptional(entry.value, event.fileSizeBytes);
    }
    if (entry.key == "attempt") {
        return readOptional(entry.value, event.attempt);
    }
    if (entry.key == "details") {
        return readOptional(entry.value, event.details);
    }
    if (entry.key == "error") {
        return readOptional(entry.value, event.error);
    }
    return true;
}

} // namespace

LogLineDecoder::LogLineDecoder() : m_parser(std::make_unique<Parser>()) {}

LogLineDecoder::~LogLineDecoder() = default;

std::optional<GatewayLogEvent> LogLineDecoder::decode(QByteArrayView line)
{
    simdjson::dom::object object;
    const auto parsed = m_parser->json.parse(line.data(), static_cast<std::size_t>(line.size()));
    if (parsed.get(object) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    GatewayLogEvent event;
    Presence presence;
    for (const auto entry : object) {
        if (!readMandatory(entry, event, presence) || !readOptionals(entry, event)) {
            return std::nullopt;
        }
    }
    if (!presence.isComplete()) {
        return std::nullopt;
    }
    return event;
}

} // namespace gateway::log

#include "log/writing/log_line.h"

#include <simdjson.h>

#include <chrono>

namespace gateway::log {

struct LogLineDecoder::Parser
{
    simdjson::dom::parser json;
    LogLineView view;
};

namespace {

static_assert(LogLineDecoder::kReadAhead >= static_cast<qsizetype>(simdjson::SIMDJSON_PADDING));

QString toText(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

std::optional<QString> toText(const std::optional<std::string_view> &utf8)
{
    return utf8 ? std::optional(toText(*utf8)) : std::nullopt;
}

// The readers below take the value of one key into its field and say whether it was of the right kind.

bool read(simdjson::dom::element value, std::string_view &field)
{
    return value.get(field) == simdjson::SUCCESS;
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

bool read(simdjson::dom::element value, std::vector<LogLineDetail> &field)
{
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS) {
        return false;
    }
    field.reserve(object.size());
    for (const auto entry : object) {
        LogLineDetail &detail = field.emplace_back();
        detail.key = entry.key;
        if (!read(entry.value, detail.value)) {
            return false;
        }
    }
    return true;
}

bool read(simdjson::dom::element value, LogLineError &field)
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
bool readTimestamp(simdjson::dom::element value, qint64 &field)
{
    std::string_view text;
    if (value.get(text) != simdjson::SUCCESS || text.size() != 20 || text[4] != '-' || text[7] != '-' ||
        text[10] != 'T' || text[13] != ':' || text[16] != ':' || text[19] != 'Z') {
        return false;
    }
    const int year = digits(text.substr(0, 4));
    const int month = digits(text.substr(5, 2));
    const int day = digits(text.substr(8, 2));
    const int hour = digits(text.substr(11, 2));
    const int minute = digits(text.substr(14, 2));
    const int second = digits(text.substr(17, 2));
    const std::chrono::year_month_day date(std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day)));
    const bool isTime = hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 && second < 60;
    if (year < 1 || month < 1 || day < 1 || !date.ok() || !isTime) {
        return false;
    }
    const auto midnight = std::chrono::sys_days(date).time_since_epoch();
    field = std::chrono::seconds(midnight).count() + (hour * 60 + minute) * 60 + second;
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
bool readMandatory(simdjson::dom::key_value_pair entry, LogLineView &view, Presence &presence)
{
    if (entry.key == "eventId") {
        return presence.eventId = read(entry.value, view.eventId);
    }
    if (entry.key == "timestamp") {
        return presence.timestamp = readTimestamp(entry.value, view.secondsSinceEpoch);
    }
    if (entry.key == "level") {
        return presence.level = readCase(entry.value, &logLevel, view.level);
    }
    if (entry.key == "category") {
        return presence.category = readCase(entry.value, &logCategory, view.category);
    }
    if (entry.key == "action") {
        return presence.action = readCase(entry.value, &logAction, view.action);
    }
    if (entry.key == "outcome") {
        return presence.outcome = readCase(entry.value, &logOutcome, view.outcome);
    }
    return true;
}

/// \return false when the key is known and its value is wrong.
bool readOptionals(simdjson::dom::key_value_pair entry, LogLineView &view)
{
    if (entry.key == "correlationId") {
        return readOptional(entry.value, view.correlationId);
    }
    if (entry.key == "assocHash") {
        return readOptional(entry.value, view.assocHash);
    }
    if (entry.key == "fileHash") {
        return readOptional(entry.value, view.fileHash);
    }
    if (entry.key == "fileSizeBytes") {
        return readOptional(entry.value, view.fileSizeBytes);
    }
    if (entry.key == "attempt") {
        return readOptional(entry.value, view.attempt);
    }
    if (entry.key == "details") {
        return readOptional(entry.value, view.details);
    }
    if (entry.key == "error") {
        return readOptional(entry.value, view.error);
    }
    return true;
}

bool fill(LogLineView &view, simdjson::simdjson_result<simdjson::dom::element> parsed)
{
    simdjson::dom::object object;
    if (parsed.get(object) != simdjson::SUCCESS) {
        return false;
    }
    view = LogLineView();
    Presence presence;
    for (const auto entry : object) {
        if (!readMandatory(entry, view, presence) || !readOptionals(entry, view)) {
            return false;
        }
    }
    return presence.isComplete();
}

GatewayLogEvent toEvent(const LogLineView &view)
{
    GatewayLogEvent event;
    event.eventId = toText(view.eventId);
    event.timestamp = QDateTime::fromSecsSinceEpoch(view.secondsSinceEpoch, Qt::UTC);
    event.level = view.level;
    event.category = view.category;
    event.action = view.action;
    event.outcome = view.outcome;
    event.correlationId = toText(view.correlationId);
    event.assocHash = toText(view.assocHash);
    event.fileHash = toText(view.fileHash);
    event.fileSizeBytes = view.fileSizeBytes;
    event.attempt = view.attempt;
    if (view.details) {
        event.details.emplace();
        for (const LogLineDetail &detail : *view.details) {
            event.details->insert(toText(detail.key), toText(detail.value));
        }
    }
    if (view.error) {
        event.error = {toText(view.error->domain), view.error->code, toText(view.error->message)};
    }
    return event;
}

} // namespace

bool isUtf8(QByteArrayView text)
{
    return simdjson::validate_utf8(text.data(), static_cast<std::size_t>(text.size()));
}

LogLineDecoder::LogLineDecoder() : m_parser(std::make_unique<Parser>()) {}

LogLineDecoder::~LogLineDecoder() = default;

std::optional<GatewayLogEvent> LogLineDecoder::decode(QByteArrayView line)
{
    const auto parsed = m_parser->json.parse(line.data(), static_cast<std::size_t>(line.size()));
    return fill(m_parser->view, parsed) ? std::optional(toEvent(m_parser->view)) : std::nullopt;
}

const LogLineView *LogLineDecoder::view(QByteArrayView line)
{
    const auto parsed = m_parser->json.parse(line.data(), static_cast<std::size_t>(line.size()), false);
    return fill(m_parser->view, parsed) ? &m_parser->view : nullptr;
}

} // namespace gateway::log

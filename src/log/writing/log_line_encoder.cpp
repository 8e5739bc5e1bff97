#include "log/writing/log_line.h"

#include <QtCore/QTimeZone>

namespace gateway::log {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

void appendEscaped(QByteArray &out, char byte)
{
    switch (byte) {
    case '"':
        out += "\\\"";
        return;
    case '\\':
        out += "\\\\";
        return;
    case '\b':
        out += "\\b";
        return;
    case '\f':
        out += "\\f";
        return;
    case '\n':
        out += "\\n";
        return;
    case '\r':
        out += "\\r";
        return;
    case '\t':
        out += "\\t";
        return;
    }
    out += "\\u00";
    out += kHexDigits[(static_cast<unsigned char>(byte) >> 4) & 0xF];
    out += kHexDigits[static_cast<unsigned char>(byte) & 0xF];
}

bool needsEscape(char byte)
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == '"' || byte == '\\';
}

void appendText(QByteArray &out, QByteArrayView utf8)
{
    out += '"';
    qsizetype plainFrom = 0;
    for (qsizetype at = 0; at < utf8.size(); ++at) {
        if (needsEscape(utf8[at])) {
            out += utf8.sliced(plainFrom, at - plainFrom);
            appendEscaped(out, utf8[at]);
            plainFrom = at + 1;
        }
    }
    out += utf8.sliced(plainFrom);
    out += '"';
}

void appendText(QByteArray &out, const QString &text)
{
    appendText(out, QByteArrayView(text.toUtf8()));
}

void appendText(QByteArray &out, QLatin1StringView word)
{
    appendText(out, QByteArrayView(word.data(), word.size()));
}

void appendDetails(QByteArray &out, const QMap<QString, QString> &details)
{
    out += '{';
    for (auto entry = details.begin(); entry != details.end(); ++entry) {
        if (entry != details.begin()) {
            out += ',';
        }
        appendText(out, entry.key());
        out += ':';
        appendText(out, entry.value());
    }
    out += '}';
}

void appendError(QByteArray &out, const GatewayLogError &error)
{
    out += R"({"code":)" + QByteArray::number(error.code) + R"(,"domain":)";
    appendText(out, error.domain);
    out += R"(,"message":)";
    appendText(out, error.message);
    out += '}';
}

void appendOptional(QByteArray &out, const char *key, const std::optional<QString> &text)
{
    if (text) {
        out += key;
        appendText(out, *text);
    }
}

void appendOptional(QByteArray &out, const char *key, std::optional<qint64> number)
{
    if (number) {
        out += key + QByteArray::number(*number);
    }
}

} // namespace

QByteArray encodeLogLine(const GatewayLogEvent &event)
{
    // Most records are shorter; the rest cost one reallocation.
    constexpr qsizetype kUsualLength = 640;
    QByteArray out;
    out.reserve(kUsualLength);
    out += R"({"action":)";
    appendText(out, rawValue(event.action));
    appendOptional(out, R"(,"assocHash":)", event.assocHash);
    appendOptional(out, R"(,"attempt":)", event.attempt);
    out += R"(,"category":)";
    appendText(out, rawValue(event.category));
    appendOptional(out, R"(,"correlationId":)", event.correlationId);
    if (event.details) {
        out += R"(,"details":)";
        appendDetails(out, *event.details);
    }
    if (event.error) {
        out += R"(,"error":)";
        appendError(out, *event.error);
    }
    out += R"(,"eventId":)";
    appendText(out, event.eventId);
    appendOptional(out, R"(,"fileHash":)", event.fileHash);
    appendOptional(out, R"(,"fileSizeBytes":)", event.fileSizeBytes);
    out += R"(,"level":)";
    appendText(out, rawValue(event.level));
    out += R"(,"outcome":)";
    appendText(out, rawValue(event.outcome));
    out += R"(,"timestamp":)";
    appendText(out, event.timestamp.toUTC().toString(Qt::ISODate));
    out += '}';
    return out;
}

} // namespace gateway::log

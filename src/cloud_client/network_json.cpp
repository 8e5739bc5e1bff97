#include "cloud_client/network_json.h"

#include <simdjson.h>

#include <algorithm>
#include <limits>

namespace gateway::cloud_client {

namespace {

// Answers of the service nest four deep, those of DICOMweb a little deeper; the stack never sees more.
constexpr std::size_t kDeepestNesting = 64;

QString toText(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariant toVariant(const simdjson::dom::element &element);

QVariant toVariant(const simdjson::dom::object &object)
{
    QVariantMap map;
    for (const auto &field : object) {
        map.insert(toText(field.key), toVariant(field.value));
    }
    return map;
}

QVariant toVariant(const simdjson::dom::array &array)
{
    QVariantList list;
    for (const auto &entry : array) {
        list.append(toVariant(entry));
    }
    return list;
}

QVariant toVariant(const simdjson::dom::element &element)
{
    switch (element.type()) {
    case simdjson::dom::element_type::OBJECT:
        return toVariant(element.get_object().value_unsafe());
    case simdjson::dom::element_type::ARRAY:
        return toVariant(element.get_array().value_unsafe());
    case simdjson::dom::element_type::STRING:
        return toText(element.get_string().value_unsafe());
    case simdjson::dom::element_type::INT64:
        return static_cast<qlonglong>(element.get_int64().value_unsafe());
    case simdjson::dom::element_type::UINT64: // only numbers beyond INT64
        return static_cast<double>(element.get_uint64().value_unsafe());
    case simdjson::dom::element_type::DOUBLE:
        return element.get_double().value_unsafe();
    case simdjson::dom::element_type::BOOL:
        return element.get_bool().value_unsafe();
    case simdjson::dom::element_type::NULL_VALUE:
        return QVariant::fromValue(nullptr);
    }
    return {};
}

/// The number behind "\\u" at a place; nothing where there is no such escape.
std::optional<ushort> escapeAt(const QByteArray &json, qsizetype at)
{
    bool isNumber = false;
    const bool isEscape = json.mid(at, 2) == "\\u" && at + 6 <= json.size();
    const ushort unit = isEscape ? json.mid(at + 2, 4).toUShort(&isNumber, 16) : ushort{0};
    return isNumber ? std::optional(unit) : std::nullopt;
}

QByteArray withoutLoneSurrogates(const QByteArray &json)
{
    QByteArray mended;
    mended.reserve(json.size());
    for (qsizetype at = 0; at < json.size();) {
        const std::optional<ushort> unit = json[at] == '\\' ? escapeAt(json, at) : std::nullopt;
        const std::optional<ushort> next = unit ? escapeAt(json, at + 6) : std::nullopt;
        qsizetype length = json[at] == '\\' ? 2 : 1; // what a backslash stands before is no beginning
        if (unit && QChar::isHighSurrogate(*unit) && next && QChar::isLowSurrogate(*next)) {
            length = 12;
        } else if (unit) {
            length = 6;
        }
        const bool isLone = length == 6 && unit && QChar::isSurrogate(*unit);
        mended.append(isLone ? QByteArrayView("\\ufffd")
                             : QByteArrayView(json).sliced(at, std::min(length, json.size() - at)));
        at += length;
    }
    return mended;
}

} // namespace

std::optional<QVariant> parseNetworkJson(const QByteArray &text)
{
    simdjson::dom::parser parser;
    const auto bytes = static_cast<std::size_t>(text.size());
    if (parser.allocate(bytes, kDeepestNesting) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    simdjson::dom::element root;
    if (parser.parse(text.constData(), bytes).get(root) != simdjson::SUCCESS) {
        return std::nullopt;
    }
    return toVariant(root);
}

std::optional<QVariant> parseForeignJson(const QByteArray &text)
{
    const std::optional<QVariant> clean = parseNetworkJson(text);
    return clean ? clean : parseNetworkJson(withoutLoneSurrogates(QString::fromUtf8(text).toUtf8()));
}

} // namespace gateway::cloud_client

#include "dicom_helper/worker/numbers.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace gateway::dicom_helper::worker {

namespace {

/// The number of `count` digits at the front of `text`, which it takes off; nothing when they aren't there.
std::optional<unsigned> takeDigits(std::string_view &text, std::size_t count)
{
    unsigned value = 0;
    if (text.size() < count) {
        return std::nullopt;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + count, value);
    if (error != std::errc() || end != text.data() + count) {
        return std::nullopt;
    }
    text.remove_prefix(count);
    return value;
}

void skip(std::string_view &text, char separator)
{
    if (!text.empty() && text.front() == separator) {
        text.remove_prefix(1);
    }
}

/// The thousandths of a fraction such as ".5" or ".123456".
unsigned milliseconds(std::string_view fraction)
{
    unsigned value = 0;
    for (std::size_t i = 1; i <= 3; ++i) {
        const bool digit = i < fraction.size() && fraction[i] >= '0' && fraction[i] <= '9';
        value = value * 10 + (digit ? static_cast<unsigned>(fraction[i] - '0') : 0U);
    }
    return value;
}

} // namespace

std::string_view trimmed(std::string_view text)
{
    const auto isPadding = [](char c) { return c == ' ' || c == '\0'; };
    while (!text.empty() && isPadding(text.back())) {
        text.remove_suffix(1);
    }
    while (!text.empty() && isPadding(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

std::optional<std::int64_t> parseInteger(std::string_view text)
{
    text = trimmed(text);
    skip(text, '+');
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional(value) : std::nullopt;
}

std::optional<double> parseReal(std::string_view text)
{
    text = trimmed(text);
    skip(text, '+');
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::vector<double> parseReals(std::string_view text)
{
    std::vector<double> values;
    while (!text.empty()) {
        const std::size_t size = std::min(text.find('\\'), text.size());
        const auto value = parseReal(text.substr(0, size));
        if (!value) {
            return {};
        }
        values.push_back(*value);
        text.remove_prefix(std::min(size + 1, text.size()));
    }
    return values;
}

std::optional<std::string> isoDate(std::string_view text)
{
    text = trimmed(text);
    const auto year = takeDigits(text, 4);
    skip(text, '.');
    const auto month = takeDigits(text, 2);
    skip(text, '.');
    const auto day = takeDigits(text, 2);
    if (!year || !month || !day || *year == 0 || !text.empty()) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{
        std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month), std::chrono::day(*day)};
    if (!date.ok()) {
        return std::nullopt;
    }
    std::array<char, 48> iso{};
    std::snprintf(iso.data(), iso.size(), "%04u-%02u-%02u", *year, *month, *day);
    return std::string(iso.data());
}

std::optional<std::string> isoTime(std::string_view text)
{
    text = trimmed(text);
    const auto hour = takeDigits(text, 2);
    if (!hour || *hour > 23) {
        return std::nullopt;
    }
    skip(text, ':');
    const unsigned minute = takeDigits(text, 2).value_or(0);
    skip(text, ':');
    // A leap second is the last one of its minute here.
    const unsigned second = std::min(takeDigits(text, 2).value_or(0), 59U);
    if (minute > 59 || (!text.empty() && text.front() != '.')) {
        return std::nullopt;
    }
    std::array<char, 64> iso{};
    std::snprintf(iso.data(), iso.size(), "%02u:%02u:%02u.%03u", *hour, minute, second, milliseconds(text));
    return std::string(iso.data());
}

std::optional<std::string> isoOffset(std::string_view text)
{
    text = trimmed(text);
    if (text.size() != 5 || (text.front() != '+' && text.front() != '-')) {
        return std::nullopt;
    }
    std::string iso(1, text.front());
    text.remove_prefix(1);
    const auto hours = takeDigits(text, 2);
    const auto minutes = takeDigits(text, 2);
    if (!hours || !minutes || *hours > 14 || *minutes > 59) {
        return std::nullopt;
    }
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%02u:%02u", *hours, *minutes);
    return iso + digits.data();
}

} // namespace gateway::dicom_helper::worker

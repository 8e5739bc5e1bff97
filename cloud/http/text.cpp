#include "cloud/http/text.h"

#include <algorithm>
#include <charconv>

namespace gateway::cloud {

std::string trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

std::string lowerCase(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return result;
}

std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (true) {
        const std::size_t end = text.find(separator, start);
        pieces.emplace_back(text.substr(start, end == std::string_view::npos ? end : end - start));
        if (end == std::string_view::npos) {
            return pieces;
        }
        start = end + 1;
    }
}

std::optional<unsigned long long> decimal(std::string_view text)
{
    unsigned long long number = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (text.empty() || result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return number;
}

std::string MediaType::parameter(std::string_view parameterName) const
{
    const auto found = parameters.find(parameterName);
    return found == parameters.end() ? std::string() : found->second;
}

namespace {

/// Takes a quoted string or a token from `text`, up to the next semicolon.
std::string takeParameterValue(std::string_view &text)
{
    if (text.empty() || text.front() != '"') {
        const std::size_t end = std::min(text.find(';'), text.size());
        std::string value = trimmed(text.substr(0, end));
        text.remove_prefix(end);
        return value;
    }
    std::string value;
    std::size_t at = 1;
    for (; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] == '\\' && at + 1 < text.size()) {
            ++at;
        }
        value += text[at];
    }
    text.remove_prefix(std::min(text.find(';', at), text.size()));
    return value;
}

} // namespace

MediaType parseMediaType(std::string_view text)
{
    MediaType type;
    const std::size_t nameEnd = std::min(text.find(';'), text.size());
    type.name = lowerCase(trimmed(text.substr(0, nameEnd)));
    text.remove_prefix(nameEnd);
    while (!text.empty()) {
        text.remove_prefix(1); // the semicolon
        const std::size_t equals = text.find_first_of("=;");
        if (equals == std::string_view::npos) {
            break;
        }
        if (text[equals] == ';') {
            text.remove_prefix(equals);
            continue;
        }
        const std::string name = lowerCase(trimmed(text.substr(0, equals)));
        text.remove_prefix(equals + 1);
        const std::size_t valueStart = std::min(text.find_first_not_of(" \t"), text.size());
        text.remove_prefix(valueStart);
        type.parameters[name] = takeParameterValue(text);
    }
    return type;
}

} // namespace gateway::cloud

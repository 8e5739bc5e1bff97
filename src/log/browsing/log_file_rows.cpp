#include "log/browsing/log_file_rows.h"

#include <algorithm>
#include <cstring>
#include <map>

namespace gateway::log {

namespace {

std::string_view view(QLatin1StringView word)
{
    return {word.data(), static_cast<std::size_t>(word.size())};
}

} // namespace

std::span<const LogWords::Id> LogFileRows::wordsOf(std::size_t record) const
{
    const std::size_t from = records[record].firstWord;
    const std::size_t to = record + 1 < records.size() ? records[record + 1].firstWord : words.size();
    return std::span(words).subspan(from, to - from);
}

void LogFileRows::shrink()
{
    records.shrink_to_fit();
    words.shrink_to_fit();
    dictionary.shrink();
}

LogFileParser::LogFileParser(LogFileRows &rows, LogLineDecoder &decoder)
    : m_rows(rows), m_decoder(decoder), m_builder(rows.dictionary)
{
    m_builder.split(m_rows.name.toStdString(), m_sourceFile);
}

void LogFileParser::take(QByteArrayView text, qint64 offset)
{
    const char *const begin = text.data();
    const char *const end = begin + text.size();
    for (const char *from = begin; from < end;) {
        const void *feed = std::memchr(from, '\n', static_cast<std::size_t>(end - from));
        const char *const to = feed == nullptr ? end : static_cast<const char *>(feed);
        takeLine(QByteArrayView(from, to), offset + (from - begin));
        from = to + 1;
    }
}

void LogFileParser::takeLine(QByteArrayView line, qint64 offset)
{
    while (!line.isEmpty() && line.back() == '\r') {
        line.chop(1);
    }
    const LogLineView *decoded = line.isEmpty() ? nullptr : m_decoder.view(line);
    if (decoded == nullptr) {
        return;
    }
    m_rows.records.push_back({.secondsSinceEpoch = decoded->secondsSinceEpoch,
                              .offset = offset,
                              .length = static_cast<quint32>(line.size()),
                              .firstWord = static_cast<quint32>(m_rows.words.size()),
                              .level = decoded->level,
                              .category = decoded->category,
                              .action = decoded->action,
                              .outcome = decoded->outcome});
    appendWords(*decoded);
}

void LogFileParser::appendWords(const LogLineView &view)
{
    std::vector<LogWords::Id> &words = m_rows.words;
    words.push_back(m_builder.id(log::view(rawValue(view.action))));
    words.push_back(m_builder.id(log::view(rawValue(view.category))));
    words.push_back(m_builder.id(log::view(rawValue(view.level))));
    words.push_back(m_builder.id(log::view(rawValue(view.outcome))));
    appendOptional(view.correlationId);
    appendOptional(view.assocHash);
    appendOptional(view.fileHash);
    words.insert(words.end(), m_sourceFile.begin(), m_sourceFile.end());
    if (view.error) {
        m_builder.split(view.error->domain, words);
        m_builder.split(view.error->message, words);
    }
    if (view.details) {
        appendDetails(*view.details);
    }
}

void LogFileParser::appendOptional(const std::optional<std::string_view> &text)
{
    if (text) {
        m_builder.split(*text, m_rows.words);
    } else {
        m_rows.words.push_back(LogWords::kEmpty);
    }
}

void LogFileParser::appendDetails(const std::vector<LogLineDetail> &details)
{
    const auto isOutOfOrder = [](const LogLineDetail &left, const LogLineDetail &right) {
        return left.key >= right.key;
    };
    if (std::ranges::adjacent_find(details, isOutOfOrder) == details.end()) {
        for (const LogLineDetail &detail : details) {
            appendDetail(detail.key, detail.value);
        }
        return;
    }
    // No line of the gateway's own: the keys in order, and of equal ones the last.
    std::map<std::string_view, std::string_view> ordered;
    for (const LogLineDetail &detail : details) {
        ordered.insert_or_assign(detail.key, detail.value);
    }
    for (const auto &[key, value] : ordered) {
        appendDetail(key, value);
    }
}

void LogFileParser::appendDetail(std::string_view key, std::string_view value)
{
    m_item.assign(key);
    m_item += '=';
    m_item += value;
    m_builder.split(m_item, m_rows.words);
}

} // namespace gateway::log

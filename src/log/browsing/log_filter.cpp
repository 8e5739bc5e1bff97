#include "log/browsing/log_filter.h"

#include "log/browsing/image_trail.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <algorithm>
#include <array>
#include <numeric>
#include <span>
#include <string_view>
#include <utility>

namespace gateway::log {

namespace {

// The words stand in the order of the cases.
constexpr std::array<std::string_view, 5> kLevels = {"all", "debug", "info", "warning", "error"};
constexpr std::array<std::string_view, 6> kCategories = {
    "all", "listener", "receive", "send", "uploadQueue", "quorinCloud"};

template <typename Case>
QLatin1StringView word(std::span<const std::string_view> words, Case value)
{
    const std::string_view text = words[static_cast<std::size_t>(value)];
    return {text.data(), static_cast<qsizetype>(text.size())};
}

template <typename Case>
std::optional<Case> find(std::span<const std::string_view> words, const QString &raw)
{
    const auto found = std::ranges::find(words, raw.toStdString());
    if (found == words.end()) {
        return std::nullopt;
    }
    return static_cast<Case>(found - words.begin());
}

/// A search text, prepared for one file: for each of its parts the words of the file that may stand there.
///
/// A row has the text when its words hold the parts in a row: the first part ends a word, the last one begins
/// a word, and each between them is a whole word. A text of one part may stand anywhere in a word.
class FileSearch
{
public:
    FileSearch(const QList<QByteArray> &parts, const LogWords &dictionary)
    {
        const auto view = [](const QByteArray &part) {
            return std::string_view(part.constData(), static_cast<std::size_t>(part.size()));
        };
        if (parts.size() == 1) {
            m_marks.push_back(dictionary.containing(view(parts.front())));
        } else {
            m_marks.push_back(dictionary.endingWith(view(parts.front())));
            for (qsizetype part = 1; part + 1 < parts.size(); ++part) {
                m_marks.push_back(dictionary.equalTo(view(parts[part])));
            }
            m_marks.push_back(dictionary.beginningWith(view(parts.back())));
        }
        m_isPossible = std::ranges::all_of(
            m_marks, [](const WordMarks &marks) { return std::ranges::find(marks, true) != marks.end(); });
    }

    bool matches(std::span<const LogWords::Id> words) const
    {
        if (!m_isPossible || words.size() < m_marks.size()) {
            return false;
        }
        for (std::size_t from = 0; from + m_marks.size() <= words.size(); ++from) {
            std::size_t part = 0;
            while (part < m_marks.size() && m_marks[part][words[from + part]]) {
                ++part;
            }
            if (part == m_marks.size()) {
                return true;
            }
        }
        return false;
    }

private:
    std::vector<WordMarks> m_marks; // one a part
    bool m_isPossible = false;
};

std::optional<GatewayLogLevel> wantedLevel(LevelFilter filter)
{
    return logLevel(kLevels[static_cast<std::size_t>(filter)]);
}

std::optional<GatewayLogCategory> wantedCategory(CategoryFilter filter)
{
    return logCategory(kCategories[static_cast<std::size_t>(filter)]);
}

} // namespace

QLatin1StringView rawValue(LevelFilter filter)
{
    return word(kLevels, filter);
}

QLatin1StringView rawValue(CategoryFilter filter)
{
    return word(kCategories, filter);
}

std::optional<LevelFilter> levelFilter(const QString &raw)
{
    return find<LevelFilter>(kLevels, raw);
}

std::optional<CategoryFilter> categoryFilter(const QString &raw)
{
    return find<CategoryFilter>(kCategories, raw);
}

FilteredLogRows filterLogRows(std::shared_ptr<const LogRows> rows, const LogFilter &filter)
{
    if (!filter.imageHashes.isEmpty()) {
        return imageTrail(std::move(rows), filter.imageHashes);
    }
    FilteredLogRows filtered{std::move(rows), {}};
    const QString needle = filter.searchText.trimmed().toLower();
    const auto level = wantedLevel(filter.level);
    const auto category = wantedCategory(filter.category);
    std::vector<FileSearch> searches;
    if (!needle.isEmpty()) {
        const QList<QByteArray> parts = needle.toUtf8().split(' ');
        for (const auto &file : filtered.rows->files()) {
            searches.emplace_back(parts, file->dictionary);
        }
    }
    for (qsizetype position = 0; position < filtered.rows->count(); ++position) {
        const LogRows::Place &place = filtered.rows->place(position);
        const LogFileRows &file = filtered.rows->file(place);
        const LogRecord &record = file.records[place.record];
        const bool isIn = (!level || record.level == *level) && (!category || record.category == *category) &&
                          (searches.empty() || searches[place.file].matches(file.wordsOf(place.record)));
        if (isIn) {
            filtered.positions.push_back(static_cast<quint32>(position));
        }
    }
    return filtered;
}

} // namespace gateway::log

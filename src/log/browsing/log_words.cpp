#include "log/browsing/log_words.h"

#include <QtCore/QString>

#include <algorithm>
#include <cstring>
#include <functional>

namespace gateway::log {

namespace {

constexpr std::size_t kFirstSlots = 4096;

quint32 hashOf(std::string_view word)
{
    return static_cast<quint32>(std::hash<std::string_view>()(word));
}

bool isAscii(std::string_view text)
{
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

void lower(std::string_view text, std::string &lowered)
{
    if (!isAscii(text)) {
        lowered = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toLower().toStdString();
        return;
    }
    lowered.resize(text.size());
    std::ranges::transform(text, lowered.begin(), [](char byte) {
        return static_cast<char>(byte + (byte >= 'A' && byte <= 'Z' ? 'a' - 'A' : 0));
    });
}

} // namespace

LogWords::LogWords() : m_text(" ")
{
    append({});
}

std::string_view LogWords::word(Id id) const
{
    const std::size_t end = id + 1 < m_starts.size() ? m_starts[id + 1] : m_text.size();
    return std::string_view(m_text).substr(m_starts[id], end - 1 - m_starts[id]);
}

LogWords::Id LogWords::append(std::string_view word)
{
    m_starts.push_back(m_text.size());
    m_text += word;
    m_text += ' ';
    return static_cast<Id>(m_starts.size() - 1);
}

WordMarks LogWords::containing(std::string_view part) const
{
    return part.empty() ? WordMarks(count(), true) : matching(std::string(part));
}

WordMarks LogWords::beginningWith(std::string_view part) const
{
    return part.empty() ? WordMarks(count(), true) : matching(std::string(" ").append(part));
}

WordMarks LogWords::endingWith(std::string_view part) const
{
    return part.empty() ? WordMarks(count(), true) : matching(std::string(part) + ' ');
}

WordMarks LogWords::equalTo(std::string_view part) const
{
    if (part.empty()) {
        WordMarks marks(count(), false);
        marks[kEmpty] = true;
        return marks;
    }
    return matching(std::string(" ").append(part) + ' ');
}

void LogWords::shrink()
{
    m_text.shrink_to_fit();
    m_starts.shrink_to_fit();
}

/// The words at which the pattern, a part with or without blanks around it, is found.
WordMarks LogWords::matching(const std::string &pattern) const
{
    WordMarks marks(count(), false);
    const char *const begin = m_text.data();
    const char *const end = begin + m_text.size();
    const std::size_t lead = pattern.front() == ' ' ? 1 : 0;
    auto next = m_starts.begin();
    const char *from = begin;
    while (from < end) {
        const void *found =
            ::memmem(from, static_cast<std::size_t>(end - from), pattern.data(), pattern.size());
        if (found == nullptr) {
            break;
        }
        const auto at = static_cast<std::size_t>(static_cast<const char *>(found) - begin) + lead;
        next = std::upper_bound(next, m_starts.end(), at);
        marks[static_cast<std::size_t>(next - m_starts.begin()) - 1] = true;
        // On from the blank before the next word: this one needs no second find.
        from = next == m_starts.end() ? end : begin + *next - 1;
    }
    return marks;
}

LogWordsBuilder::LogWordsBuilder(LogWords &words) : m_words(words), m_slots(kFirstSlots)
{
    for (std::size_t id = 0; id < m_words.count(); ++id) {
        const auto known = static_cast<LogWords::Id>(id);
        insert(hashOf(m_words.word(known)), known);
    }
}

LogWords::Id LogWordsBuilder::id(std::string_view word)
{
    lower(word, m_lowered);
    const quint32 hash = hashOf(m_lowered);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask; m_slots[at].idPlusOne != 0; at = (at + 1) & mask) {
        const LogWords::Id known = m_slots[at].idPlusOne - 1;
        if (m_slots[at].hash == hash && m_words.word(known) == m_lowered) {
            return known;
        }
    }
    const LogWords::Id added = m_words.append(m_lowered);
    insert(hash, added);
    return added;
}

void LogWordsBuilder::split(std::string_view text, std::vector<LogWords::Id> &sequence)
{
    std::size_t from = 0;
    for (std::size_t blank = text.find(' '); blank != std::string_view::npos; blank = text.find(' ', from)) {
        sequence.push_back(id(text.substr(from, blank - from)));
        from = blank + 1;
    }
    sequence.push_back(id(text.substr(from)));
}

void LogWordsBuilder::insert(quint32 hash, LogWords::Id id)
{
    if (m_words.count() * 2 > m_slots.size()) {
        grow();
    }
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = hash & mask;
    while (m_slots[at].idPlusOne != 0) {
        at = (at + 1) & mask;
    }
    m_slots[at] = {hash, id + 1};
}

void LogWordsBuilder::grow()
{
    std::vector<Slot> former(std::bit_ceil(m_words.count() * 4));
    former.swap(m_slots);
    const std::size_t mask = m_slots.size() - 1;
    for (const Slot &slot : former) {
        if (slot.idPlusOne != 0) {
            std::size_t at = slot.hash & mask;
            while (m_slots[at].idPlusOne != 0) {
                at = (at + 1) & mask;
            }
            m_slots[at] = slot;
        }
    }
}

} // namespace gateway::log

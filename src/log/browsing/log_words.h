#pragma once

#include <QtCore/QtGlobal>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace gateway::log {

/// Which of a file's words a search asks about, one flag word by word.
using WordMarks = std::vector<bool>;

/// The different words of one file's search texts, lower-cased, each kept once.
///
/// A search text is taken apart at its blanks; joined again by single blanks its words are that text to the
/// letter, an empty word standing between two blanks. No word holds a blank, so that the words can stand in
/// one string with blanks around them, and one search of that string answers for all of them.
///
/// Owner: LogFileRows. Thread: any once it is made; a plain value.
class LogWords
{
public:
    using Id = quint32;

    /// The empty word, which every file has.
    static constexpr Id kEmpty = 0;

    LogWords();

    std::size_t count() const { return m_starts.size(); }

    /// The word, without its blanks. `id` is one that was given.
    std::string_view word(Id id) const;

    /// Keeps one more word, lower-cased and without blanks, which isn't there yet.
    Id append(std::string_view word);

    /// The words in which `part` stands anywhere. No part may hold a blank.
    WordMarks containing(std::string_view part) const;

    /// The words that begin with `part`.
    WordMarks beginningWith(std::string_view part) const;

    /// The words that end with `part`.
    WordMarks endingWith(std::string_view part) const;

    /// The words that are `part`: one at most.
    WordMarks equalTo(std::string_view part) const;

    /// Gives back memory that was taken in advance.
    void shrink();

private:
    WordMarks matching(const std::string &pattern) const;

    std::string m_text;                // " word word word "
    std::vector<std::size_t> m_starts; // of each word in m_text
};

/// Finds words in a LogWords and adds those that are new.
///
/// Owner: whoever reads a file. Thread: one at a time. The words outlive it.
class LogWordsBuilder
{
public:
    explicit LogWordsBuilder(LogWords &words);

    /// The lower-cased word's number, which it gets now if it is new. `word` holds no blank.
    LogWords::Id id(std::string_view word);

    /// Takes a text apart at its blanks and puts the numbers of its words behind `sequence`.
    void split(std::string_view text, std::vector<LogWords::Id> &sequence);

private:
    struct Slot
    {
        quint32 hash = 0;
        quint32 idPlusOne = 0; // 0 for an empty slot
    };

    void insert(quint32 hash, LogWords::Id id);
    void grow();

    LogWords &m_words;
    std::vector<Slot> m_slots; // a power of two, at most half full
    std::string m_lowered;
};

} // namespace gateway::log

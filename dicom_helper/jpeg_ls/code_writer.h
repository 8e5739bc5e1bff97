#pragma once

#include "dicom_helper/jpeg_ls/bit_writer.h"
#include "dicom_helper/jpeg_ls/code_word.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace gateway::dicom_helper::jpeg_ls {

[[gnu::always_inline]] inline void putWord(CodeWord word, BitWriter &to)
{
    if (word.length > 32) {
        to.put(0, word.length - 32);
    }
    to.put(word.value, std::min(word.length, 32U));
}

/// Several code words in a row.
struct JoinedWords
{
    std::uint64_t value; ///< right only where the length is 64 at most
    unsigned length;
};

[[gnu::always_inline]] inline JoinedWords joined(const JoinedWords &front, const JoinedWords &back)
{
    return {front.value << (back.length % 64) | back.value, front.length + back.length};
}

/// Puts the packed words that stand at the given places: eight or four at once where they are short, as they
/// nearly always are.
[[gnu::always_inline]] inline void
putWords(const std::uint32_t *words, std::span<const std::uint32_t> places, BitWriter &to)
{
    BitWriter writer = to;
    const auto at = [words, place = places.data()](std::size_t i) {
        const CodeWord word = CodeWord::unpacked(words[place[i]]);
        return JoinedWords{word.value, word.length};
    };
    const auto four = [&at](std::size_t i) {
        return joined(joined(at(i), at(i + 1)), joined(at(i + 2), at(i + 3)));
    };
    const auto putEach = [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            putWord(CodeWord::unpacked(words[places.data()[i]]), writer);
        }
    };
    std::size_t i = 0;
    for (; i + 8 <= places.size(); i += 8) {
        const JoinedWords front = four(i);
        const JoinedWords back = four(i + 4);
        if (front.length + back.length <= BitWriter::kLongest) [[likely]] {
            const JoinedWords all = joined(front, back);
            writer.put(all.value, all.length);
        } else if (std::max(front.length, back.length) <= BitWriter::kLongest) {
            writer.put(front.value, front.length);
            writer.put(back.value, back.length);
        } else {
            putEach(i, i + 8);
        }
    }
    putEach(i, places.size());
    to = writer;
}

} // namespace gateway::dicom_helper::jpeg_ls

#pragma once

#include "dicom_helper/jpeg_ls/code_word.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace gateway::dicom_helper::jpeg_ls {

/// How many contexts the regular mode has (ISO/IEC 14495-1 A.3.4).
constexpr std::size_t kContexts = 365;

/// Stands in for the context of what is a code word already.
constexpr std::uint16_t kReady = kContexts;

/// How many there are of each context and of kReady.
using ContextCounts = std::array<std::uint32_t, kContexts + 1>;

/// What some lines say, in the order in which the stream says it: samples of the regular mode, each with its
/// context, and between them the code words of runs, which are known already.
///
/// Thread: any, one at a time.
class CodedSamples
{
public:
    /// Makes room for so many samples. A sample takes two places at most: a run of none and what ends it.
    void prepare(std::size_t samples)
    {
        if (2 * samples > m_room) {
            m_room = 2 * samples;
            m_contexts = std::make_unique_for_overwrite<std::uint16_t[]>(m_room);
            m_words = std::make_unique_for_overwrite<std::uint32_t[]>(m_room);
        }
        clear();
    }

    void clear() { m_size = 0; }

    /// \param sample  as LineAnalysis has it
    [[gnu::always_inline]] void add(std::uint16_t context, std::uint32_t sample)
    {
        m_contexts[m_size] = context;
        m_words[m_size] = sample;
        ++m_size;
    }

    [[gnu::always_inline]] void
    add(const std::uint16_t *contexts, const std::uint32_t *samples, std::size_t count)
    {
        std::copy_n(contexts, count, m_contexts.get() + m_size);
        std::copy_n(samples, count, m_words.get() + m_size);
        m_size += count;
    }

    void addWord(CodeWord word) { add(kReady, word.packed()); }

    std::size_t size() const { return m_size; }

    std::size_t room() const { return m_room; }

    const std::uint16_t *contexts() const { return m_contexts.get(); }

    const std::uint32_t *words() const { return m_words.get(); }

private:
    std::unique_ptr<std::uint16_t[]> m_contexts;
    std::unique_ptr<std::uint32_t[]> m_words;
    std::size_t m_size = 0;
    std::size_t m_room = 0;
};

} // namespace gateway::dicom_helper::jpeg_ls

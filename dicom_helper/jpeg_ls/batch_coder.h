#pragma once

#include "dicom_helper/jpeg_ls/code_writer.h"
#include "dicom_helper/jpeg_ls/coded_samples.h"
#include "dicom_helper/jpeg_ls/context_lanes.h"

namespace gateway::dicom_helper::jpeg_ls {

/// What a BatchCoder keeps from one image to the next. Thread: as the coder that uses it.
struct BatchBuffers
{
    /// Makes room for at least so many.
    void prepare(std::size_t wordCount, std::size_t placeCount)
    {
        if (wordCount > m_wordCount) {
            m_wordCount = wordCount;
            words = std::make_unique<std::uint32_t[]>(wordCount);
        }
        if (placeCount > m_placeCount) {
            m_placeCount = placeCount;
            places = std::make_unique_for_overwrite<std::uint32_t[]>(placeCount);
        }
    }

    std::unique_ptr<std::uint32_t[]> words;  ///< sorted into lanes
    std::unique_ptr<std::uint32_t[]> places; ///< where each sample's word is

private:
    std::size_t m_wordCount = 0;
    std::size_t m_placeCount = 0;
};

/// Makes code words of the samples of some lines, and puts them.
///
/// The samples are sorted by context into the lanes of vectors, coded there, and fetched back in their order.
/// Thread: any, one at a time.
template <int Bytes>
class BatchCoder
{
    static constexpr unsigned kLanes = ContextLanes<Bytes>::kLanes;

public:
    BatchCoder(const CodingParameters &parameters, BatchBuffers &buffers)
        : m_lanes(parameters), m_buffers(buffers)
    {
    }

    [[gnu::always_inline]] void code(const CodedSamples &samples, ScanContexts &contexts, BitWriter &to)
    {
        count(samples);
        m_plan.make(m_counts);
        prepare(samples);
        sort(samples);
        m_lanes.code(contexts.regular, m_counts, m_plan, m_buffers.words.get());
        putWords(m_buffers.words.get(), std::span(m_buffers.places.get(), samples.size()), to);
    }

private:
    /// Samples are counted and sorted in as many parts at a time: a counter that was just written is slow to
    /// read.
    static constexpr std::size_t kParts = 4;

    /// A quarter or less: such that the parts don't compete for the same lines of the cache.
    static std::size_t partOf(std::size_t size)
    {
        const std::size_t quarter = size / kParts;
        return quarter < 1024 ? quarter : (quarter - 272) / 1024 * 1024 + 272;
    }

    [[gnu::always_inline]] void count(const CodedSamples &samples)
    {
        for (ContextCounts &counts : m_next) {
            counts.fill(0);
        }
        const std::size_t part = partOf(samples.size());
        const std::uint16_t *const contexts = samples.contexts();
        for (std::size_t i = 0; i < part; ++i) {
            for (std::size_t p = 0; p < kParts; ++p) {
                ++m_next[p].data()[contexts[p * part + i]];
            }
        }
        for (std::size_t i = kParts * part; i < samples.size(); ++i) {
            ++m_next[kParts - 1].data()[contexts[i]];
        }
        for (std::size_t context = 0; context < m_counts.size(); ++context) {
            m_counts[context] = 0;
            for (const ContextCounts &counts : m_next) {
                m_counts[context] += counts[context];
            }
        }
    }

    void prepare(const CodedSamples &samples)
    {
        m_buffers.prepare((m_plan.steps() + m_counts[kReady]) * kLanes, samples.room());
        for (std::size_t context = 0; context < m_counts.size(); ++context) {
            std::uint32_t place = m_plan.first()[context];
            for (ContextCounts &next : m_next) {
                const std::uint32_t count = next[context];
                next[context] = place;
                place += count * kLanes;
            }
        }
    }

    [[gnu::always_inline]] void sort(const CodedSamples &samples)
    {
        const std::uint16_t *const contexts = samples.contexts();
        const std::uint32_t *const from = samples.words();
        std::uint32_t *const words = m_buffers.words.get();
        std::uint32_t *const places = m_buffers.places.get();
        const auto one = [&](std::size_t i, std::size_t p) {
            std::uint32_t &next = m_next[p].data()[contexts[i]];
            const std::uint32_t place = next;
            words[place] = from[i];
            places[i] = place;
            next = place + kLanes;
        };
        const std::size_t part = partOf(samples.size());
        for (std::size_t i = 0; i < part; ++i) {
            for (std::size_t p = 0; p < kParts; ++p) {
                one(p * part + i, p);
            }
        }
        for (std::size_t i = kParts * part; i < samples.size(); ++i) {
            one(i, kParts - 1);
        }
    }

    ContextLanes<Bytes> m_lanes;
    LanePlan<kLanes> m_plan;
    BatchBuffers &m_buffers;
    ContextCounts m_counts{};
    std::array<ContextCounts, kParts> m_next{}; // a part's counts, then where the next of a context goes
};

} // namespace gateway::dicom_helper::jpeg_ls

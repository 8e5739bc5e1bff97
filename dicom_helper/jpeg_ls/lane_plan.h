#pragma once

#include "dicom_helper/jpeg_ls/coded_samples.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace gateway::dicom_helper::jpeg_ls {

/// Which lane of a vector works on which contexts, and in which order.
///
/// A context's samples depend on each other, those of different contexts don't. So each context is given to
/// one lane, for as many steps as it has samples, such that all lanes end at about the same step. Thread:
/// any, one at a time.
template <unsigned Lanes>
class LanePlan
{
public:
    void make(const ContextCounts &counts)
    {
        m_ends.fill(0);
        m_sizes.fill(0);
        const std::size_t used = orderBySize(counts);
        for (std::size_t i = 0; i < used; ++i) {
            const std::uint16_t context = m_order[i];
            const auto lane = static_cast<std::size_t>(std::ranges::min_element(m_ends) - m_ends.begin());
            m_first[context] = m_ends[lane] * Lanes + static_cast<std::uint32_t>(lane);
            m_ends[lane] += counts[context];
            m_contexts[lane][m_sizes[lane]++] = context;
        }
        m_steps = *std::ranges::max_element(m_ends);
        m_first[kReady] = static_cast<std::uint32_t>(m_steps * Lanes);
    }

    /// How many steps all lanes need.
    std::size_t steps() const { return m_steps; }

    /// Where each context's first sample is, the others being Lanes places from one to the next. What is
    /// ready comes behind all steps.
    const ContextCounts &first() const { return m_first; }

    /// The contexts of a lane, in the order of their turns.
    std::span<const std::uint16_t> contexts(std::size_t lane) const
    {
        return std::span(m_contexts[lane]).first(m_sizes[lane]);
    }

private:
    /// The contexts that are met at all, those of more samples first: within a factor of two, which is enough
    /// for even lanes. \return how many there are
    std::size_t orderBySize(const ContextCounts &counts)
    {
        std::array<std::uint16_t, 34> begins{};
        for (std::size_t context = 0; context < kContexts; ++context) {
            ++begins[33U - static_cast<unsigned>(std::bit_width(counts[context]))];
        }
        std::uint16_t sum = 0;
        for (std::uint16_t &begin : begins) {
            sum = static_cast<std::uint16_t>(sum + begin);
            begin = static_cast<std::uint16_t>(sum - begin);
        }
        const std::size_t used = begins[33];
        for (std::size_t context = 0; context < kContexts; ++context) {
            const auto width = static_cast<unsigned>(std::bit_width(counts[context]));
            m_order[begins[33U - width]++] = static_cast<std::uint16_t>(context);
        }
        return used;
    }

    std::array<std::uint16_t, kContexts> m_order{};
    ContextCounts m_first{};
    std::array<std::array<std::uint16_t, kContexts>, Lanes> m_contexts{};
    std::array<std::size_t, Lanes> m_sizes{};
    std::array<std::uint32_t, Lanes> m_ends{};
    std::size_t m_steps = 0;
};

} // namespace gateway::dicom_helper::jpeg_ls

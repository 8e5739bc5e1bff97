#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls {

/// Vectors read and write beyond a line's ends by so many samples at most.
constexpr std::size_t kMargin = 32;

/// The longest line with a margin behind it. Not a power of two: arrays of this size one after the other
/// would then compete for the same lines of the cache.
constexpr std::size_t kRoom = 65535 + 33 + 96;

/// An array of a line's width with margins, so that index -1 and the width exist.
template <typename T>
class LineArray
{
public:
    void prepare(std::size_t width, T value = {}) { m_values.assign(width + 2 * kMargin, value); }

    T *data() { return m_values.data() + kMargin; }

    const T *data() const { return m_values.data() + kMargin; }

    void swap(LineArray &other) { m_values.swap(other.m_values); }

private:
    std::vector<T> m_values;
};

/// One component's two lines. Samples of 16 bits are kept less 32768, so that they are signed like all
/// others.
struct ComponentLines
{
    LineArray<std::int16_t> current;
    LineArray<std::int16_t> previous;
    LineArray<std::int16_t> gradients; ///< of the previous line, quantised: each sample less its left one
    LineArray<std::int16_t> newGradients;
};

/// What the neighbourhoods of one line's samples say before anything is coded: all that doesn't depend on the
/// state of the contexts.
///
/// Arrays of fixed sizes, so that one pointer leads to all of them: the pass that reads them is short of
/// registers. Pages that a line doesn't reach are never touched.
struct LineAnalysis
{
    std::uint16_t contexts[kRoom]; ///< Q of A.3.4, 0 to 364
    /// From the lowest bits: SIGN * (Ix - predicted) + 128, modulo 65536; the least C + 128 that keeps the
    /// prediction in its range (A.4.2), of 8 bits; the greatest.
    std::uint32_t samples[kRoom];
};

} // namespace gateway::dicom_helper::jpeg_ls

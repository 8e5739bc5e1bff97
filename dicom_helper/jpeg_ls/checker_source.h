#pragma once

#include "dicom_helper/jpeg_ls/checker_header.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls {

/// A sample that ends a run, and its neighbours.
struct RunEnd
{
    int left;
    int top;
    int sample;
};

/// A run of the image: of one component, or of all together.
struct SourceRun
{
    std::size_t at; ///< how many samples of the regular mode come before
    unsigned component;
    std::size_t length;
    std::size_t most;  ///< how long it would be up to the end of the line
    unsigned endCount; ///< 0 where it ends with the line
    std::array<RunEnd, 3> ends;
};

/// The image in the order in which a decoder comes by it: samples of the regular mode with what their
/// neighbours say about them (ISO/IEC 14495-1 A.3, A.4.1), and runs. The checker's alone: the encoder looks
/// at images in its own way. Thread: any, one at a time.
class CheckerSource
{
public:
    /// Begins with an image of this shape.
    void begin(const ImageShape &shape)
    {
        m_shape = shape;
        m_rules = ScanRules(shape.precision);
        for (Component &of : m_components) {
            of.prepare(shape.columns);
        }
        clear();
    }

    /// Forgets what was added, but not the last line.
    void clear()
    {
        m_contexts.clear();
        m_samples.clear();
        m_runs.clear();
    }

    /// Adds a line of pixels. \return false where a sample has more bits than the precision: no stream says
    /// that.
    [[gnu::always_inline]] inline bool addLine(const std::byte *line);

    /// The context of each sample of the regular mode, without its sign.
    std::span<const std::uint16_t> contexts() const { return m_contexts; }

    /// The sample in the higher half and its prediction in the lower one, both less than MAXVAL where SIGN
    /// is -1: as if the image were negative there.
    std::span<const std::uint32_t> samples() const { return m_samples; }

    std::span<const SourceRun> runs() const { return m_runs; }

private:
    /// A line with the neighbours beyond its ends (A.2.2), and the one above it. Index 0 is the sample before
    /// the first.
    struct Component
    {
        void prepare(std::size_t width)
        {
            above.assign(width + 2, 0);
            here.assign(width + 2, 0);
            contexts.assign(width, 0);
            samples.assign(width, 0);
        }

        std::vector<int> above;
        std::vector<int> here;
        std::vector<std::uint16_t> contexts;
        std::vector<std::uint32_t> samples;
    };

    template <unsigned Width>
    [[gnu::always_inline]] static inline unsigned
    readSamples(const std::byte *from, std::size_t step, std::size_t count, int *to);
    [[gnu::always_inline]] inline unsigned read(const std::byte *line, unsigned component);
    [[gnu::always_inline]] static inline int region(int gradient, const ScanRules &rules);
    [[gnu::always_inline]] inline bool describe(Component &of) const;
    [[gnu::always_inline]] inline void add(unsigned component, bool mayRun);
    [[gnu::always_inline]] inline void addTogether();
    inline std::size_t addRun(std::span<const Component> together, unsigned component, std::size_t x);

    ImageShape m_shape;
    ScanRules m_rules{m_shape.precision};
    std::array<Component, 3> m_components;
    std::vector<std::uint16_t> m_contexts;
    std::vector<std::uint32_t> m_samples;
    std::vector<SourceRun> m_runs;
};

/// Reads every `step`th sample into `to`. \return all bits that any of them has
template <unsigned Width>
unsigned CheckerSource::readSamples(const std::byte *from, std::size_t step, std::size_t count, int *to)
{
    unsigned used = 0;
    for (std::size_t x = 0; x < count; ++x) {
        const std::byte *const sample = from + x * step;
        const auto low = std::to_integer<unsigned>(sample[0]);
        const unsigned value = Width == 1 ? low : low | std::to_integer<unsigned>(sample[1]) << 8U;
        used |= value;
        to[x] = static_cast<int>(value);
    }
    return used;
}

/// The next line of a component.
unsigned CheckerSource::read(const std::byte *line, unsigned component)
{
    const std::size_t width = m_shape.columns;
    Component &of = m_components[component];
    of.above.swap(of.here);
    int *const here = of.here.data() + 1;
    const std::byte *const from = line + component * m_shape.bytesPerSample();
    unsigned used = 0;
    if (m_shape.bytesPerSample() == 2) {
        used = m_shape.components == 1 ? readSamples<2>(from, 2, width, here)
                                       : readSamples<2>(from, 2 * m_shape.components, width, here);
    } else {
        used = m_shape.components == 1 ? readSamples<1>(from, 1, width, here)
                                       : readSamples<1>(from, m_shape.components, width, here);
    }
    of.here[0] = of.above[1];
    of.here[width + 1] = of.here[width];
    return used;
}

/// A.3.3
int CheckerSource::region(int gradient, const ScanRules &rules)
{
    const int size = gradient < 0 ? -gradient : gradient;
    const int level = (size >= 1 ? 1 : 0) + (size >= rules.t1 ? 1 : 0) + (size >= rules.t2 ? 1 : 0) +
                      (size >= rules.t3 ? 1 : 0);
    return gradient < 0 ? -level : level;
}

/// A.3 and A.4.1. \return whether a run may begin anywhere
bool CheckerSource::describe(Component &of) const
{
    const ScanRules rules = m_rules; // which nothing below can change, as the compiler then sees
    const std::size_t width = of.contexts.size();
    const int *const here = of.here.data();
    const int *const above = of.above.data();
    std::uint16_t *const contexts = of.contexts.data();
    std::uint32_t *const samples = of.samples.data();
    unsigned flat = 0;
    for (std::size_t x = 0; x < width; ++x) {
        const int left = here[x];
        const int corner = above[x];
        const int top = above[x + 1];
        const int context = 81 * region(above[x + 2] - top, rules) + 9 * region(top - corner, rules) +
                            region(corner - left, rules);
        contexts[x] = static_cast<std::uint16_t>(context < 0 ? -context : context);
        const int least = std::min(left, top);
        const int greatest = std::max(left, top);
        const int between = left + top - corner;
        const int prediction = corner >= greatest ? least : corner <= least ? greatest : between;
        const int sample = here[x + 1];
        const int shown = context < 0 ? rules.greatest - sample : sample;
        const int shownPrediction = context < 0 ? rules.greatest - prediction : prediction;
        samples[x] = static_cast<std::uint32_t>(shown) << 16U | static_cast<std::uint32_t>(shownPrediction);
        flat |= context == 0 ? 1U : 0U;
    }
    return flat != 0;
}

/// A line of one component.
void CheckerSource::add(unsigned component, bool mayRun)
{
    const Component &of = m_components[component];
    const std::size_t width = m_shape.columns;
    for (std::size_t x = 0; x < width;) {
        const auto begin = of.contexts.begin() + static_cast<std::ptrdiff_t>(x);
        const auto end = mayRun ? std::find(begin, of.contexts.end(), 0) : of.contexts.end();
        const std::ptrdiff_t count = end - begin;
        m_contexts.insert(m_contexts.end(), begin, end);
        const auto samples = of.samples.begin() + static_cast<std::ptrdiff_t>(x);
        m_samples.insert(m_samples.end(), samples, samples + count);
        x += static_cast<std::size_t>(count);
        if (x < width) {
            x = addRun(std::span(&of, 1), component, x);
        }
    }
}

/// A line of all components by sample: a run is one of all.
void CheckerSource::addTogether()
{
    for (std::size_t x = 0; x < m_shape.columns;) {
        const bool isRun =
            std::ranges::all_of(m_components, [x](const Component &of) { return of.contexts[x] == 0; });
        if (isRun) {
            x = addRun(m_components, 0, x);
            continue;
        }
        for (const Component &of : m_components) {
            m_contexts.push_back(of.contexts[x]);
            m_samples.push_back(of.samples[x]);
        }
        ++x;
    }
}

/// \return the sample behind the run and what ends it
std::size_t CheckerSource::addRun(std::span<const Component> together, unsigned component, std::size_t x)
{
    const std::size_t width = m_shape.columns;
    const auto goesOn = [&](std::size_t at) {
        return std::ranges::all_of(together,
                                   [x, at](const Component &of) { return of.here[at + 1] == of.here[x]; });
    };
    std::size_t end = x;
    while (end < width && goesOn(end)) {
        ++end;
    }
    SourceRun run{m_contexts.size(), component, end - x, width - x, 0, {}};
    if (end < width) {
        for (const Component &of : together) {
            run.ends[run.endCount++] = {of.here[end], of.above[end + 1], of.here[end + 1]};
        }
        ++end;
    }
    m_runs.push_back(run);
    return end;
}

bool CheckerSource::addLine(const std::byte *line)
{
    unsigned used = 0;
    for (unsigned component = 0; component < m_shape.components; ++component) {
        used |= read(line, component);
        if (used >> m_shape.precision != 0) {
            return false;
        }
        const bool mayRun = describe(m_components[component]);
        if (m_shape.interleave != Interleave::sample) {
            add(component, mayRun);
        }
    }
    if (m_shape.interleave == Interleave::sample) {
        addTogether();
    }
    return true;
}

} // namespace gateway::dicom_helper::jpeg_ls

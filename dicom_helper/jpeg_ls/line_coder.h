#pragma once

#include "dicom_helper/jpeg_ls/coded_samples.h"
#include "dicom_helper/jpeg_ls/contexts.h"
#include "dicom_helper/jpeg_ls/line_buffers.h"
#include "dicom_helper/jpeg_ls/vectors.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace gateway::dicom_helper::jpeg_ls {

/// J of A.7.1.1: the lengths of a run's segments as exponents of two.
constexpr std::array<std::uint8_t, 32> kJ{0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,  2,  3,  3,  3,  3,
                                          4, 4, 5, 5, 6, 6, 7, 7, 8, 9, 10, 11, 12, 13, 14, 15};

/// Goes through a line in the stream's order: samples of the regular mode are added as they are, runs (A.7)
/// as their code words.
class LineCoder
{
public:
    LineCoder(const CodingParameters &parameters, ScanContexts &contexts, CodedSamples &to)
        : m_contexts(contexts), m_to(to), m_LIMIT(parameters.LIMIT), m_qbpp(parameters.qbpp),
          m_unused(32 - m_qbpp)
    {
    }

    /// A line of one component.
    [[gnu::always_inline]] void
    code(const ComponentLines &lines, const LineAnalysis &analysis, std::size_t width, unsigned component)
    {
        std::size_t i = 0;
        while (i < width) {
            const std::size_t run = nextRun(analysis.contexts, i, width);
            m_to.add(analysis.contexts + i, analysis.samples + i, run - i);
            i = run;
            if (i < width) {
                i = codeRun(lines, i, width, m_contexts.RUNindex[component]);
            }
        }
    }

    /// A line of three components by sample: a run is one of all three.
    [[gnu::always_inline]] void codeBySample(const std::array<ComponentLines, 3> &lines,
                                             const std::array<const LineAnalysis *, 3> &analyses,
                                             std::size_t width)
    {
        std::size_t i = 0;
        while (i < width) {
            if ((analyses[0]->contexts[i] | analyses[1]->contexts[i] | analyses[2]->contexts[i]) == 0) {
                i = codeRunBySample(lines, i, width);
                continue;
            }
            for (const LineAnalysis *analysis : analyses) {
                m_to.add(analysis->contexts[i], analysis->samples[i]);
            }
            ++i;
        }
    }

private:
    /// The next sample from `i` on whose context is 0, or the width.
    [[gnu::always_inline]] static std::size_t
    nextRun(const std::uint16_t *contexts, std::size_t i, std::size_t width)
    {
        // Four at a time: a context is below 2^15, so that only 0 sets the highest bit when it loses one.
        constexpr std::uint64_t kOnes = 0x0001000100010001U;
        while (i + 4 <= width && ((loaded<std::uint64_t>(contexts + i) - kOnes) & kOnes << 15U) == 0) {
            i += 4;
        }
        while (i < width && contexts[i] != 0) {
            ++i;
        }
        return i;
    }

    /// A.4.5 for a RANGE that is a power of two.
    [[gnu::always_inline]] static int reduced(int Errval, int unused)
    {
        return static_cast<int>(static_cast<unsigned>(Errval) << unused) >> unused;
    }

    /// A.7 from sample `i` on. \return the sample behind the run and what interrupts it
    [[gnu::always_inline]] std::size_t
    codeRun(const ComponentLines &lines, std::size_t i, std::size_t width, unsigned &RUNindex)
    {
        const std::int16_t *samples = lines.current.data();
        const std::int16_t Ra = *(samples + i - 1);
        std::size_t end = i;
        while (end < width && samples[end] == Ra) {
            ++end;
        }
        codeRunLength(end - i, end == width, RUNindex);
        if (end == width) {
            return width;
        }
        const int Rb = lines.previous.data()[end];
        codeInterruption(samples[end], Ra, Rb, Ra == Rb ? 1U : 0U, RUNindex);
        RUNindex -= RUNindex > 0 ? 1U : 0U;
        return end + 1;
    }

    [[gnu::always_inline]] std::size_t
    codeRunBySample(const std::array<ComponentLines, 3> &lines, std::size_t i, std::size_t width)
    {
        unsigned &RUNindex = m_contexts.RUNindex[0];
        std::size_t end = i;
        while (end < width && std::ranges::all_of(
                                  lines,
                                  [i, end](const ComponentLines &of) {
                                      return of.current.data()[end] == *(of.current.data() + i - 1);
                                  })) {
            ++end;
        }
        codeRunLength(end - i, end == width, RUNindex);
        if (end == width) {
            return width;
        }
        for (const ComponentLines &of : lines) {
            // A.7.2 for several components: RItype is always 0.
            codeInterruption(
                of.current.data()[end], *(of.current.data() + i - 1), of.previous.data()[end], 0, RUNindex);
        }
        RUNindex -= RUNindex > 0 ? 1U : 0U;
        return end + 1;
    }

    /// A.7.1.2
    void codeRunLength(std::size_t length, bool toEndOfLine, unsigned &RUNindex)
    {
        std::size_t left = length;
        while (left >= std::size_t{1} << kJ[RUNindex]) {
            m_to.addWord({1, 1});
            left -= std::size_t{1} << kJ[RUNindex];
            RUNindex += RUNindex < 31 ? 1U : 0U;
        }
        if (!toEndOfLine) {
            m_to.addWord({static_cast<std::uint32_t>(left), kJ[RUNindex] + 1U});
        } else if (left > 0) {
            m_to.addWord({1, 1});
        }
    }

    /// A.7.2
    void codeInterruption(int Ix, int Ra, int Rb, unsigned RItype, unsigned RUNindex)
    {
        RunContext &context = m_contexts.interrupted[RItype];
        const int difference = RItype == 1 ? Ix - Ra : Ra > Rb ? Rb - Ix : Ix - Rb;
        const int Errval = reduced(difference, m_unused);
        const int TEMP = RItype == 1 ? context.A + (context.N >> 1) : context.A;
        unsigned k = 0;
        while (context.N << k < TEMP) {
            ++k;
        }
        const bool mostlyNegative = 2 * context.Nn >= context.N;
        const bool map = Errval != 0 && (Errval > 0 ? k == 0 && !mostlyNegative : k != 0 || mostlyNegative);
        const int EMErrval = 2 * std::abs(Errval) - static_cast<int>(RItype) - (map ? 1 : 0);
        const unsigned longest = static_cast<unsigned>(m_LIMIT) - kJ[RUNindex] - 1U;
        m_to.addWord(golomb(static_cast<std::uint32_t>(EMErrval), k, longest, static_cast<unsigned>(m_qbpp)));
        context.Nn += Errval < 0 ? 1 : 0;
        context.A += (EMErrval + 1 - static_cast<int>(RItype)) >> 1;
        if (context.N == RESET) {
            context.A >>= 1;
            context.N >>= 1;
            context.Nn >>= 1;
        }
        ++context.N;
    }

    ScanContexts &m_contexts;
    CodedSamples &m_to;
    int m_LIMIT;
    int m_qbpp;
    int m_unused; // bits of an int above those of an error
};

} // namespace gateway::dicom_helper::jpeg_ls

#include "dicom_helper/jpeg_ls/checker.h"

#include "dicom_helper/jpeg_ls/checker_header.h"
#include "dicom_helper/jpeg_ls/scan_bits.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace gateway::dicom_helper::jpeg_ls {

namespace {

/// How often a context is met before it is halved: RESET.
constexpr int kHalving = 64;

/// The variables of a context of the regular mode (ISO/IEC 14495-1 A.2.1).
struct Statistics
{
    int A, B, C, N;
};

/// The variables of a context of interrupted runs.
struct RunStatistics
{
    int A, N, Nn;
};

/// A.6, as the standard puts it down.
[[gnu::always_inline]] inline void learn(Statistics &of, int error)
{
    int A = of.A + std::abs(error);
    int B = of.B + error;
    int N = of.N;
    if (N == kHalving) {
        A >>= 1;
        B >>= 1;
        N >>= 1;
    }
    N += 1;
    const bool low = B <= -N;
    const bool high = B > 0;
    const int lowB = std::max(B + N, 1 - N);
    const int highB = std::min(B - N, 0);
    const int C = of.C - (low && of.C > -128 ? 1 : 0) + (high && of.C < 127 ? 1 : 0);
    of = {A, low ? lowB : high ? highB : B, C, N};
}

/// A.5.1: the least k where N * 2^k reaches `sum`.
[[gnu::always_inline]] inline unsigned golombParameter(int N, int sum)
{
    const auto goal = static_cast<unsigned>(sum);
    const auto count = static_cast<unsigned>(N);
    const auto wide = static_cast<unsigned>(std::bit_width(goal));
    const auto narrow = static_cast<unsigned>(std::bit_width(count));
    const unsigned k = wide > narrow ? wide - narrow : 0;
    return count << k < goal ? k + 1 : k;
}

[[gnu::always_inline]] inline int clampedTo(int value, int least, int greatest)
{
    return value < least ? least : value > greatest ? greatest : value;
}

/// J of A.7.1.1.
unsigned segmentExponent(unsigned index)
{
    return index < 16 ? index / 4 : index < 24 ? 4 + (index - 16) / 2 : index - 16;
}

/// A line of one component, with the neighbours beyond its ends (A.2.2), and the one above it.
struct Lines
{
    void prepare(std::size_t width)
    {
        above.assign(width + 2, 0);
        here.assign(width + 2, 0);
        contexts.assign(width, 0);
        predictions.assign(width, 0);
    }

    // Index 0 is the sample before the first.
    std::vector<int> above;
    std::vector<int> here;
    std::vector<int> contexts;    ///< of A.3.4, negative where SIGN is -1
    std::vector<int> predictions; ///< of A.4.1
};

} // namespace

/// The work on one scan.
class Checker::Scan
{
public:
    bool
    carries(const ImageShape &shape, std::span<const std::byte> image, std::span<const std::byte> stream);

private:
    void prepare(const ImageShape &shape);
    [[gnu::always_inline]] inline void
    look(const ImageShape &shape, const ScanRules &rules, const std::byte *line);
    void lookAtLine(const ImageShape &shape, const ScanRules &rules, const std::byte *line);
    void lookAtLineAvx2(const ImageShape &shape, const ScanRules &rules, const std::byte *line);
    bool carriesLines(const ImageShape &shape, const ScanRules &rules, std::span<const std::byte> image);
    bool carriesLine(const ScanRules &rules, Lines &lines, unsigned &runIndex);
    bool carriesLineBySample(const ScanRules &rules, unsigned &runIndex);
    [[gnu::always_inline]] inline bool
    carriesSample(const ScanRules &rules, const Lines &lines, std::size_t x);
    bool carriesRun(const ScanRules &rules, std::span<Lines> together, std::size_t &x, unsigned &runIndex);
    bool carriesInterruption(
        const ScanRules &rules, const Lines &lines, std::size_t x, bool likeAbove, unsigned runIndex);
    std::optional<std::size_t> readRunLength(std::size_t most, unsigned &runIndex);
    [[gnu::always_inline]] inline std::optional<unsigned>
    readGolomb(unsigned k, unsigned limit, unsigned bits);

    ScanBits m_bits;
    std::array<Lines, 3> m_lines;
    std::array<Statistics, 365> m_regular{};
    std::array<RunStatistics, 2> m_interrupted{};
};

void Checker::Scan::prepare(const ImageShape &shape)
{
    for (unsigned component = 0; component < shape.components; ++component) {
        m_lines[component].prepare(shape.columns);
    }
    const int firstSum = ScanRules(shape.precision).firstSum;
    m_regular.fill({firstSum, 0, 0, 1});
    m_interrupted.fill({firstSum, 1, 0});
}

/// A.3.3
[[gnu::always_inline]] inline int region(int gradient, const ScanRules &rules)
{
    const int up = (gradient >= 1 ? 1 : 0) + (gradient >= rules.t1 ? 1 : 0) + (gradient >= rules.t2 ? 1 : 0) +
                   (gradient >= rules.t3 ? 1 : 0);
    const int down = (gradient <= -1 ? 1 : 0) + (gradient <= -rules.t1 ? 1 : 0) +
                     (gradient <= -rules.t2 ? 1 : 0) + (gradient <= -rules.t3 ? 1 : 0);
    return up - down;
}

void Checker::Scan::look(const ImageShape &shape, const ScanRules &rules, const std::byte *line)
{
    const std::size_t width = shape.columns;
    const std::size_t step = std::size_t{shape.components} * shape.bytesPerSample();
    for (unsigned component = 0; component < shape.components; ++component) {
        Lines &of = m_lines[component];
        of.above.swap(of.here);
        int *const here = of.here.data() + 1;
        const int *const above = of.above.data() + 1;
        const std::byte *const from = line + component * shape.bytesPerSample();
        if (shape.bytesPerSample() == 1) {
            for (std::size_t x = 0; x < width; ++x) {
                here[x] = std::to_integer<int>(from[x * step]);
            }
        } else {
            for (std::size_t x = 0; x < width; ++x) {
                here[x] = std::to_integer<int>(from[x * step]) | std::to_integer<int>(from[x * step + 1])
                                                                     << 8;
            }
        }
        here[-1] = above[0];
        here[width] = here[width - 1];
        int *const contexts = of.contexts.data();
        int *const predictions = of.predictions.data();
        for (std::size_t x = 0; x < width; ++x) {
            const int left = here[static_cast<std::ptrdiff_t>(x) - 1];
            const int top = above[x];
            const int corner = above[static_cast<std::ptrdiff_t>(x) - 1];
            contexts[x] = 81 * region(above[x + 1] - top, rules) + 9 * region(top - corner, rules) +
                          region(corner - left, rules);
            const int least = std::min(left, top);
            const int greatest = std::max(left, top);
            predictions[x] = corner >= greatest ? least : corner <= least ? greatest : left + top - corner;
        }
    }
}

void Checker::Scan::lookAtLine(const ImageShape &shape, const ScanRules &rules, const std::byte *line)
{
    look(shape, rules, line);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]]
#endif
void Checker::Scan::lookAtLineAvx2(const ImageShape &shape, const ScanRules &rules, const std::byte *line)
{
    look(shape, rules, line);
}

bool Checker::Scan::carries(const ImageShape &shape,
                            std::span<const std::byte> image,
                            std::span<const std::byte> stream)
{
    const ScanRules rules(shape.precision);
    const auto begin = headerEnd(shape, rules, stream);
    if (!begin) {
        return false;
    }
    const std::span<const std::byte> scan = stream.subspan(*begin);
    const auto end = m_bits.take(scan);
    if (!end || scan.size() - *end != 2 || scan[*end + 1] != std::byte{0xD9}) {
        return false;
    }
    prepare(shape);
    return carriesLines(shape, rules, image) && m_bits.isAtPadding();
}

bool Checker::Scan::carriesLines(const ImageShape &shape,
                                 const ScanRules &rules,
                                 std::span<const std::byte> image)
{
#if defined(__x86_64__)
    const bool hasAvx2 = __builtin_cpu_supports("avx2") != 0;
#else
    const bool hasAvx2 = false;
#endif
    std::array<unsigned, 3> runIndices{};
    const std::size_t stride = image.size() / shape.rows;
    for (std::size_t y = 0; y < shape.rows; ++y) {
        const std::byte *const line = image.data() + y * stride;
        if (hasAvx2) {
            lookAtLineAvx2(shape, rules, line);
        } else {
            lookAtLine(shape, rules, line);
        }
        if (shape.interleave == Interleave::sample) {
            if (!carriesLineBySample(rules, runIndices[0])) {
                return false;
            }
            continue;
        }
        for (unsigned component = 0; component < shape.components; ++component) {
            if (!carriesLine(rules, m_lines[component], runIndices[component])) {
                return false;
            }
        }
    }
    return true;
}

bool Checker::Scan::carriesLine(const ScanRules &rules, Lines &lines, unsigned &runIndex)
{
    const std::size_t width = lines.contexts.size();
    const int *const contexts = lines.contexts.data();
    for (std::size_t x = 0; x < width;) {
        if (contexts[x] != 0) {
            if (!carriesSample(rules, lines, x)) {
                return false;
            }
            ++x;
        } else if (!carriesRun(rules, std::span(&lines, 1), x, runIndex)) {
            return false;
        }
    }
    return true;
}

bool Checker::Scan::carriesLineBySample(const ScanRules &rules, unsigned &runIndex)
{
    const std::size_t width = m_lines[0].contexts.size();
    for (std::size_t x = 0; x < width;) {
        const bool isRun = std::ranges::all_of(m_lines, [x](const Lines &of) { return of.contexts[x] == 0; });
        if (isRun) {
            if (!carriesRun(rules, m_lines, x, runIndex)) {
                return false;
            }
            continue;
        }
        for (const Lines &lines : m_lines) {
            if (!carriesSample(rules, lines, x)) {
                return false;
            }
        }
        ++x;
    }
    return true;
}

bool Checker::Scan::carriesSample(const ScanRules &rules, const Lines &lines, std::size_t x)
{
    const int context = lines.contexts.data()[x];
    const int sign = context >> 31;
    Statistics &of = m_regular.data()[(context ^ sign) - sign];
    const int prediction = clampedTo(lines.predictions.data()[x] + ((of.C ^ sign) - sign), 0, rules.greatest);
    const unsigned k = golombParameter(of.N, of.A);
    const auto read = readGolomb(k, rules.limit, rules.bits);
    if (!read || *read >> rules.bits != 0) {
        return false;
    }
    const unsigned turned = k == 0 && 2 * of.B <= -of.N ? 1 : 0;
    const unsigned mapped = *read ^ turned;
    const int error = static_cast<int>(mapped >> 1U) ^ -static_cast<int>(mapped & 1U);
    const int sample = (prediction + ((error ^ sign) - sign)) & rules.greatest;
    if (sample != lines.here.data()[x + 1]) {
        return false;
    }
    learn(of, error);
    return true;
}

/// A.5.3. Nothing for what isn't, or isn't as short as it could be.
std::optional<unsigned> Checker::Scan::readGolomb(unsigned k, unsigned limit, unsigned bits)
{
    if (m_bits.isOverrun()) {
        return std::nullopt;
    }
    const std::uint64_t word = m_bits.next();
    const auto zeros = static_cast<unsigned>(std::countl_zero(word));
    const unsigned most = limit - bits - 1;
    unsigned value = 0;
    if (zeros < most && zeros + 1 + k <= 57) [[likely]] {
        value = static_cast<unsigned>(((word << zeros << 1U) >> 1U) >> (63U - k)) | zeros << k;
        m_bits.skip(zeros + 1 + k);
    } else if (zeros < most) {
        m_bits.skip(zeros + 1);
        value = static_cast<unsigned>((m_bits.next() >> 1U) >> (63U - k)) | zeros << k;
        m_bits.skip(k);
    } else {
        m_bits.skip(most + 1);
        value = static_cast<unsigned>(m_bits.next() >> (64U - bits)) + 1;
        m_bits.skip(bits);
        if (zeros != most || value >> k < most) {
            return std::nullopt;
        }
    }
    return value;
}

/// A run from `x` on, of one component or of all together, and what interrupts it.
bool Checker::Scan::carriesRun(const ScanRules &rules,
                               std::span<Lines> together,
                               std::size_t &x,
                               unsigned &runIndex)
{
    const std::size_t width = together[0].contexts.size();
    const auto length = readRunLength(width - x, runIndex);
    if (!length) {
        return false;
    }
    for (const Lines &lines : together) {
        const int *const here = lines.here.data() + 1 + x;
        const int left = here[-1];
        if (!std::all_of(here, here + *length, [left](int sample) { return sample == left; })) {
            return false;
        }
    }
    x += *length;
    if (x == width) {
        return true;
    }
    bool isLonger = true;
    for (const Lines &lines : together) {
        isLonger = isLonger && lines.here[x + 1] == lines.here[x];
    }
    if (isLonger) {
        return false;
    }
    for (const Lines &lines : together) {
        const bool likeAbove = together.size() == 1 && lines.here[x] == lines.above[x + 1];
        if (!carriesInterruption(rules, lines, x, likeAbove, runIndex)) {
            return false;
        }
    }
    runIndex -= runIndex > 0 ? 1U : 0U;
    ++x;
    return true;
}

/// A.7.1. Nothing for a run of more than `most`.
std::optional<std::size_t> Checker::Scan::readRunLength(std::size_t most, unsigned &runIndex)
{
    std::size_t length = 0;
    while (!m_bits.isOverrun()) {
        const std::uint64_t word = m_bits.next();
        const unsigned exponent = segmentExponent(runIndex);
        m_bits.skip(1);
        if (word >> 63U != 0) {
            const std::size_t segment = std::size_t{1} << exponent;
            if (segment > most - length) {
                return most;
            }
            length += segment;
            runIndex += runIndex < 31 ? 1U : 0U;
            if (length == most) {
                return length;
            }
            continue;
        }
        m_bits.skip(exponent);
        length += static_cast<std::size_t>(word << 1U >> 1U >> (63U - exponent));
        return length < most ? std::optional(length) : std::nullopt;
    }
    return std::nullopt;
}

/// A.7.2; `likeAbove` is RItype.
bool Checker::Scan::carriesInterruption(
    const ScanRules &rules, const Lines &lines, std::size_t x, bool likeAbove, unsigned runIndex)
{
    RunStatistics &of = m_interrupted[likeAbove ? 1 : 0];
    const int left = lines.here[x];
    const int top = lines.above[x + 1];
    const unsigned k = golombParameter(of.N, of.A + (likeAbove ? of.N / 2 : 0));
    const auto read = readGolomb(k, rules.limit - segmentExponent(runIndex) - 1, rules.bits);
    if (!read) {
        return false;
    }
    const int folded = static_cast<int>(*read) + (likeAbove ? 1 : 0);
    const int size = (folded + 1) / 2;
    // An odd one was mapped: to the sign that is the rarer so far, or to the negative one where k isn't 0.
    const bool negativeIsMapped = k != 0 || 2 * of.Nn >= of.N;
    const int error = (folded % 2 != 0) == negativeIsMapped ? -size : size;
    const int half = (rules.greatest + 1) / 2;
    if (error < -half || error >= half) {
        return false;
    }
    const int signedError = !likeAbove && left > top ? -error : error;
    const int prediction = likeAbove ? left : top;
    if (((prediction + signedError) & rules.greatest) != lines.here[x + 1]) {
        return false;
    }
    of.Nn += error < 0 ? 1 : 0;
    of.A += (static_cast<int>(*read) + (likeAbove ? 0 : 1)) >> 1;
    if (of.N == kHalving) {
        of.A >>= 1;
        of.N >>= 1;
        of.Nn >>= 1;
    }
    of.N += 1;
    return true;
}

Checker::Checker() : m_scan(std::make_unique<Scan>()) {}

Checker::~Checker() = default;

bool Checker::carries(const ImageShape &shape,
                      std::span<const std::byte> image,
                      std::span<const std::byte> stream)
{
    return shape.isCodable() && image.size() == shape.bytes() && m_scan->carries(shape, image, stream);
}

} // namespace gateway::dicom_helper::jpeg_ls

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

[[gnu::always_inline]] inline int clampedTo(int value, int least, int greatest)
{
    return value < least ? least : value > greatest ? greatest : value;
}

/// A.6
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
    int C = of.C + (high ? 1 : 0) - (low ? 1 : 0);
    if (C < -128 || C > 127) [[unlikely]] {
        C = of.C;
    }
    of = {A, clampedTo(B + (low ? N : 0) - (high ? N : 0), 1 - N, 0), C, N};
}

/// A.5.1: the least k where N * 2^k reaches `sum`.
[[gnu::always_inline]] inline unsigned golombParameter(int N, int sum)
{
    const auto goal = static_cast<unsigned>(sum);
    const auto count = static_cast<unsigned>(N);
    const int guess = std::max(0, std::countl_zero(count) - std::countl_zero(goal));
    return static_cast<unsigned>(guess) + (count << guess < goal ? 1U : 0U);
}

/// A Golomb code as it was read; without a length where it isn't one.
struct Code
{
    unsigned value;
    unsigned length;
};

/// A.5.3 where the code doesn't fit the bits that are at hand, or is cut off. Nothing is accepted that could
/// have been said shorter.
[[gnu::noinline]] Code longCode(BitCursor at, unsigned k, unsigned most, unsigned bits)
{
    const auto zeros = static_cast<unsigned>(std::countl_zero(at.next()));
    if (zeros < most) {
        const std::uint64_t behind = at.nextBehind(zeros + 1);
        return {static_cast<unsigned>((behind >> 1U) >> (63U - k)) | zeros << k, zeros + 1 + k};
    }
    const unsigned value = static_cast<unsigned>(at.nextBehind(most + 1) >> (64U - bits)) + 1;
    return {value, zeros == most && value >> k >= most ? most + 1 + bits : 0};
}

[[gnu::always_inline]] inline Code readCode(const BitCursor &at, unsigned k, unsigned most, unsigned bits)
{
    const std::uint64_t word = at.next();
    const auto zeros = static_cast<unsigned>(std::countl_zero(word));
    const unsigned length = zeros + 1 + k;
    if (zeros >= most || length > 57) [[unlikely]] {
        return longCode(at, k, most, bits);
    }
    // The marker bit among the k + 1 lowest is what one of the zeros counts for.
    return {static_cast<unsigned>(word >> (64U - length)) + ((zeros - 1U) << k), length};
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
    bool carriesLines(const ImageShape &shape, const ScanRules &rules, std::span<const std::byte> image);
    bool carriesLinesAvx2(const ImageShape &shape, const ScanRules &rules, std::span<const std::byte> image);
    [[gnu::always_inline]] inline bool
    carriesAll(const ImageShape &shape, const ScanRules &rules, std::span<const std::byte> image);
    [[gnu::always_inline]] inline bool
    look(const ImageShape &shape, const ScanRules &rules, const std::byte *line);
    [[gnu::always_inline]] inline bool carriesLine(const ScanRules &rules, Lines &lines, unsigned &runIndex);
    [[gnu::always_inline]] inline bool carriesLineBySample(const ScanRules &rules, unsigned &runIndex);
    [[gnu::always_inline]] inline bool
    carriesSample(const ScanRules &rules, const Lines &lines, std::size_t x, BitCursor &at);
    bool carriesRun(const ScanRules &rules, std::span<Lines> together, std::size_t &x, unsigned &runIndex);
    bool carriesInterruption(
        const ScanRules &rules, const Lines &lines, std::size_t x, bool likeAbove, unsigned runIndex);
    std::optional<std::size_t> readRunLength(std::size_t most, unsigned &runIndex);

    ScanBits m_bits;
    BitCursor m_at;
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

/// Reads every `step`th sample into `to`. \return all bits that any of them has
template <unsigned Width>
[[gnu::always_inline]] inline unsigned
readSamples(const std::byte *from, std::size_t step, std::size_t count, int *to)
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

/// A.3 and A.4.1
[[gnu::always_inline]] inline void describe(Lines &of, const ScanRules &given)
{
    const ScanRules rules = given; // which nothing below can change, as the compiler then sees
    const std::size_t width = of.contexts.size();
    const int *const here = of.here.data();
    const int *const above = of.above.data();
    int *const contexts = of.contexts.data();
    int *const predictions = of.predictions.data();
    for (std::size_t x = 0; x < width; ++x) {
        const int left = here[x];
        const int corner = above[x];
        const int top = above[x + 1];
        contexts[x] = 81 * region(above[x + 2] - top, rules) + 9 * region(top - corner, rules) +
                      region(corner - left, rules);
        const int least = std::min(left, top);
        const int greatest = std::max(left, top);
        predictions[x] = corner >= greatest ? least : corner <= least ? greatest : left + top - corner;
    }
}

/// \return false where a sample has more bits than the precision: no stream says that.
bool Checker::Scan::look(const ImageShape &shape, const ScanRules &rules, const std::byte *line)
{
    const std::size_t width = shape.columns;
    const std::size_t step = std::size_t{shape.components} * shape.bytesPerSample();
    unsigned used = 0;
    for (unsigned component = 0; component < shape.components; ++component) {
        Lines &of = m_lines[component];
        of.above.swap(of.here);
        int *const here = of.here.data() + 1;
        const std::byte *const from = line + component * shape.bytesPerSample();
        if (step == 1) {
            used |= readSamples<1>(from, 1, width, here);
        } else if (shape.bytesPerSample() == 1) {
            used |= readSamples<1>(from, step, width, here);
        } else {
            used |= readSamples<2>(from, step, width, here);
        }
        of.here[0] = of.above[1];
        of.here[width + 1] = of.here[width];
        describe(of, rules);
    }
    return used >> shape.precision == 0;
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
    m_at = m_bits.cursor();
    prepare(shape);
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi2") != 0) {
        return carriesLinesAvx2(shape, rules, image) && m_at.isAtPadding();
    }
#endif
    return carriesLines(shape, rules, image) && m_at.isAtPadding();
}

#if defined(__x86_64__)
[[gnu::target("avx2,bmi,bmi2,lzcnt")]]
#endif
bool Checker::Scan::carriesLinesAvx2(const ImageShape &shape,
                                     const ScanRules &rules,
                                     std::span<const std::byte> image)
{
    return carriesAll(shape, rules, image);
}

bool Checker::Scan::carriesLines(const ImageShape &shape,
                                 const ScanRules &rules,
                                 std::span<const std::byte> image)
{
    return carriesAll(shape, rules, image);
}

bool Checker::Scan::carriesAll(const ImageShape &shape,
                               const ScanRules &rules,
                               std::span<const std::byte> image)
{
    std::array<unsigned, 3> runIndices{};
    const std::size_t stride = image.size() / shape.rows;
    for (std::size_t y = 0; y < shape.rows; ++y) {
        if (!look(shape, rules, image.data() + y * stride)) {
            return false;
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
    std::size_t x = 0;
    while (x < width) {
        const ScanRules fixed = rules;
        BitCursor at = m_at;
        std::size_t here = x;
        for (; here < width && contexts[here] != 0; ++here) {
            if (!carriesSample(fixed, lines, here, at)) {
                return false;
            }
        }
        m_at = at;
        x = here;
        if (x < width && !carriesRun(rules, std::span(&lines, 1), x, runIndex)) {
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
            if (!carriesSample(rules, lines, x, m_at)) {
                return false;
            }
        }
        ++x;
    }
    return true;
}

/// Reads the error of a sample, which must be the one that leads to the image's.
bool Checker::Scan::carriesSample(const ScanRules &rules, const Lines &lines, std::size_t x, BitCursor &at)
{
    const int context = lines.contexts.data()[x];
    const int sign = context >> 31;
    Statistics &of = m_regular.data()[(context ^ sign) - sign];
    int prediction = lines.predictions.data()[x] + ((of.C ^ sign) - sign);
    if (prediction < 0 || prediction > rules.greatest) [[unlikely]] {
        prediction = prediction < 0 ? 0 : rules.greatest;
    }
    const int half = (rules.greatest >> 1) + 1;
    int wanted = ((lines.here.data()[x + 1] - prediction) ^ sign) - sign;
    if (wanted < -half || wanted >= half) [[unlikely]] {
        wanted += wanted < 0 ? 2 * half : -2 * half;
    }
    const unsigned k = golombParameter(of.N, of.A);
    const unsigned turned = k == 0 && 2 * of.B <= -of.N ? 1 : 0;
    learn(of, wanted);

    const Code code = readCode(at, k, rules.limit - rules.bits - 1, rules.bits);
    at.skip(code.length);
    const unsigned mapped = code.value ^ turned;
    const int error = static_cast<int>(mapped >> 1U) ^ -static_cast<int>(mapped & 1U);
    return error == wanted && code.length != 0 && !at.isOverrun();
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
    while (!m_at.isOverrun()) {
        const std::uint64_t word = m_at.next();
        const unsigned exponent = segmentExponent(runIndex);
        m_at.skip(1);
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
        m_at.skip(exponent);
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
    const Code code = readCode(m_at, k, rules.limit - segmentExponent(runIndex) - 2 - rules.bits, rules.bits);
    m_at.skip(code.length);
    if (code.length == 0 || m_at.isOverrun()) {
        return false;
    }
    const int folded = static_cast<int>(code.value) + (likeAbove ? 1 : 0);
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
    of.A += (static_cast<int>(code.value) + (likeAbove ? 0 : 1)) >> 1;
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

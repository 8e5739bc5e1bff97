#include "dicom_helper/jpeg_ls/checker.h"

#include "dicom_helper/jpeg_ls/checker_header.h"
#include "dicom_helper/jpeg_ls/checker_source.h"
#include "dicom_helper/jpeg_ls/checker_states.h"
#include "dicom_helper/jpeg_ls/scan_bits.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace gateway::dicom_helper::jpeg_ls {

namespace {

/// So many samples are looked at together, in whole lines: as many as the cache holds.
constexpr std::size_t kSamplesTogether = std::size_t{32} * 1024;

/// How many bits BitCursor has at hand.
constexpr unsigned kAtHand = 57;

/// The variables of a context of interrupted runs.
struct RunStatistics
{
    int A, N, Nn;
};

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
    if (zeros >= most || length > kAtHand) [[unlikely]] {
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

} // namespace

/// The work on one scan.
class Checker::Scan
{
public:
    bool carries(Instructions instructions,
                 const ImageShape &shape,
                 std::span<const std::byte> image,
                 std::span<const std::byte> stream);

private:
    void begin(const ImageShape &shape);
    bool carriesLines(std::span<const std::byte> image);
    bool carriesLinesAvx2(std::span<const std::byte> image);
    [[gnu::always_inline]] inline bool carriesAll(std::span<const std::byte> image);
    [[gnu::always_inline]] inline bool carriesSamples(std::size_t begin, std::size_t end);
    bool carriesRun(const SourceRun &run);
    bool carriesRunEnd(const RunEnd &end, bool likeAbove, unsigned runIndex);
    std::optional<std::size_t> readRunLength(std::size_t most, unsigned &runIndex);

    ImageShape m_shape;
    ScanRules m_rules{m_shape.precision};
    CheckerSource m_source;
    CheckerStates m_states;
    ScanBits m_bits;
    BitCursor m_at;
    std::array<RunStatistics, 2> m_interrupted{};
    std::array<unsigned, 3> m_runIndices{};
};

void Checker::Scan::begin(const ImageShape &shape)
{
    m_shape = shape;
    m_rules = ScanRules(shape.precision);
    m_source.begin(shape);
    m_states.begin(m_rules);
    m_at = m_bits.cursor();
    m_interrupted.fill({m_rules.firstSum, 1, 0});
    m_runIndices.fill(0);
}

bool Checker::Scan::carries(Instructions instructions,
                            const ImageShape &shape,
                            std::span<const std::byte> image,
                            std::span<const std::byte> stream)
{
    const auto headerSize = headerEnd(shape, ScanRules(shape.precision), stream);
    if (!headerSize) {
        return false;
    }
    const std::span<const std::byte> scan = stream.subspan(*headerSize);
    const auto end = m_bits.take(scan);
    if (!end || scan.size() - *end != 2 || scan[*end + 1] != std::byte{0xD9}) {
        return false;
    }
    begin(shape);
    return (instructions == Instructions::avx2 ? carriesLinesAvx2(image) : carriesLines(image)) &&
           m_at.isAtPadding();
}

bool Checker::Scan::carriesLines(std::span<const std::byte> image)
{
    return carriesAll(image);
}

#if defined(__x86_64__)
[[gnu::target("avx2,bmi,bmi2,lzcnt")]]
#endif
bool Checker::Scan::carriesLinesAvx2(std::span<const std::byte> image)
{
    return carriesAll(image);
}

bool Checker::Scan::carriesAll(std::span<const std::byte> image)
{
    const std::size_t stride = image.size() / m_shape.rows;
    const std::size_t together =
        std::max(std::size_t{1}, kSamplesTogether / (std::size_t{m_shape.columns} * m_shape.components));
    for (std::size_t y = 0; y < m_shape.rows;) {
        m_source.clear();
        const std::size_t end = std::min<std::size_t>(m_shape.rows, y + together);
        for (; y < end; ++y) {
            if (!m_source.addLine(image.data() + y * stride)) {
                return false;
            }
        }
        m_states.expect(m_source.contexts(), m_source.samples());
        std::size_t done = 0;
        for (const SourceRun &run : m_source.runs()) {
            if (!carriesSamples(done, run.at) || !carriesRun(run)) {
                return false;
            }
            done = run.at;
        }
        if (!carriesSamples(done, m_source.contexts().size())) {
            return false;
        }
    }
    return true;
}

/// Reads the errors of some samples of the regular mode, which must be those that lead to the image's.
///
/// Code words are a prefix code: from bits that begin with the word of an error a decoder reads that error,
/// and from no others. Where the next word begins is where the last one ended, if it was right; so it is
/// reckoned by the words that must come, and nothing waits for the bits before.
bool Checker::Scan::carriesSamples(std::size_t begin, std::size_t end)
{
    const unsigned bits = m_rules.bits;
    const unsigned most = m_rules.limit - bits - 1;
    BitCursor at = m_at;
    std::uint64_t wrong = 0;
    for (std::size_t i = begin; i < end; ++i) {
        const ExpectedCode expected = m_states.code(i);
        if (expected.isOrdinary()) [[likely]] {
            wrong |= at.next() >> (64U - expected.length()) ^ expected.word();
            at.skip(expected.length());
        } else {
            const Code code = longCode(at, expected.k(), most, bits);
            if (code.length == 0 || code.value != expected.mapped()) {
                return false;
            }
            at.skip(code.length);
        }
        if (at.isOverrun()) [[unlikely]] {
            return false;
        }
    }
    m_at = at;
    return wrong == 0;
}

/// What a run's code words say, and that it ends there.
bool Checker::Scan::carriesRun(const SourceRun &run)
{
    unsigned &runIndex = m_runIndices[run.component];
    if (readRunLength(run.most, runIndex) != run.length) {
        return false;
    }
    const auto ends = std::span(run.ends).first(run.endCount);
    for (const RunEnd &end : ends) {
        const bool likeAbove = ends.size() == 1 && end.left == end.top;
        if (!carriesRunEnd(end, likeAbove, runIndex)) {
            return false;
        }
    }
    runIndex -= !ends.empty() && runIndex > 0 ? 1U : 0U;
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
bool Checker::Scan::carriesRunEnd(const RunEnd &end, bool likeAbove, unsigned runIndex)
{
    RunStatistics &of = m_interrupted[likeAbove ? 1 : 0];
    const unsigned k = golombParameter(of.N, of.A + (likeAbove ? of.N / 2 : 0));
    const Code code =
        readCode(m_at, k, m_rules.limit - segmentExponent(runIndex) - 2 - m_rules.bits, m_rules.bits);
    m_at.skip(code.length);
    if (code.length == 0 || m_at.isOverrun()) {
        return false;
    }
    const int folded = static_cast<int>(code.value) + (likeAbove ? 1 : 0);
    const int size = (folded + 1) / 2;
    // An odd one was mapped: to the sign that is the rarer so far, or to the negative one where k isn't 0.
    const bool negativeIsMapped = k != 0 || 2 * of.Nn >= of.N;
    const int error = (folded % 2 != 0) == negativeIsMapped ? -size : size;
    const int half = (m_rules.greatest + 1) / 2;
    if (error < -half || error >= half) {
        return false;
    }
    const int signedError = !likeAbove && end.left > end.top ? -error : error;
    const int prediction = likeAbove ? end.left : end.top;
    if (((prediction + signedError) & m_rules.greatest) != end.sample) {
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

Checker::Checker(Instructions instructions) : m_instructions(instructions), m_scan(std::make_unique<Scan>())
{
}

Checker::~Checker() = default;

bool Checker::carries(const ImageShape &shape,
                      std::span<const std::byte> image,
                      std::span<const std::byte> stream)
{
    return shape.isCodable() && image.size() == shape.bytes() &&
           m_scan->carries(m_instructions, shape, image, stream);
}

} // namespace gateway::dicom_helper::jpeg_ls

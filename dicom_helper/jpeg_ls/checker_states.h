#pragma once

#include "dicom_helper/jpeg_ls/checker_header.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <vector>

// What takes or returns vectors is always inlined, so how they would be passed doesn't matter.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace gateway::dicom_helper::jpeg_ls {

/// How often a context is met before it is halved: RESET.
constexpr int kHalving = 64;

/// The code word of the regular mode that must come (A.5.3): in full where it is an ordinary one, of
/// kMostZeros and fewer, or as what a decoder makes of it.
class ExpectedCode
{
public:
    /// \param cell  a length of 8 bits above a word of 24; without a length k of 7 bits above MErrval of 17
    explicit ExpectedCode(std::uint32_t cell) : m_cell(cell) {}

    static constexpr unsigned kMostZeros = 40; ///< with the marker bit and k bits, 16 at most: 57

    bool isOrdinary() const { return m_cell >> 24U != 0; }

    unsigned length() const { return m_cell >> 24U; }

    unsigned word() const { return m_cell & 0xFFFFFFU; }

    unsigned k() const { return m_cell >> 17U; }

    unsigned mapped() const { return m_cell & 0x1FFFFU; }

private:
    std::uint32_t m_cell;
};

/// What the contexts of the regular mode say about samples that are known (ISO/IEC 14495-1 A.4.2 to A.6).
///
/// The state of a context depends on its own samples only. So the samples of each are put into a column,
/// eight columns of like length side by side, and a table of such columns is worked down row by row. Thread:
/// any, one at a time.
class CheckerStates
{
public:
    /// Begins with an image of which nothing was taken.
    void begin(const ScanRules &rules)
    {
        m_rules = rules;
        m_states.fill({rules.firstSum, 0, 0, 1});
    }

    /// Takes the next samples, as CheckerSource tells them.
    [[gnu::always_inline]] inline void expect(std::span<const std::uint16_t> contexts,
                                              std::span<const std::uint32_t> samples);

    /// The code word of one of those that were taken last.
    [[gnu::always_inline]] ExpectedCode code(std::size_t i) const
    {
        return ExpectedCode(m_cells.data()[m_places.data()[i]]);
    }

private:
    static constexpr std::size_t kColumns = 8;
    static constexpr std::size_t kContextCount = 365;

    using Row [[gnu::vector_size(32)]] = std::int32_t;
    using UnsignedRow [[gnu::vector_size(32)]] = std::uint32_t;
    using FloatRow [[gnu::vector_size(32)]] = float;
    using Counts = std::array<std::uint32_t, kContextCount>;

    /// The variables of a context (A.2.1).
    struct Statistics
    {
        int A, B, C, N;
    };

    /// The contexts of a table's columns, the longest first. Those that are missing have no rows.
    struct Table
    {
        std::size_t begin; ///< its first cell
        std::array<std::uint16_t, kColumns> contexts{};
        std::array<std::size_t, kColumns> rows{};
    };

    /// The states of a row.
    struct Rows
    {
        Row A, B, C, N;
    };

    /// About half, and not such that both parts fall on the same lines of the cache.
    static std::size_t partOf(std::size_t size) { return size < 2048 ? size / 2 : size / 2 - 544; }

    inline void layOut(const Counts &counts);
    [[gnu::always_inline]] inline void fill(std::span<const std::uint16_t> contexts,
                                            std::span<const std::uint32_t> samples);
    [[gnu::always_inline]] inline void workDown(const Table &table);
    [[gnu::always_inline]] inline void
    workRows(Rows &state, std::uint32_t *begin, const std::uint32_t *end) const;
    [[gnu::always_inline]] inline Row cellOf(const Row &mapped, const Row &k) const;
    [[gnu::always_inline]] static inline void learn(Rows &of, const Row &error);

    template <typename V>
    [[gnu::always_inline]] static V loaded(const void *from)
    {
        V value;
        std::memcpy(&value, from, sizeof value);
        return value;
    }

    ScanRules m_rules{8};
    std::array<Statistics, kContextCount> m_states{};
    std::vector<std::uint32_t> m_cells;
    std::vector<std::uint32_t> m_places; // where each sample's cell is
    std::vector<Table> m_tables;
    std::array<Counts, 2> m_next{}; // of each part of the samples: how many, then where the next one goes
};

/// Decides where each context's column is.
void CheckerStates::layOut(const Counts &counts)
{
    std::array<std::uint64_t, kContextCount> order{};
    for (std::size_t context = 0; context < kContextCount; ++context) {
        order[context] = std::uint64_t{counts[context]} << 16U | context;
    }
    std::ranges::sort(order, std::greater());
    m_tables.clear();
    std::size_t end = 0;
    for (std::size_t i = 0; i < kContextCount && order[i] >> 16U != 0; i += kColumns) {
        Table table{.begin = end};
        for (std::size_t column = 0; column < std::min(kColumns, kContextCount - i); ++column) {
            const auto context = static_cast<std::uint16_t>(order[i + column] & 0xFFFFU);
            table.contexts[column] = context;
            table.rows[column] = order[i + column] >> 16U;
            const auto top = static_cast<std::uint32_t>(end + column);
            m_next[1][context] = top + m_next[0][context] * static_cast<std::uint32_t>(kColumns);
            m_next[0][context] = top;
        }
        end += table.rows[0] * kColumns;
        m_tables.push_back(table);
    }
    if (end > m_cells.size()) {
        m_cells.resize(end);
    }
}

void CheckerStates::fill(std::span<const std::uint16_t> contexts, std::span<const std::uint32_t> samples)
{
    std::uint32_t *const cells = m_cells.data();
    std::uint32_t *const places = m_places.data();
    const auto put = [&](std::size_t i, Counts &next) {
        std::uint32_t &place = next.data()[contexts.data()[i]];
        cells[place] = samples.data()[i];
        places[i] = place;
        place += kColumns;
    };
    const std::size_t part = partOf(contexts.size());
    for (std::size_t i = 0; i < part; ++i) {
        put(i, m_next[0]);
        put(part + i, m_next[1]);
    }
    for (std::size_t i = 2 * part; i < contexts.size(); ++i) {
        put(i, m_next[1]);
    }
}

void CheckerStates::expect(std::span<const std::uint16_t> contexts, std::span<const std::uint32_t> samples)
{
    // Two parts in turns: what was just counted up is slow to read, and neighbours often share a context.
    m_next[0].fill(0);
    m_next[1].fill(0);
    const std::size_t part = partOf(contexts.size());
    for (std::size_t i = 0; i < part; ++i) {
        ++m_next[0].data()[contexts.data()[i]];
        ++m_next[1].data()[contexts.data()[part + i]];
    }
    for (std::size_t i = 2 * part; i < contexts.size(); ++i) {
        ++m_next[1].data()[contexts.data()[i]];
    }
    Counts counts{};
    for (std::size_t context = 0; context < kContextCount; ++context) {
        counts[context] = m_next[0][context] + m_next[1][context];
    }
    layOut(counts);
    if (contexts.size() > m_places.size()) {
        m_places.resize(contexts.size());
    }
    fill(contexts, samples);
    for (const Table &table : m_tables) {
        workDown(table);
    }
}

void CheckerStates::workDown(const Table &table)
{
    std::array<std::array<int, kColumns>, 4> states{};
    for (std::size_t column = 0; column < kColumns; ++column) {
        const Statistics &of = m_states[table.contexts[column]];
        states[0][column] = of.A;
        states[1][column] = of.B;
        states[2][column] = of.C;
        states[3][column] = of.N;
    }
    Rows rows{loaded<Row>(states[0].data()),
              loaded<Row>(states[1].data()),
              loaded<Row>(states[2].data()),
              loaded<Row>(states[3].data())};
    std::uint32_t *const begin = m_cells.data() + table.begin;
    std::size_t done = 0;
    // The last column is the shortest: when it ends, its state is what its context keeps.
    for (std::size_t column = kColumns; column-- > 0;) {
        const std::size_t end = table.rows[column];
        if (end == 0) {
            continue;
        }
        workRows(rows, begin + done * kColumns, begin + end * kColumns);
        done = end;
        m_states[table.contexts[column]] = {rows.A[column], rows.B[column], rows.C[column], rows.N[column]};
    }
}

void CheckerStates::workRows(Rows &state, std::uint32_t *begin, const std::uint32_t *end) const
{
    Rows of = state;
    const int greatest = m_rules.greatest;
    const int half = (greatest + 1) / 2;
    for (std::uint32_t *at = begin; at != end; at += kColumns) {
        const auto cell = loaded<Row>(at);
        // A.4.2 of an image that is negative where SIGN is.
        const Row moved = (cell & 0xFFFF) + of.C;
        const Row above = moved < 0 ? Row{} : moved;
        const Row prediction = above > greatest ? Row{} + greatest : above;
        // A.4.5, where RANGE is a power of two.
        const Row difference = ((cell >> 16) & 0xFFFF) - prediction;
        const Row error = ((difference + half) & greatest) - half;
        // A.5.1: A/N is exact where it is a power of two, and never rounds to one from above.
        const FloatRow ratio =
            __builtin_convertvector(of.A, FloatRow) / __builtin_convertvector(of.N, FloatRow);
        const Row exponent = ((Row(ratio) + 0x7FFFFF) >> 23) - 127;
        const Row k = exponent < 0 ? Row{} : exponent;
        // A.5.2
        const Row isTurned = (k == 0) & (of.B + of.B <= -of.N);
        const Row folded = error < 0 ? -2 * error - 1 : 2 * error;
        const Row mapped = folded ^ (isTurned & 1);
        const Row expected = cellOf(mapped, k);
        std::memcpy(at, &expected, sizeof expected);
        learn(of, error);
    }
    state = of;
}

/// A.5.3: as many zeros as the mapped error has above its k lowest bits, a marker bit, those k bits.
CheckerStates::Row CheckerStates::cellOf(const Row &mapped, const Row &k) const
{
    const auto zeros = Row(UnsignedRow(mapped) >> UnsignedRow(k));
    const Row marker = (Row{} + 1) << k;
    const Row word = (mapped & (marker - 1)) | marker;
    const Row ordinary = (zeros + k + 1) << 24 | word;
    const unsigned most = std::min(m_rules.limit - m_rules.bits - 1, ExpectedCode::kMostZeros + 1);
    return zeros < static_cast<int>(most) ? ordinary : (k << 17 | mapped);
}

/// A.6
void CheckerStates::learn(Rows &of, const Row &error)
{
    const Row A = of.A + (error < 0 ? -error : error);
    const Row B = of.B + error;
    const Row isHalved = of.N == kHalving;
    of.A = isHalved ? A >> 1 : A;
    of.N = (isHalved ? of.N >> 1 : of.N) + 1;
    const Row sum = isHalved ? B >> 1 : B;
    const Row isLow = sum <= -of.N;
    const Row isHigh = sum > 0;
    const Row returned = sum + (isLow & of.N) - (isHigh & of.N);
    const Row aboveLeast = returned < 1 - of.N ? 1 - of.N : returned;
    of.B = aboveLeast > 0 ? Row{} : aboveLeast;
    const Row corrected = of.C + isLow - isHigh; // a mask is -1
    const Row notTooLow = corrected < -128 ? Row{} - 128 : corrected;
    of.C = notTooLow > 127 ? Row{} + 127 : notTooLow;
}

} // namespace gateway::dicom_helper::jpeg_ls

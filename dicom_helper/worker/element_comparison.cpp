#include "dicom_helper/worker/element_comparison.h"

#include "dicom_helper/worker/fragments.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

namespace gateway::dicom_helper::worker {

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;
constexpr Vr kUnknown = vr('U', 'N');

/// The value representations in which padding at the end says nothing (PS3.5 6.2); in all others a zero or a
/// space is a part of the value.
constexpr std::array kTexts{vr('A', 'E'),
                            vr('A', 'S'),
                            vr('C', 'S'),
                            vr('D', 'A'),
                            vr('D', 'S'),
                            vr('D', 'T'),
                            vr('I', 'S'),
                            vr('L', 'O'),
                            vr('L', 'T'),
                            vr('P', 'N'),
                            vr('S', 'H'),
                            vr('S', 'T'),
                            vr('T', 'M'),
                            vr('U', 'C'),
                            vr('U', 'I'),
                            vr('U', 'R'),
                            vr('U', 'T')};

struct Number
{
    Vr representation;
    std::size_t bytes;
};

/// The representations whose values are turned around in big endian (PS3.5 7.3).
constexpr std::array kNumbers{Number{vr('A', 'T'), 2},
                              Number{vr('O', 'W'), 2},
                              Number{vr('S', 'S'), 2},
                              Number{vr('U', 'S'), 2},
                              Number{vr('F', 'L'), 4},
                              Number{vr('O', 'F'), 4},
                              Number{vr('O', 'L'), 4},
                              Number{vr('S', 'L'), 4},
                              Number{vr('U', 'L'), 4},
                              Number{vr('F', 'D'), 8},
                              Number{vr('O', 'D'), 8},
                              Number{vr('O', 'V'), 8},
                              Number{vr('S', 'V'), 8},
                              Number{vr('U', 'V'), 8}};

bool isText(Vr of)
{
    return std::ranges::find(kTexts, of) != kTexts.end();
}

std::size_t bytesOfNumber(Vr of)
{
    const auto *const found = std::ranges::find(kNumbers, of, &Number::representation);
    return found == kNumbers.end() ? 1 : found->bytes;
}

bool saysNothing(Vr of)
{
    return of == 0 || of == kUnknown;
}

/// False where the same bytes would be two values.
bool sameRepresentation(const PlacedElement &one, const PlacedElement &other)
{
    const Vr first = one.element.vr;
    const Vr second = other.element.vr;
    const auto isBytesOrWords = [](Vr of) { return of == vr('O', 'B') || of == vr('O', 'W'); };
    const bool bothBigEndian = one.bigEndian && other.bigEndian;
    return first == second || saysNothing(first) || saysNothing(second) ||
           (isText(first) && isText(second)) ||
           (isBytesOrWords(first) && isBytesOrWords(second) && !bothBigEndian);
}

/// How long a value is without the padding that a text may have at its end.
std::uint64_t lengthWithoutPadding(const PlacedElement &of)
{
    std::uint64_t length = of.element.length;
    std::array<std::byte, 1> last{};
    while (length > 0 && of.bytes.read(of.element.valueOffset + length - 1, last) == 1 &&
           (last[0] == std::byte{0} || last[0] == std::byte{' '}) && of.element.length - length < 2) {
        --length;
    }
    return length;
}

/// Writes each number of so many bytes the other way around.
void turn(std::span<std::byte> numbers, std::size_t bytes)
{
    for (; numbers.size() >= bytes; numbers = numbers.subspan(bytes)) {
        std::ranges::reverse(numbers.first(bytes));
    }
}

/// \param turned  numbers of so many bytes are written the other way around in `other`.
bool sameBytes(const Place &one, const Place &other, std::uint64_t size, std::size_t turned = 1)
{
    std::vector<std::byte> first(static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, size)));
    std::vector<std::byte> second(first.size());
    for (std::uint64_t done = 0; done < size; done += first.size()) {
        first.resize(static_cast<std::size_t>(std::min<std::uint64_t>(first.size(), size - done)));
        second.resize(first.size());
        if (one.bytes.read(one.offset + done, first) != first.size() ||
            other.bytes.read(other.offset + done, second) != second.size()) {
            return false;
        }
        if (turned > 1) {
            turn(second, turned);
        }
        if (first != second) {
            return false;
        }
    }
    return true;
}

} // namespace

bool sameRest(const Place &one, const Place &other)
{
    const std::uint64_t size = one.bytes.size() - std::min(one.offset, one.bytes.size());
    return size == other.bytes.size() - std::min(other.offset, other.bytes.size()) &&
           sameBytes(one, other, size);
}

bool sameValue(const PlacedElement &one, const PlacedElement &other)
{
    if (!sameRepresentation(one, other)) {
        return false;
    }
    // One of the two may not say its representation: the other's holds for both.
    const Vr told = saysNothing(one.element.vr) ? other.element.vr : one.element.vr;
    const std::uint64_t length = isText(told) ? lengthWithoutPadding(one) : one.element.length;
    if (length != (isText(told) ? lengthWithoutPadding(other) : other.element.length)) {
        return false;
    }
    const Vr inBigEndian = one.bigEndian ? one.element.vr : other.element.vr;
    const std::size_t turned = one.bigEndian == other.bigEndian ? 1 : bytesOfNumber(inBigEndian);
    return length % turned == 0 && sameBytes({one.bytes, one.element.valueOffset},
                                             {other.bytes, other.element.valueOffset},
                                             length,
                                             turned);
}

bool sameFragments(const PlacedElement &one, const PlacedElement &other)
{
    Fragments left(one.bytes, one.element.valueOffset);
    Fragments right(other.bytes, other.element.valueOffset);
    const auto same = [&](const Fragments::Fragment &a, const Fragments::Fragment &b) {
        return a.length == b.length && sameBytes({one.bytes, a.value}, {other.bytes, b.value}, a.length);
    };
    if (!left.table() || !right.table() ||
        (left.table()->length > 0 && right.table()->length > 0 && !same(*left.table(), *right.table()))) {
        return false;
    }
    for (;;) {
        const auto a = left.next();
        const auto b = right.next();
        if (!a || !b) {
            return !a && !b;
        }
        if (!same(*a, *b)) {
            return false;
        }
    }
}

} // namespace gateway::dicom_helper::worker

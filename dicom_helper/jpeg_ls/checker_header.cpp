#include "dicom_helper/jpeg_ls/checker_header.h"

#include <initializer_list>

namespace gateway::dicom_helper::jpeg_ls {

namespace {

/// The basic thresholds are made for 8 bits and grow with the range, up to 12 bits; below 8 bits they shrink,
/// but stay 2, 3 and 4 as long as MAXVAL allows.
int threshold(int basic, int least, unsigned precision)
{
    if (precision >= 8) {
        const int factor = precision >= 12 ? 16 : 1 << (precision - 8);
        return least + factor * (basic - least);
    }
    const int shrunk = basic >> (8U - precision);
    return shrunk > least ? shrunk : least;
}

class HeaderReader
{
public:
    explicit HeaderReader(std::span<const std::byte> stream) : m_stream(stream) {}

    bool hasBytes(std::initializer_list<unsigned> wanted)
    {
        for (const unsigned byte : wanted) {
            if (m_at >= m_stream.size() || std::to_integer<unsigned>(m_stream[m_at]) != byte) {
                return false;
            }
            ++m_at;
        }
        return true;
    }

    bool hasWords(std::initializer_list<unsigned> wanted)
    {
        for (const unsigned word : wanted) {
            if (!hasBytes({word / 256, word % 256})) {
                return false;
            }
        }
        return true;
    }

    std::size_t at() const { return m_at; }

private:
    std::span<const std::byte> m_stream;
    std::size_t m_at = 0;
};

bool hasFrame(HeaderReader &reader, const ImageShape &shape)
{
    bool right = reader.hasWords({0xFFF7, 8 + 3 * shape.components}) && reader.hasBytes({shape.precision}) &&
                 reader.hasWords({shape.rows, shape.columns}) && reader.hasBytes({shape.components});
    for (unsigned i = 1; i <= shape.components; ++i) {
        right = right && reader.hasBytes({i, 0x11, 0});
    }
    return right;
}

bool hasPresets(HeaderReader &reader, const ScanRules &rules)
{
    return reader.hasWords({0xFFF8, 13}) && reader.hasBytes({1}) &&
           reader.hasWords({static_cast<unsigned>(rules.greatest),
                            static_cast<unsigned>(rules.t1),
                            static_cast<unsigned>(rules.t2),
                            static_cast<unsigned>(rules.t3),
                            64});
}

bool hasScan(HeaderReader &reader, const ImageShape &shape)
{
    bool right = reader.hasWords({0xFFDA, 6 + 2 * shape.components}) && reader.hasBytes({shape.components});
    for (unsigned i = 1; i <= shape.components; ++i) {
        right = right && reader.hasBytes({i, 0});
    }
    return right && reader.hasBytes({0, static_cast<unsigned>(shape.interleave), 0});
}

} // namespace

ScanRules::ScanRules(unsigned precision)
    : greatest(static_cast<int>((1U << precision) - 1)), t1(threshold(3, 2, precision)),
      t2(threshold(7, 3, precision)), t3(threshold(21, 4, precision)),
      firstSum(precision <= 7 ? 2 : 1 << (precision - 6)), bits(precision),
      limit(precision <= 8 ? 2 * precision + 16 : 4 * precision)
{
    // A threshold that MAXVAL can't reach is as good as the one before it.
    t2 = t2 > greatest ? t1 : t2;
    t3 = t3 > greatest ? t2 : t3;
}

std::optional<std::size_t>
headerEnd(const ImageShape &shape, const ScanRules &rules, std::span<const std::byte> stream)
{
    HeaderReader reader(stream);
    const bool right = reader.hasWords({0xFFD8}) && hasFrame(reader, shape) &&
                       (shape.precision <= 12 || hasPresets(reader, rules)) && hasScan(reader, shape);
    return right ? std::optional(reader.at()) : std::nullopt;
}

} // namespace gateway::dicom_helper::jpeg_ls

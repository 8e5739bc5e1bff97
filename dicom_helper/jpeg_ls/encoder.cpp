#include "dicom_helper/jpeg_ls/encoder.h"

#include "dicom_helper/jpeg_ls/batch_coder.h"
#include "dicom_helper/jpeg_ls/line_coder.h"
#include "dicom_helper/jpeg_ls/neighbourhood.h"
#include "dicom_helper/jpeg_ls/stream_header.h"

#include <bit>
#include <cstring>

namespace gateway::dicom_helper::jpeg_ls {

namespace {

/// So many samples are coded together, in whole lines: enough for even lanes, few enough for the cache.
constexpr std::size_t kSamplesTogether = 32 * 1024;

/// The samples of one component out of a line of pixels. \return all bits that are set in any of them
template <typename Sample>
[[gnu::always_inline]] inline unsigned
loadSamples(const std::byte *from, std::size_t stride, std::size_t width, unsigned zero, std::int16_t *to)
{
    unsigned used = 0;
    for (std::size_t i = 0; i < width; ++i) {
        Sample sample = 0;
        std::memcpy(&sample, from + i * stride * sizeof(Sample), sizeof sample);
        if constexpr (std::endian::native == std::endian::big && sizeof(Sample) == 2) {
            sample = __builtin_bswap16(sample);
        }
        used |= sample;
        to[i] = static_cast<std::int16_t>(sample - zero);
    }
    return used;
}

/// Copies what is coded to where it belongs, as long as there is room.
class Output
{
public:
    explicit Output(std::span<std::byte> to) : m_to(to) {}

    bool add(const std::uint8_t *bytes, std::size_t size)
    {
        if (size > m_to.size() - m_size) {
            return false;
        }
        std::memcpy(m_to.data() + m_size, bytes, size);
        m_size += size;
        return true;
    }

    std::size_t size() const { return m_size; }

private:
    std::span<std::byte> m_to;
    std::size_t m_size = 0;
};

} // namespace

/// The buffers of a scan, and the work on one.
class Encoder::Scan
{
public:
    bool
    encode(Instructions instructions, const ImageShape &shape, std::span<const std::byte> image, Output &to);

private:
    void prepare(const ImageShape &shape);
    bool encodeBaseline(const ImageShape &shape,
                        const CodingParameters &parameters,
                        std::span<const std::byte> image,
                        Output &to);
    bool encodeAvx2(const ImageShape &shape,
                    const CodingParameters &parameters,
                    std::span<const std::byte> image,
                    Output &to);

    template <int Bytes>
    [[gnu::always_inline]] inline bool encodeLines(const ImageShape &shape,
                                                   const CodingParameters &parameters,
                                                   std::span<const std::byte> image,
                                                   Output &to);

    template <int Bytes>
    [[gnu::always_inline]] inline void
    addLine(const ImageShape &shape, const Neighbourhood<Bytes> &neighbourhood, LineCoder &coder);

    [[gnu::always_inline]] inline unsigned load(const ImageShape &shape, const std::byte *line);

    std::array<ComponentLines, 3> m_lines;
    std::array<std::unique_ptr<LineAnalysis>, 3> m_analyses;
    CodedSamples m_samples;
    BatchBuffers m_buffers;
    std::size_t m_linesTogether = 1;
    std::vector<std::uint8_t> m_coded;
};

void Encoder::Scan::prepare(const ImageShape &shape)
{
    const auto zero = static_cast<std::int16_t>(shape.precision == 16 ? INT16_MIN : 0);
    for (unsigned component = 0; component < shape.components; ++component) {
        m_lines[component].current.prepare(shape.columns, zero);
        m_lines[component].previous.prepare(shape.columns, zero);
        m_lines[component].gradients.prepare(shape.columns);
        m_lines[component].newGradients.prepare(shape.columns);
        if (!m_analyses[component]) {
            m_analyses[component] = std::make_unique_for_overwrite<LineAnalysis>();
        }
    }
    const std::size_t line = std::size_t{shape.columns} * shape.components;
    m_linesTogether = std::max(std::size_t{1}, kSamplesTogether / line);
    m_samples.prepare(line * m_linesTogether);
    m_coded.resize(m_samples.room() * 9 + 16);
}

unsigned Encoder::Scan::load(const ImageShape &shape, const std::byte *line)
{
    unsigned used = 0;
    const std::size_t width = shape.columns;
    for (unsigned component = 0; component < shape.components; ++component) {
        ComponentLines &of = m_lines[component];
        of.current.swap(of.previous);
        of.gradients.swap(of.newGradients);
        std::int16_t *samples = of.current.data();
        if (shape.bytesPerSample() == 1) {
            used |= loadSamples<std::uint8_t>(line + component, shape.components, width, 0, samples);
        } else {
            const unsigned zero = shape.precision == 16 ? 0x8000U : 0U;
            used |= loadSamples<std::uint16_t>(line + 2 * component, shape.components, width, zero, samples);
        }
        // A.2.2: the neighbours beyond the line's ends.
        samples[-1] = of.previous.data()[0];
        samples[width] = samples[width - 1];
    }
    return used;
}

template <int Bytes>
void Encoder::Scan::addLine(const ImageShape &shape,
                            const Neighbourhood<Bytes> &neighbourhood,
                            LineCoder &coder)
{
    for (unsigned component = 0; component < shape.components; ++component) {
        neighbourhood.analyse(m_lines[component], shape.columns, *m_analyses[component]);
        if (shape.interleave != Interleave::sample) {
            coder.code(m_lines[component], *m_analyses[component], shape.columns, component);
        }
    }
    if (shape.interleave == Interleave::sample) {
        coder.codeBySample(
            m_lines, {m_analyses[0].get(), m_analyses[1].get(), m_analyses[2].get()}, shape.columns);
    }
}

template <int Bytes>
bool Encoder::Scan::encodeLines(const ImageShape &shape,
                                const CodingParameters &parameters,
                                std::span<const std::byte> image,
                                Output &to)
{
    const Neighbourhood<Bytes> neighbourhood(parameters);
    ScanContexts contexts(parameters);
    LineCoder lineCoder(parameters, contexts, m_samples);
    BatchCoder<Bytes> coder(parameters, m_buffers);
    BitWriter writer;
    const std::size_t stride = image.size() / shape.rows;
    for (std::size_t row = 0; row < shape.rows;) {
        m_samples.clear();
        const std::size_t end = std::min<std::size_t>(shape.rows, row + m_linesTogether);
        for (; row < end; ++row) {
            if (load(shape, image.data() + row * stride) >> shape.precision != 0) {
                throw ImageError("a sample has more bits than the precision");
            }
            addLine<Bytes>(shape, neighbourhood, lineCoder);
        }
        writer.writeTo(m_coded.data());
        coder.code(m_samples, contexts, writer);
        if (row == shape.rows) {
            writer.finish();
        }
        if (!to.add(m_coded.data(), static_cast<std::size_t>(writer.end() - m_coded.data()))) {
            return false;
        }
    }
    return true;
}

bool Encoder::Scan::encodeBaseline(const ImageShape &shape,
                                   const CodingParameters &parameters,
                                   std::span<const std::byte> image,
                                   Output &to)
{
    return encodeLines<16>(shape, parameters, image, to);
}

#if defined(__x86_64__)
[[gnu::target("avx2,bmi,bmi2,lzcnt")]]
#endif
bool Encoder::Scan::encodeAvx2(const ImageShape &shape,
                               const CodingParameters &parameters,
                               std::span<const std::byte> image,
                               Output &to)
{
    return encodeLines<32>(shape, parameters, image, to);
}

bool Encoder::Scan::encode(Instructions instructions,
                           const ImageShape &shape,
                           std::span<const std::byte> image,
                           Output &to)
{
    const CodingParameters parameters(shape.precision);
    prepare(shape);
    const std::vector<std::uint8_t> header = streamHeader(shape, parameters);
    constexpr std::array<std::uint8_t, 2> kEoi{0xFF, 0xD9};
    return to.add(header.data(), header.size()) &&
           (instructions == Instructions::avx2 ? encodeAvx2(shape, parameters, image, to)
                                               : encodeBaseline(shape, parameters, image, to)) &&
           to.add(kEoi.data(), kEoi.size());
}

Encoder::Encoder(Instructions instructions) : m_instructions(instructions), m_scan(std::make_unique<Scan>())
{
}

Encoder::~Encoder() = default;

std::optional<std::size_t>
Encoder::encode(const ImageShape &shape, std::span<const std::byte> image, std::span<std::byte> stream)
{
    if (!shape.isCodable() || image.size() != shape.bytes()) {
        throw ImageError("the image can't be coded in this shape");
    }
    Output output(stream);
    if (!m_scan->encode(m_instructions, shape, image, output)) {
        return std::nullopt;
    }
    return output.size();
}

} // namespace gateway::dicom_helper::jpeg_ls

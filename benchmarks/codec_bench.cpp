// What one core encodes to JPEG-LS and checks, beside CharLS as it is packaged.
//
// Each figure is of the fastest of many rounds, in which the subjects take turns: on a machine with other
// work that is the one least disturbed. The spread is that of all rounds, and goes to the error stream.

#include "benchmarks/generator/samples.h"
#include "dicom_helper/jpeg_ls/checker.h"
#include "dicom_helper/jpeg_ls/encoder.h"

#include <charls/charls.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace {

using gateway::bench::SampleKind;
using gateway::dicom_helper::jpeg_ls::Checker;
using gateway::dicom_helper::jpeg_ls::Encoder;
using gateway::dicom_helper::jpeg_ls::ImageShape;
using gateway::dicom_helper::jpeg_ls::Instructions;
using gateway::dicom_helper::jpeg_ls::Interleave;

/// Rounds take so many bytes of pixels together, and a round at least one image.
constexpr std::size_t kBytes = std::size_t{120} * 1000 * 1000;
constexpr std::size_t kLeastRounds = 7;

struct Subject
{
    const char *name;
    SampleKind kind;
    ImageShape shape;
};

/// The frame of a sample: its pixel data is its last element and native.
std::vector<std::byte> frameOf(const Subject &subject)
{
    const std::string file = gateway::bench::sampleFile({.kind = subject.kind, .instance = 1, .frames = 1});
    std::vector<std::byte> frame(subject.shape.bytes());
    std::memcpy(frame.data(), file.data() + file.size() - frame.size(), frame.size());
    return frame;
}

std::size_t
encodeByCharls(const ImageShape &shape, const std::vector<std::byte> &frame, std::vector<std::byte> &encoded)
{
    charls::jpegls_encoder encoder;
    encoder.frame_info(
        {shape.columns, shape.rows, static_cast<int>(shape.precision), static_cast<int>(shape.components)});
    encoder.interleave_mode(static_cast<charls::interleave_mode>(shape.interleave));
    encoder.destination(encoded.data(), encoded.size());
    return encoder.encode(frame.data(), frame.size());
}

double processorSeconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Megabytes a second of each round of one piece of work, ascending.
struct Rates
{
    std::vector<double> all;

    void add(std::size_t bytes, const std::function<void()> &work)
    {
        const double begin = processorSeconds();
        work();
        all.push_back(static_cast<double>(bytes) / (processorSeconds() - begin) / 1e6);
    }

    double best() const { return std::ranges::max(all); }

    void tellSpread(const char *subject, const char *what)
    {
        std::ranges::sort(all);
        std::fprintf(stderr,
                     "%s, %s: %.1f / %.1f / %.1f MB/s (min, median, max of %zu)\n",
                     subject,
                     what,
                     all.front(),
                     all[all.size() / 2],
                     all.back(),
                     all.size());
    }
};

int measure(const Subject &subject)
{
    const std::vector<std::byte> frame = frameOf(subject);
    std::vector<std::byte> encoded(frame.size() * 2);
    std::vector<std::byte> peers(frame.size() * 2);
    Encoder encoder;
    Encoder baseline(Instructions::baseline);
    Checker checker;
    Rates ours;
    Rates plain;
    Rates charls;
    Rates verified;
    bool isRight = true;
    for (std::size_t round = 0; round < std::max(kLeastRounds, kBytes / frame.size()); ++round) {
        std::size_t size = 0;
        std::size_t peersSize = 0;
        charls.add(frame.size(), [&] { peersSize = encodeByCharls(subject.shape, frame, peers); });
        plain.add(frame.size(), [&] { baseline.encode(subject.shape, frame, encoded); });
        ours.add(frame.size(), [&] { size = encoder.encode(subject.shape, frame, encoded).value_or(0); });
        isRight = isRight && size == peersSize && std::memcmp(encoded.data(), peers.data(), size) == 0;
        verified.add(frame.size(), [&] {
            size = encoder.encode(subject.shape, frame, encoded).value_or(0);
            isRight = isRight && checker.carries(subject.shape, frame, std::span(encoded).first(size));
        });
    }
    if (!isRight) {
        std::fprintf(stderr, "%s: not what CharLS encodes\n", subject.name);
        return 1;
    }
    ours.tellSpread(subject.name, "encode");
    plain.tellSpread(subject.name, "encode without AVX2");
    charls.tellSpread(subject.name, "CharLS");
    verified.tellSpread(subject.name, "encode and verify");
    std::printf(
        "%s: encode %.1f MB/s, CharLS %.1f MB/s, encode and verify %.1f MB/s, without AVX2 %.1f MB/s\n",
        subject.name,
        ours.best(),
        charls.best(),
        verified.best(),
        plain.best());
    return 0;
}

} // namespace

int main()
{
    constexpr std::array kSubjects{
        Subject{"CT of 12 bits", SampleKind::ct, {.columns = 512, .rows = 512, .precision = 12}},
        Subject{"MR of 12 bits", SampleKind::mr, {.columns = 256, .rows = 256, .precision = 12}},
        Subject{"DX of 14 bits", SampleKind::radiograph, {.columns = 3000, .rows = 3000, .precision = 14}},
        Subject{"US of 8 bits", SampleKind::ultrasound, {.columns = 512, .rows = 512, .precision = 8}},
        Subject{
            "colour of 8 bits",
            SampleKind::colour,
            {.columns = 640, .rows = 480, .components = 3, .precision = 8, .interleave = Interleave::line}}};
    int failures = 0;
    for (const Subject &subject : kSubjects) {
        failures += measure(subject);
    }
    return failures;
}

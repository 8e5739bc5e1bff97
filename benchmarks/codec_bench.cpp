// What one core encodes to JPEG-LS, by the worker's codec and by CharLS as it is packaged.

#include "benchmarks/generator/samples.h"
#include "dicom_helper/worker/charls_codec.h"

#include <charls/charls.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace {

using gateway::bench::SampleKind;
using gateway::dicom_helper::worker::CharlsCodec;
using gateway::dicom_helper::worker::FrameShape;

constexpr int kRounds = 15;

struct Subject
{
    const char *name;
    SampleKind kind;
    FrameShape shape;
};

/// The frame of a sample: its pixel data is its last element and native.
std::vector<std::byte> frameOf(const Subject &subject)
{
    const std::string file = gateway::bench::sampleFile({.kind = subject.kind, .instance = 1, .frames = 1});
    std::vector<std::byte> frame(subject.shape.bytes());
    std::memcpy(frame.data(), file.data() + file.size() - frame.size(), frame.size());
    return frame;
}

/// Megabytes a second of the median of several calls.
double rate(std::size_t bytes, const std::function<void()> &work)
{
    std::vector<double> seconds;
    for (int round = 0; round < kRounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    std::ranges::sort(seconds);
    return static_cast<double>(bytes) / seconds[seconds.size() / 2] / 1e6;
}

std::size_t
encodeByCharls(const FrameShape &shape, const std::vector<std::byte> &frame, std::vector<std::byte> &encoded)
{
    charls::jpegls_encoder encoder;
    encoder.frame_info(
        {shape.columns, shape.rows, static_cast<int>(shape.precision), static_cast<int>(shape.samples)});
    encoder.destination(encoded.data(), encoded.size());
    return encoder.encode(frame.data(), frame.size());
}

int measure(const Subject &subject)
{
    const std::vector<std::byte> frame = frameOf(subject);
    std::vector<std::byte> encoded(frame.size() * 2);
    std::vector<std::byte> decoded(frame.size());
    CharlsCodec codec;
    std::size_t size = 0;
    const double ours =
        rate(frame.size(), [&] { size = codec.encode(subject.shape, frame, encoded).value_or(0); });
    const double charls = rate(frame.size(), [&] { encodeByCharls(subject.shape, frame, encoded); });
    bool isSame = true;
    const double verified = rate(frame.size(), [&] {
        size = codec.encode(subject.shape, frame, encoded).value_or(0);
        codec.decode(subject.shape, std::span(encoded).first(size), decoded);
        isSame = isSame && decoded == frame;
    });
    if (!isSame) {
        std::fprintf(stderr, "%s: the decoded frame is another one\n", subject.name);
        return 1;
    }
    std::printf("%s: encode %.1f MB/s, CharLS %.1f MB/s, encode and verify %.1f MB/s\n",
                subject.name,
                ours,
                charls,
                verified);
    return 0;
}

} // namespace

int main()
{
    const FrameShape ct{.columns = 512, .rows = 512, .samples = 1, .bytesPerSample = 2, .precision = 12};
    const FrameShape dx{.columns = 3000, .rows = 3000, .samples = 1, .bytesPerSample = 2, .precision = 14};
    const FrameShape us{.columns = 512, .rows = 512, .samples = 1, .bytesPerSample = 1, .precision = 8};
    return measure({"CT of 12 bits", SampleKind::ct, ct}) +
           measure({"DX of 14 bits", SampleKind::radiograph, dx}) +
           measure({"US of 8 bits", SampleKind::ultrasound, us});
}

#include "benchmarks/generator/samples.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>

namespace {

using gateway::bench::SampleKind;
using gateway::bench::SampleRequest;

/// Writes `count` instances of one kind; false when a file can't be written.
bool writeKind(const std::filesystem::path &folder, SampleRequest request, int count)
{
    for (int instance = 1; instance <= count; ++instance) {
        request.instance = instance;
        const std::string name = gateway::bench::sampleName(request.kind) + "-" +
                                 std::to_string(request.seed) + "-" + std::to_string(instance) + ".dcm";
        const std::string file = gateway::bench::sampleFile(request);
        std::ofstream out(folder / name, std::ios::binary | std::ios::trunc);
        out.write(file.data(), static_cast<std::streamsize>(file.size()));
        if (!out.flush()) {
            std::cerr << "Could not write " << name << ".\n";
            return false;
        }
    }
    return true;
}

} // namespace

/// quorin-samples: writes DICOM files like those of real modalities, the same ones for the same flags.
int main(int argc, char **argv)
{
    CLI::App app("Writes sample DICOM files: one study a seed, one series a kind.");
    std::string out;
    SampleRequest request;
    std::map<SampleKind, int> counts;
    request.frames = 200;
    app.add_option("--out", out, "Folder for the files; made when missing")->required();
    app.add_option("--seed", request.seed, "Study and patient");
    app.add_option("--us-frames", request.frames, "Frames of an ultrasound loop")->check(CLI::Range(1, 1000));
    for (const SampleKind kind : {SampleKind::ct,
                                  SampleKind::mr,
                                  SampleKind::ultrasound,
                                  SampleKind::radiograph,
                                  SampleKind::colour,
                                  SampleKind::report}) {
        const std::string name = gateway::bench::sampleName(kind);
        app.add_option("--" + name, counts[kind], "How many " + name + " files")
            ->check(CLI::Range(0, 1000000));
    }
    CLI11_PARSE(app, argc, argv);

    std::error_code error;
    std::filesystem::create_directories(out, error);
    if (error) {
        std::cerr << "Could not make the folder: " << error.message() << ".\n";
        return 1;
    }
    for (const auto &[kind, count] : counts) {
        request.kind = kind;
        if (!writeKind(out, request, count)) {
            return 1;
        }
    }
    return 0;
}

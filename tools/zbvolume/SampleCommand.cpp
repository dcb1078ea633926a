#include "CommandOptions.h"
#include "Commands.h"
#include "OutputFile.h"
#include "SampleVolume.h"
#include "TerminalProgress.h"
#include "VolumeWriter.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace zbvolume
{

Report sample(const std::string& path, int size, TerminalProgress& progress)
{
    OutputFiles outputs;
    VolumeWriter writer(path, outputs);
    const Volume volume = makeSample(size, progress);
    writer.write(volume, &progress);
    progress.check();
    outputs.commit();

    Report report;
    report.addList("written", outputs.names());
    const std::string edge = std::to_string(size);
    report.addNumbers("size", {edge, edge, edge}, " x ");
    report.add("threshold", sampleThreshold);
    report.add("objects", sampleObjects);
    report.add("strong", sampleStrong);
    report.add("strong objects", sampleStrongObjects);
    return report;
}

void addSample(CLI::App& app, Chosen& chosen)
{
    struct Options {
        std::string path;
        int size = defaultSampleSize;
    };
    auto options = std::make_shared<Options>();
    auto* command = addCommand(
        app, chosen, "sample", "Writes the built-in sample volume",
        [options](TerminalProgress& progress) { return sample(options->path, options->size, progress); });
    command->add_option("OUT", options->path, "A name that ends in .nii, .nii.gz, .hdr, .img or .raw")
        ->required();
    command->add_option("--size", options->size, "Voxels along each edge")
        ->type_name("N")
        ->check(CLI::Range(minSampleSize, maxSampleSize))
        ->capture_default_str();
}

}  // namespace zbvolume

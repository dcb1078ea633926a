#include "CommandOptions.h"
#include "Commands.h"
#include "Failure.h"
#include "GridMap.h"
#include "Numbers.h"
#include "OutputFile.h"
#include "Picture.h"
#include "SectionPicture.h"
#include "TerminalProgress.h"
#include "VolumeWriter.h"

#include <zblib/containers/ZbString.h>
#include <zblib/data/ZbTypedData3D.h>
#include <zblib/imaging/ZbResampler.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace zbvolume
{

namespace
{

struct Kernel {
    const char* name;
    ZbResampler::Kernel function;
    float support;
};
const Kernel kernels[] = {
    {"box", &ZbResampler::box_filter, 0.5F},        {"triangle", &ZbResampler::triangle_filter, 1},
    {"bell", &ZbResampler::bell_filter, 1.5F},      {"mitchell", &ZbResampler::Mitchell_filter, 2},
    {"lanczos3", &ZbResampler::Lanczos3_filter, 3}, {"bspline", &ZbResampler::B_spline_filter, 2},
    {"cubic6", &ZbResampler::cubic6_filter, 3},     {"cubic8", &ZbResampler::cubic8_filter, 4},
};

// Each new voxel along an axis takes some dozens of bytes for its weights, whatever the other axes have.
constexpr int maxSize = 1 << 24;

std::array<int, 3> newSizes(const Volume& volume, const ResampleOptions& options)
{
    if (options.size)
        return *options.size;
    std::array<int, 3> sizes{};
    for (std::size_t k = 0; k < 3; k++) {
        const double size = std::round(volume.dims[k] * options.factor);
        if (size > maxSize)
            throw Failure(volume.path, "cannot have " + shortest(size) + " voxels along " + "xyz"[k]);
        sizes[k] = std::max(1, int(size));
    }
    return sizes;
}

}  // namespace

Report resample(const ResampleOptions& options, TerminalProgress& progress)
{
    OutputFiles outputs;
    VolumeWriter writer(options.result.path, outputs);
    OutputFile* png = outputs.openBeside(options.source.path, options.result.png);
    Volume volume = readVolume(options.source.source(), &progress);
    const bool hasSpace = volume.geometry.isKnown();
    const ZbPrimType type = options.type.empty() ? volume.fileType : writtenType(options.type);
    const std::array<int, 3> sizes = newSizes(volume, options);
    const Kernel& kernel = *std::find_if(std::begin(kernels), std::end(kernels),
                                         [&](const Kernel& k) { return options.kernel == k.name; });

    std::array<int, 3> middle{};
    for (std::size_t k = 0; k < 3; k++)
        middle[k] = volume.dims[k] / 2;
    std::vector<Section> sections;
    if (png != nullptr)
        sections.push_back(takeSection(volume, "before", middle));

    std::uint64_t bytes = std::uint64_t(type.size());
    for (const int size : sizes)
        if (__builtin_mul_overflow(bytes, std::uint64_t(size), &bytes))
            throw Failure(volume.path, "the product of the new sizes overflows");
    VoxelBlock block = allocateVoxels(volume.path, bytes);
    const ZbTypedData3D source(volume.dims[0], volume.dims[1], volume.dims[2], volume.type, 1,
                               volume.block.get());
    ZbTypedData3D target(sizes[0], sizes[1], sizes[2], type, 1, block.get());
    ZbString error;
    const bool isDone = ZbResampler::resample(
        source, target, nullptr, type, 0, 1, kernel.function, kernel.support,
        options.areCategories ? ZbResampler::FILTER_LABELS : ZbResampler::FILTER_VALUES, error, &progress);
    progress.check();
    if (!isDone)
        throw Failure(volume.path, error.getString());

    GridMap map;
    for (std::size_t k = 0; k < 3; k++) {  // both grids cover the same extent, from face to face
        map.step[k] = double(volume.dims[k]) / sizes[k];
        map.start[k] = 0.5 * map.step[k] - 0.5;
        middle[k] = int((middle[k] + 0.5) / map.step[k]);
    }
    volume.block = std::move(block);
    volume.type = volume.fileType = type;
    changeGrid(volume, sizes, map);
    if (png != nullptr) {
        sections.push_back(takeSection(volume, "after", middle));
        png->write(pngBytes(drawSections(sections, {}, shownName(volume.path) + " resampled",
                                         std::string("kernel ") + kernel.name +
                                             (options.areCategories ? ", categories" : ""))));
    }
    writer.write(volume, &progress);
    progress.check();
    outputs.commit();

    Report report;
    reportGrid(report, volume, type, hasSpace);
    report.add("kernel", kernel.name);
    report.addList("written", outputs.names());
    return report;
}

void addResample(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<ResampleOptions>();
    auto factor = std::make_shared<std::optional<double>>();
    auto* command = addCommand(
        app, chosen, "resample", "Changes the number of voxels; the volume keeps its extent in space",
        [options](TerminalProgress& progress) { return resample(*options, progress); },
        [options, factor] {
            requireThat(options->size.has_value() != factor->has_value(), "--size or --factor is required");
            options->factor = factor->value_or(1);
        });
    options->source.addTo(*command);
    auto* size = command->add_option("--size", options->size, "Voxels along each axis")
                     ->type_name("NX NY NZ")
                     ->check(CLI::Range(1, maxSize).description(""));
    command
        ->add_option("--factor", *factor, "Voxels for each voxel along each axis: 2 doubles the resolution")
        ->type_name("F")
        ->check(finiteNumber())
        ->check(CLI::PositiveNumber.description(""))
        ->excludes(size);
    std::vector<std::string> names;
    for (const Kernel& kernel : kernels)
        names.push_back(kernel.name);
    command
        ->add_option("--kernel", options->kernel,
                     "box, triangle, bell, mitchell, lanczos3, bspline, cubic6 or cubic8")
        ->type_name("NAME")
        ->check(CLI::IsMember(names).description(""))
        ->capture_default_str();
    addType(*command, options->type, "Type of the voxels to write; that of FILE if not given");
    command->add_flag("--categories", options->areCategories,
                      "Values are labels: each new voxel takes one of them");
    options->result.addTo(*command);
}

}  // namespace zbvolume

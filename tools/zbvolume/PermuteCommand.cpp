#include "CommandOptions.h"
#include "Commands.h"
#include "Failure.h"
#include "GridMap.h"
#include "OutputFile.h"
#include "Picture.h"
#include "SectionPicture.h"
#include "TerminalProgress.h"
#include "VolumeWriter.h"

#include <zblib/data/ZbRawData.h>

#include <CLI/CLI.hpp>

#include <memory>

namespace zbvolume
{

namespace
{

// Voxels move as bits: a volume of equal numbers and NaN counts as constant where it is seen as one of reals,
// and its NaN would stay where they are.
ZbPrimType bitsOf(ZbPrimType type)
{
    switch (type.size()) {
    case 1:
        return ZbPrimType::BYTE;
    case 2:
        return ZbPrimType::USHORT;
    case 4:
        return ZbPrimType::UINT;
    default:
        return ZbPrimType::UINT64;
    }
}

}  // namespace

Report permute(const PermuteOptions& options, TerminalProgress& progress)
{
    OutputFiles outputs;
    VolumeWriter writer(options.result.path, outputs);
    OutputFile* png = outputs.openBeside(options.source.path, options.result.png);
    Volume volume = readVolume(options.source.source(), &progress);
    const bool hasSpace = volume.geometry.isKnown();
    std::array<int, 3> middle{};
    for (std::size_t k = 0; k < 3; k++)
        middle[k] = volume.dims[k] / 2;
    std::vector<Section> sections;
    if (png != nullptr)
        sections.push_back(takeSection(volume, "before", middle));

    std::array<int, 3> dims = volume.dims;
    if (!ZbRawData::swapDims(ZbTypedPointer(volume.block.get(), bitsOf(volume.type)), dims.data(),
                             options.order.data(), 1))
        throw Failure(volume.path, "not enough memory to permute its axes");
    GridMap map;
    map.axes = options.order;
    changeGrid(volume, dims, map);
    const std::string order = {char('x' + options.order[0]), ' ', char('x' + options.order[1]), ' ',
                               char('x' + options.order[2])};
    if (png != nullptr) {
        std::array<int, 3> moved{};
        for (std::size_t k = 0; k < 3; k++)
            moved[k] = middle[std::size_t(options.order[k])];
        sections.push_back(takeSection(volume, "after", moved));
        png->write(pngBytes(drawSections(sections, {}, "Axes of " + shownName(volume.path) + " permuted",
                                         "x y z are the former " + order)));
    }
    writer.write(volume, &progress);
    progress.check();
    outputs.commit();

    Report report;
    reportGrid(report, volume, volume.fileType, hasSpace);
    report.add("axes", order);
    report.addList("written", outputs.names());
    return report;
}

void addPermute(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<PermuteOptions>();
    auto* command = addCommand(
        app, chosen, "permute", "Exchanges the axes of the grid; the volume stays where it lies in space",
        [options](TerminalProgress& progress) { return permute(*options, progress); },
        [options] {
            int seen = 0;
            for (const int axis : options->order)
                seen |= axis >= 0 && axis <= 2 ? 1 << axis : 0;
            requireThat(seen == 7, "--order: each of 0, 1 and 2 must be named once");
        });
    options->source.addTo(*command);
    command
        ->add_option("--order", options->order,
                     "The old axes that become x, y and z: 0 for x, 1 for y, 2 for z")
        ->type_name("A B C")
        ->required();
    options->result.addTo(*command);
}

}  // namespace zbvolume

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

#include <zblib/data/ZbRawData.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <memory>

namespace zbvolume
{

namespace
{

std::string boxText(const CropOptions& options)
{
    const auto text = [](const std::array<int, 3>& corner) {
        return std::to_string(corner[0]) + " " + std::to_string(corner[1]) + " " + std::to_string(corner[2]);
    };
    return "from " + text(options.from) + " to " + text(options.to);
}

// The bytes of a voxel of that value. Integers are not rounded: a fill value that changed on the way could be
// taken for data.
std::array<unsigned char, 8> voxelOf(const Volume& volume, double value)
{
    std::array<unsigned char, 8> bytes{};
    double back = 0;
    ZbRawData::memcpy(ZbTypedPointer(bytes.data(), volume.type), ZbTypedPointer(&value), 1);
    ZbRawData::memcpy(ZbTypedPointer(&back), ZbTypedPointer(bytes.data(), volume.type), 1);
    const bool fits = volume.fileType.isInteger() ? back == value && value == std::floor(value) &&
                                                        std::abs(value) <= 9007199254740992.0 &&
                                                        (value >= 0 || volume.fileType.isSigned())
                                                  : std::isfinite(back);
    if (!fits)
        throw Failure(volume.path, "has voxels of type " + std::string(volume.fileType.getName()) +
                                       ", which cannot be " + shortest(value));
    return bytes;
}

}  // namespace

Report crop(const CropOptions& options, TerminalProgress& progress)
{
    OutputFiles outputs;
    VolumeWriter writer(options.result.path, outputs);
    OutputFile* png = outputs.openBeside(options.source.path, options.result.png);
    Volume volume = readVolume(options.source.source(), &progress);
    const bool hasSpace = volume.geometry.isKnown();
    const auto fill = voxelOf(volume, options.fill);

    long inside = 1;
    CropOptions kept = options;  // what of the box the volume has
    std::array<int, 3> middle{};
    GridMap map;
    for (std::size_t k = 0; k < 3; k++) {
        kept.from[k] = std::max(options.from[k], 0);
        kept.to[k] = std::min(options.to[k], volume.dims[k] - 1);
        if (kept.from[k] > kept.to[k])
            throw Failure(volume.path, "has size " + std::to_string(volume.dims[k]) + " along " + "xyz"[k] +
                                           ": the box " + boxText(options) + " holds none of its voxels");
        inside *= kept.to[k] - kept.from[k] + 1;
        middle[k] = kept.from[k] + (kept.to[k] - kept.from[k]) / 2;
        map.start[k] = options.from[k];
    }
    std::vector<Section> sections;
    if (png != nullptr) {
        sections.push_back(takeSection(volume, "before", middle));
        sections[0].hasBox = true;
        sections[0].boxFrom = kept.from;
        sections[0].boxTo = kept.to;
    }

    std::array<int, 3> dims = volume.dims;
    void* block = volume.block.release();
    bool isDone = false;
    try {
        requireMemory(volume.path, [&] {
            isDone = ZbRawData::crop(block, volume.type.size(), dims.data(), options.from.data(),
                                     options.to.data(), fill.data());
        });
    } catch (...) {
        volume.block.reset(block);
        throw;
    }
    volume.block.reset(block);
    if (!isDone)
        throw Failure(volume.path, "the box " + boxText(options) + " is too large");
    changeGrid(volume, dims, map);
    if (png != nullptr) {
        for (std::size_t k = 0; k < 3; k++)
            middle[k] -= options.from[k];
        sections.push_back(takeSection(volume, "after", middle));
        png->write(
            pngBytes(drawSections(sections, {}, "Crop of " + shownName(volume.path), boxText(options))));
    }
    writer.write(volume, &progress);
    progress.check();
    outputs.commit();

    Report report;
    reportGrid(report, volume, volume.fileType, hasSpace);
    report.add("filled", volume.voxelCount() - inside);
    report.addList("written", outputs.names());
    return report;
}

void addCrop(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<CropOptions>();
    auto* command = addCommand(
        app, chosen, "crop", "Cuts a box out of the volume, or enlarges the volume to a box",
        [options](TerminalProgress& progress) { return crop(*options, progress); },
        [options] {
            for (std::size_t k = 0; k < 3; k++)
                requireThat(options->from[k] <= options->to[k],
                            std::string("--from must not exceed --to along ") + "xyz"[k]);
        });
    options->source.addTo(*command);
    command->add_option("--from", options->from, "First voxel of the box, from 0")
        ->type_name("X Y Z")
        ->required();
    command->add_option("--to", options->to, "Last voxel of the box, which belongs to it")
        ->type_name("X Y Z")
        ->required();
    command->add_option("--fill", options->fill, "Value where the box reaches beyond the volume")
        ->type_name("V")
        ->check(finiteNumber())
        ->capture_default_str();
    options->result.addTo(*command);
}

}  // namespace zbvolume

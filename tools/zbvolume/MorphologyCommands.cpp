#include "CommandOptions.h"
#include "Commands.h"
#include "Failure.h"
#include "Numbers.h"
#include "OutputFile.h"
#include "Picture.h"
#include "SectionPicture.h"
#include "TerminalProgress.h"
#include "VolumeWriter.h"

#include <zblib/imaging/ZbMorphology.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace zbvolume
{

namespace
{

const QColor keptColour(96, 196, 140);
const QColor erodedColour(236, 96, 72);
const QColor addedColour(247, 183, 70);

// The voxels for which isSet(double) holds.
template <typename Test>
ZbBitfield maskOf(const Volume& volume, Test isSet)
{
    ZbBitfield mask;
    requireMemory(volume.path,
                  [&] { mask.resize((unsigned long)volume.voxelCount(), ZbBitfield::INIT_UNSET); });
    zbVisitPrimType<unsigned char, signed char, short, unsigned short, int, unsigned int, float, double>(
        volume.type, [&](auto tag) {
            const auto* values = static_cast<const typename decltype(tag)::Type*>(volume.block.get());
            const long count = volume.voxelCount();
            for (long first = 0; first < count; first += 32) {
                unsigned int word = 0;
                for (long i = first; i < std::min(first + 32, count); i++)
                    word |= (unsigned int)isSet(double(values[i])) << (i - first);
                mask.dataPtr()[first / 32] = word;
            }
        });
    return mask;
}

// Floats compare in float, so that a voxel shown as 0.7 is at the threshold 0.7; NaN is not.
ZbBitfield thresholdMask(const Volume& volume, double threshold)
{
    const bool isFloat = volume.type == ZbPrimType::FLOAT && std::isfinite(float(threshold));
    const double low = isFloat ? double(float(threshold)) : threshold;
    return maskOf(volume, [low](double value) { return value >= low; });
}

ZbBitfield protection(const Volume& volume, const std::string& path, TerminalProgress& progress)
{
    VolumeSource source{path, std::nullopt, 0};
    if (path.ends_with(".raw"))
        source.raw = RawLayout{{volume.dims[0], volume.dims[1], volume.dims[2]}, "byte", false, 0};
    const Volume mask = readVolume(source, &progress);
    if (mask.dims != volume.dims) {
        const auto text = [](const std::array<int, 3>& dims) {
            return std::to_string(dims[0]) + " x " + std::to_string(dims[1]) + " x " +
                   std::to_string(dims[2]);
        };
        throw Failure(path, "has " + text(mask.dims) + " voxels, " + text(volume.dims) + " expected");
    }
    return maskOf(mask, [](double value) { return value < 0 || value > 0; });
}

// One step at a time, so that the user can stop it, and no more steps than make a difference.
void iterate(const MorphologyOptions& options, const Volume& volume, const ZbBitfield* protect,
             ZbBitfield& mask, TerminalProgress& progress)
{
    const ZbVec3i dims(volume.dims[0], volume.dims[1], volume.dims[2]);
    const auto hasAxis = [&](char axis) { return options.axes.find(axis) != std::string::npos; };
    progress.startWorking(options.isErosion ? "Eroding" : "Dilating");
    requireMemory(volume.path, [&] {
        ZbBitfield next;
        bool isDifferent = true;
        for (int step = 0; isDifferent && step < options.iterations; step++) {
            if (options.isErosion)
                ZbMorphology::erosion3D(mask, next, dims, 1, hasAxis('z'), hasAxis('y'), hasAxis('x'),
                                        protect);
            else
                ZbMorphology::dilation3D(mask, next, dims, 1);
            isDifferent = !(next == mask);
            mask.swap(next);
            progress.setProgressValue(float(double(step + 1) / options.iterations));
            progress.check();
        }
    });
    progress.stopWorking();
}

// Of each axis the slice that shows most of the mask.
std::array<int, 3> fullestSlices(const Volume& volume, const ZbBitfield& mask)
{
    std::array<std::vector<long>, 3> counts;
    for (std::size_t k = 0; k < 3; k++)
        counts[k].resize(std::size_t(volume.dims[k]));
    unsigned long voxel = 0;
    for (std::size_t z = 0; z < counts[2].size(); z++)
        for (std::size_t y = 0; y < counts[1].size(); y++)
            for (std::size_t x = 0; x < counts[0].size(); x++, voxel++)
                if (mask[voxel] != 0) {
                    counts[0][x]++;
                    counts[1][y]++;
                    counts[2][z]++;
                }
    std::array<int, 3> fullest{};
    for (std::size_t k = 0; k < 3; k++)
        fullest[k] = int(std::max_element(counts[k].begin(), counts[k].end()) - counts[k].begin());
    return fullest;
}

QImage picture(const MorphologyOptions& options, const Volume& volume, const ZbBitfield& before,
               const ZbBitfield& after)
{
    const auto at = fullestSlices(volume, options.isErosion ? before : after);
    std::vector<Section> sections = {takeSection(volume, "before", at), takeSection(volume, "after", at)};
    const auto bit = [](const ZbBitfield& mask, long voxel) { return mask[(unsigned long)voxel] != 0; };
    markSection(sections[0], [&](long voxel) { return bit(before, voxel) ? 1 : 0; });
    markSection(sections[1], [&](long voxel) {
        return bit(before, voxel) && bit(after, voxel) ? 1 : bit(before, voxel) || bit(after, voxel) ? 2 : 0;
    });
    std::string subtitle = "voxels at or above " + storedText(volume, options.threshold) + ", " +
                           std::to_string(options.iterations) +
                           (options.iterations == 1 ? " iteration" : " iterations");
    if (options.isErosion && options.axes != "xyz")
        subtitle += " along " + options.axes;
    if (!options.protect.empty())
        subtitle += ", " + shownName(options.protect) + " protected";
    return drawSections(
        sections,
        {{keptColour, "mask"},
         options.isErosion ? SectionMark{erodedColour, "eroded"} : SectionMark{addedColour, "added"}},
        shownName(volume.path) + (options.isErosion ? " eroded" : " dilated"), subtitle);
}

void addMorphology(CLI::App& app, Chosen& chosen, bool isErosion)
{
    auto options = std::make_shared<MorphologyOptions>();
    options->isErosion = isErosion;
    auto* command = addCommand(
        app, chosen, isErosion ? "erode" : "dilate",
        isErosion ? "Makes a mask of the voxels at or above a threshold and takes its outermost voxels away"
                  : "Makes a mask of the voxels at or above a threshold and adds the voxels that touch it",
        [options](TerminalProgress& progress) { return morphology(*options, progress); },
        [options] {
            std::string axes = options->axes;
            std::sort(axes.begin(), axes.end());
            const bool isSubset = !axes.empty() && axes.find_first_not_of("xyz") == std::string::npos &&
                                  std::adjacent_find(axes.begin(), axes.end()) == axes.end();
            requireThat(isSubset, "--axes: some of x, y and z expected, not '" + options->axes + "'");
            options->axes = axes;
        });
    options->source.addTo(*command);
    command
        ->add_option("--threshold", options->threshold, "Voxels at or above this stored value make the mask")
        ->type_name("LOW")
        ->check(finiteNumber())
        ->required();
    command->add_option("--iterations", options->iterations, "How many layers of voxels")
        ->type_name("N")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
        ->capture_default_str();
    if (isErosion) {
        command->add_option("--axes", options->axes, "Axes along which neighbours count")
            ->type_name("AXES")
            ->capture_default_str();
        command
            ->add_option("--protect", options->protect,
                         "A volume of the same sizes: voxels of the mask where it is not 0 stay")
            ->type_name("FILE2");
    }
    command->add_flag("--nan-background", options->nanIsBackground,
                      "Voxels that are not a number do not belong to the mask");
    options->result.addTo(*command);
}

}  // namespace

Report morphology(const MorphologyOptions& options, TerminalProgress& progress)
{
    OutputFiles outputs;
    VolumeWriter writer(options.result.path, outputs);
    OutputFile* png = outputs.openBeside(options.source.path, options.result.png);
    const Volume volume = readVolume(options.source.source(), &progress);
    if (!options.nanIsBackground)
        refuseNan(volume);
    ZbBitfield protect;
    if (!options.protect.empty())
        protect = protection(volume, options.protect, progress);
    ZbBitfield mask = thresholdMask(volume, options.threshold);
    const unsigned long voxelsBefore = mask.nSetBits();
    ZbBitfield before;
    if (png != nullptr)
        requireMemory(volume.path, [&] { before = mask; });
    iterate(options, volume, options.protect.empty() ? nullptr : &protect, mask, progress);
    if (png != nullptr)
        png->write(pngBytes(picture(options, volume, before, mask)));
    writer.write(
        volume, ZbPrimType::BYTE, VolumeWriter::Meaning::New,
        [&](long first, long count, void* out) {
            for (long i = 0; i < count; i++)
                static_cast<unsigned char*>(out)[i] = (unsigned char)mask[(unsigned long)(first + i)];
        },
        &progress);
    progress.check();
    outputs.commit();

    Report report;
    report.add("before", voxelsBefore);
    report.add("after", mask.nSetBits());
    report.addNumber("threshold", shortest(options.threshold));
    report.add("iterations", options.iterations);
    if (options.isErosion)
        report.add("axes", options.axes);
    if (!options.protect.empty())
        report.add("protected", protect.nSetBits());
    report.addList("written", outputs.names());
    return report;
}

void addErode(CLI::App& app, Chosen& chosen)
{
    addMorphology(app, chosen, true);
}

void addDilate(CLI::App& app, Chosen& chosen)
{
    addMorphology(app, chosen, false);
}

}  // namespace zbvolume

#include "CommandOptions.h"
#include "Commands.h"
#include "Failure.h"
#include "Numbers.h"
#include "ObjectCount.h"
#include "ObjectPicture.h"
#include "OutputFile.h"
#include "Picture.h"
#include "Statistics.h"
#include "TerminalProgress.h"
#include "VolumeWriter.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace zbvolume
{

namespace
{

// NaN is neither below nor above a threshold: the user decides what it is.
void settleNan(Volume& volume, const CountOptions& options)
{
    if (!options.nanIsBackground)
        refuseNan(volume);
    if (volume.type.isInteger())
        return;
    const auto replace = [&](auto* values) {
        using Value = std::remove_pointer_t<decltype(values)>;
        std::replace_if(
            values, values + volume.voxelCount(), [](Value value) { return value != value; },
            -std::numeric_limits<Value>::infinity());
    };
    if (volume.type == ZbPrimType::FLOAT)
        replace(static_cast<float*>(volume.block.get()));
    else
        replace(static_cast<double*>(volume.block.get()));
}

Table objectTable(const Geometry& geometry, std::shared_ptr<const std::vector<Object>> objects,
                  const CountOptions& options)
{
    std::vector<Table::Column> columns;
    const auto add = [&](const std::string& name, const std::string& title, int decimals, auto valueOf) {
        columns.push_back({name, title, decimals, [objects, valueOf](std::size_t row) -> Table::Cell {
                               return valueOf((*objects)[row]);
                           }});
    };
    const auto integer = [](auto value) { return std::int64_t(value); };
    const bool hasSpace = geometry.isKnown();

    columns.push_back({"object", "object", 0, [=](std::size_t row) { return integer(row + 1); }});
    add("voxels", "voxels", 0, [=](const Object& object) { return integer(object.size); });
    if (hasSpace) {
        const double voxelVolume = geometry.spacing[0] * geometry.spacing[1] * geometry.spacing[2];
        add("volume_mm3", "mm^3", 1, [=](const Object& object) { return double(object.size) * voxelVolume; });
    }
    if (options.strong)
        add("strong", "strong", 0, [=](const Object& object) { return integer(object.strong); });
    if (options.byValue)
        add("value", "value", 3, [](const Object& object) { return object.value; });
    const std::string axes[3] = {"x", "y", "z"};
    for (std::size_t i = 0; i < 3; i++)
        add(axes[i], axes[i], 2, [=](const Object& object) { return object.centre[i]; });
    for (std::size_t i = 0; i < 3 && hasSpace; i++)
        add(axes[i] + "_mm", axes[i] + " mm", 2,
            [=](const Object& object) { return geometry.position(object.centre)[i]; });
    if (!options.rasterPass) {
        for (std::size_t i = 0; i < 3; i++)
            add(axes[i] + "_min", axes[i] + " min", 0,
                [=](const Object& object) { return integer(object.boxMin[i]); });
        for (std::size_t i = 0; i < 3; i++)
            add(axes[i] + "_max", axes[i] + " max", 0,
                [=](const Object& object) { return integer(object.boxMax[i]); });
    }
    return Table(std::move(columns), objects->size());
}

// Objects are labelled as in the table, in the smallest type that holds their number and that viewers read.
void writeLabels(VolumeWriter& writer, const Volume& volume, const ObjectCount& count,
                 TerminalProgress& progress)
{
    const std::size_t largest = count.objects.size();
    const int* labels = count.labelData();
    const auto produce = [&](auto example) {
        return [labels, &count](long first, long length, void* out) {
            using Label = decltype(example);
            std::transform(labels + first, labels + first + length, static_cast<Label*>(out),
                           [&](int label) { return Label(count.ranks[std::size_t(label)]); });
        };
    };
    constexpr auto meaning = VolumeWriter::Meaning::New;
    if (largest <= std::numeric_limits<unsigned char>::max())
        writer.write(volume, ZbPrimType::BYTE, meaning, produce((unsigned char)0), &progress);
    else if (largest <= std::numeric_limits<unsigned short>::max())
        writer.write(volume, ZbPrimType::USHORT, meaning, produce((unsigned short)0), &progress);
    else
        writer.write(volume, ZbPrimType::INT, meaning, produce(0), &progress);
}

QImage picture(const Volume& volume, const ObjectCount& count, const CountOptions& options, double threshold)
{
    ObjectLabels objects{count.labelData(), count.ranks, {0}};
    for (const Object& object : count.objects)
        objects.sizes.push_back(object.size);
    std::string subtitle = "voxels at or above " + storedText(volume, threshold);
    if (options.byValue)
        subtitle += ", equal values together";
    if (options.strong)
        subtitle += ", objects that reach " + storedText(volume, *options.strong);
    if (options.minSize > 1)
        subtitle += ", of at least " + std::to_string(options.minSize) + " voxels";
    subtitle += ", " + std::to_string(options.neighbours) + " neighbours";
    return drawObjects(volume, objects,
                       grouped(count.objects.size()) +
                           (count.objects.size() == 1 ? " object in " : " objects in ") +
                           shownName(volume.path),
                       subtitle);
}

}  // namespace

Report count(const CountOptions& options, TerminalProgress& progress)
{
    OutputFiles outputs;
    std::optional<VolumeWriter> labels;
    if (!options.labels.empty())
        labels.emplace(options.labels, outputs);
    OutputFile* csv = outputs.openBeside(options.source.path, options.csv);
    OutputFile* png = outputs.openBeside(options.source.path, options.png);

    Volume volume = readVolume(options.source.source(), &progress);
    settleNan(volume, options);
    const double threshold = options.threshold.value_or(1);
    ObjectCount count = countObjects(
        volume,
        {threshold, options.strong, options.neighbours, options.minSize, options.byValue, options.rasterPass},
        labels || png != nullptr, progress);
    if (labels)
        writeLabels(*labels, volume, count, progress);
    if (png != nullptr)
        png->write(pngBytes(picture(volume, count, options, threshold)));
    const auto objects = std::make_shared<const std::vector<Object>>(std::move(count.objects));
    const Table table = objectTable(volume.geometry, objects, options);
    if (csv != nullptr)
        table.writeCsv(csv->sink());
    progress.check();
    outputs.commit();

    long voxels = 0;
    for (const Object& object : *objects)
        voxels += object.size;
    Report report;
    report.add("objects", objects->size());
    report.add("voxels", voxels);
    report.addNumber("percent", rounded(100.0 * double(voxels) / double(volume.voxelCount())));
    report.addNumber("threshold", shortest(threshold));
    if (options.strong)
        report.addNumber("strong", shortest(*options.strong));
    report.add("neighbours", options.neighbours);
    if (options.strong)
        report.add("too weak", count.tooWeak);
    if (options.minSize > 1)
        report.add("too small", count.tooSmall);
    report.addList("written", outputs.names());
    const std::size_t rows = !options.all && isatty(STDOUT_FILENO) != 0 ? options.maxRows : objects->size();
    report.addSection(
        "table",
        [=](const Sink& sink) {
            if (!objects->empty()) {
                sink("\n");
                table.writeText(rows, sink);
            }
        },
        [=] { return table.json(); });
    return report;
}

void addCount(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<CountOptions>();
    auto* command = addCommand(
        app, chosen, "count", "Counts the connected objects at or above a threshold and tells where they are",
        [options](TerminalProgress& progress) { return count(*options, progress); },
        [options] {
            requireThat(options->threshold || options->byValue, "--threshold is required");
            requireThat(!options->strong || *options->strong >= options->threshold.value_or(1),
                        "--strong must not be below --threshold");
        });
    options->source.addTo(*command);
    command
        ->add_option("--threshold", options->threshold,
                     "Smallest stored value of an object's voxel; 1 with --by-value")
        ->type_name("LOW")
        ->check(finiteNumber());
    command
        ->add_option("--strong", options->strong,
                     "Keeps objects with at least one voxel of this value or more")
        ->type_name("HIGH")
        ->check(finiteNumber());
    command
        ->add_option("--neighbours", options->neighbours, "4 and 8 within slices, 6, 10, 18 and 26 in space")
        ->type_name("N")
        ->check(CLI::IsMember({4, 6, 8, 10, 18, 26}).description(""))
        ->capture_default_str();
    command->add_option("--min-size", options->minSize, "Keeps objects of at least N voxels")
        ->type_name("N")
        ->check(CLI::Range(1L, std::numeric_limits<long>::max()).description(""))
        ->capture_default_str();
    command->add_flag("--by-value", options->byValue,
                      "FILE holds labels: touching voxels belong together if they are equal");
    command->add_flag("--nan-background", options->nanIsBackground,
                      "Voxels that are not a number belong to no object");
    command->add_flag(
        "--raster-pass", options->rasterPass,
        "Labels with the library's one-pass labelling, which may split objects and miss voxels");
    addOutput(*command, "--labels", options->labels, "Writes a volume of object numbers")->type_name("OUT");
    addOutput(*command, "--csv", options->csv, "Writes the table");
    addOutput(*command, "--png", options->png, "Writes slices with the objects in colours");
    command->add_flag("--all", options->all, "Shows all objects on a terminal, not only the largest");
}

}  // namespace zbvolume

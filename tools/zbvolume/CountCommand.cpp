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
    const long count = countNan(volume);
    if (count == 0)
        return;
    if (!options.nanIsBackground)
        throw Failure(volume.path,
                      "has " + std::to_string(count) +
                          " voxels that are not a number; --nan-background takes them as background");
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

Table objectTable(const Volume& volume, const ObjectCount& count, const CountOptions& options)
{
    const bool hasSpace = volume.geometry.isKnown();
    std::vector<Table::Column> columns = {{"object", "object"}, {"voxels", "voxels"}};
    if (hasSpace)
        columns.push_back({"volume_mm3", "mm^3", 1});
    if (options.strong)
        columns.push_back({"strong", "strong"});
    if (options.byValue)
        columns.push_back({"value", "value", 3});
    columns.insert(columns.end(), {{"x", "x", 2}, {"y", "y", 2}, {"z", "z", 2}});
    if (hasSpace)
        columns.insert(columns.end(), {{"x_mm", "x mm", 2}, {"y_mm", "y mm", 2}, {"z_mm", "z mm", 2}});
    if (!options.givenPass)
        columns.insert(columns.end(), {{"x_min", "x min"},
                                       {"y_min", "y min"},
                                       {"z_min", "z min"},
                                       {"x_max", "x max"},
                                       {"y_max", "y max"},
                                       {"z_max", "z max"}});

    Table table(columns);
    const auto& spacing = volume.geometry.spacing;
    const double voxelVolume = spacing[0] * spacing[1] * spacing[2];
    for (std::size_t i = 0; i < count.objects.size(); i++) {
        const Object& object = count.objects[i];
        std::vector<Table::Cell> row = {std::int64_t(i + 1), std::int64_t(object.size)};
        if (hasSpace)
            row.emplace_back(double(object.size) * voxelVolume);
        if (options.strong)
            row.emplace_back(std::int64_t(object.strong));
        if (options.byValue)
            row.emplace_back(object.value);
        row.insert(row.end(), object.centre.begin(), object.centre.end());
        if (hasSpace) {
            const auto position = volume.geometry.position(object.centre);
            row.insert(row.end(), position.begin(), position.end());
        }
        if (!options.givenPass)
            for (const auto& corner : {object.boxMin, object.boxMax})
                for (const int index : corner)
                    row.emplace_back(std::int64_t(index));
        table.addRow(std::move(row));
    }
    return table;
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
    if (largest <= std::numeric_limits<unsigned char>::max())
        writer.write(volume, ZbPrimType::BYTE, produce((unsigned char)0), &progress);
    else if (largest <= std::numeric_limits<unsigned short>::max())
        writer.write(volume, ZbPrimType::USHORT, produce((unsigned short)0), &progress);
    else
        writer.write(volume, ZbPrimType::INT, produce(0), &progress);
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
    OutputFile* csv = outputs.open(options.csv);
    OutputFile* png = outputs.open(options.png);

    Volume volume = readVolume(options.source.source(), &progress);
    settleNan(volume, options);
    const double threshold = options.threshold.value_or(1);
    const ObjectCount count = countObjects(
        volume,
        {threshold, options.strong, options.neighbours, options.minSize, options.byValue, options.givenPass},
        labels || png != nullptr, progress);
    const Table table = objectTable(volume, count, options);
    if (labels)
        writeLabels(*labels, volume, count, progress);
    if (csv != nullptr)
        csv->write(table.csv());
    if (png != nullptr)
        png->write(pngBytes(picture(volume, count, options, threshold)));
    progress.check();
    outputs.commit();

    long voxels = 0;
    for (const Object& object : count.objects)
        voxels += object.size;
    Report report;
    report.add("objects", count.objects.size());
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
    const std::size_t rows = !options.all && isatty(STDOUT_FILENO) != 0 ? options.maxRows : table.rowCount();
    std::string text;
    if (table.rowCount() > 0)
        text = "\n" + table.text(rows);
    if (rows < table.rowCount())
        text += "  ... and " + std::to_string(table.rowCount() - rows) + " more (--all shows them)\n";
    report.addSection("table", text, table.json());
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
    auto* byValue = command->add_flag("--by-value", options->byValue,
                                      "FILE holds labels: touching voxels belong together if they are equal");
    command->add_flag("--nan-background", options->nanIsBackground,
                      "Voxels that are not a number belong to no object");
    command->add_flag(
        "--given-pass", options->givenPass,
        "Labels with the library's one-pass labelling, which may split objects and miss voxels");
    command->add_option("--labels", options->labels, "Writes a volume of object numbers")->type_name("OUT");
    command->add_option("--csv", options->csv, "Writes the table")->type_name("F");
    command->add_option("--png", options->png, "Writes slices with the objects in colours")->type_name("F");
    command->add_flag("--all", options->all, "Shows all objects on a terminal, not only the largest");
    (void)byValue;
}

}  // namespace zbvolume

#include "CommandOptions.h"
#include "Commands.h"
#include "Failure.h"
#include "Numbers.h"
#include "OutputFile.h"
#include "Picture.h"
#include "Statistics.h"
#include "TerminalProgress.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <map>
#include <memory>

namespace zbvolume
{

namespace
{

ValueRange rangeOf(const HistogramOptions& options, const Volume& volume)
{
    if (options.range)
        return {options.range->first, options.range->second};
    const auto range = finiteRange(volume);
    if (!range)
        throw Failure(volume.path, "has no finite value");
    return *range;
}

}  // namespace

Report histogram(const HistogramOptions& options, TerminalProgress& progress)
{
    OutputFiles outputs;
    OutputFile* csv = outputs.openBeside(options.source.path, options.csv);
    OutputFile* png = outputs.openBeside(options.source.path, options.png);
    const Volume volume = readVolume(options.source.source(), &progress);
    const ValueRange range = rangeOf(options, volume);
    const auto shared = std::make_shared<const ValueCounts>(
        countValues(volume, range, options.bins, options.ignored, progress));
    const ValueCounts& counts = *shared;
    if (csv != nullptr)
        binTable(shared).writeCsv(csv->sink());
    if (png != nullptr)
        png->write(pngBytes(drawHistogram(counts, "Histogram of " + shownName(volume.path), options.scale)));
    progress.check();
    outputs.commit();

    Report report;
    report.add("file", volume.path);
    report.add("voxels", counts.counted);
    report.add("below", counts.below);
    report.add("above", counts.above);
    report.add("nan", counts.nan);
    report.add("ignored", counts.ignored);
    report.addNumbers("range", {storedText(volume, range.low), storedText(volume, range.high)}, " ");
    report.add("bins", counts.bins.size());
    report.addNumber("bin width", rounded(counts.binWidth));
    if (counts.counted > 0) {
        report.addNumber("mean", rounded(counts.mean()));
        report.addNumber("median", rounded(counts.median()));
        report.addNumber("deviation", rounded(counts.deviation()));
    }
    report.addList("written", outputs.names());
    addBins(report, shared, 32, options.scale);
    return report;
}

void addHistogram(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<HistogramOptions>();
    auto* command = addCommand(
        app, chosen, "histogram", "How often which values occur, as table and as plot",
        [options](TerminalProgress& progress) { return histogram(*options, progress); },
        [options] {
            requireThat(!options->range || options->range->first < options->range->second,
                        "--range: LO must be less than HI");
        });
    options->source.addTo(*command);
    command->add_option("--bins", options->bins, "Largest number of bins")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    command->add_option("--range", options->range, "Values to count, both included; all if not given")
        ->type_name("LO HI")
        ->check(finiteNumber());
    command->add_option("--ignore", options->ignored, "A value to leave out")
        ->type_name("V")
        ->check(finiteNumber());
    addOutput(*command, "--csv", options->csv, "Writes the bins as a table");
    addOutput(*command, "--png", options->png, "Writes a plot");
    const std::map<std::string, CountScale> scales = {
        {"auto", CountScale::Automatic}, {"linear", CountScale::Linear}, {"log", CountScale::Logarithmic}};
    command->add_option("--scale", options->scale, "Of the counts in plots: auto, linear or log")
        ->type_name("SCALE")
        ->transform(CLI::CheckedTransformer(scales).description(""));
}

}  // namespace zbvolume

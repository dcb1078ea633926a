#include "CommandOptions.h"
#include "Commands.h"
#include "Numbers.h"
#include "Statistics.h"
#include "TerminalProgress.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <memory>

namespace zbvolume
{

namespace
{

void describeFile(Report& report, const Volume& volume)
{
    report.add("file", volume.path);
    report.add("format", volume.format);
    report.add("type", volume.fileType.getName());
    reportSize(report, volume.dims);
    report.add("voxels", volume.voxelCount());
    if (volume.frames > 1) {
        report.add("frames", volume.frames);
        report.add("frame", volume.frame);
    }
    reportPlace(report, volume.geometry);
    report.addNumber("slope", rounded(volume.slope));
    report.addNumber("offset", rounded(volume.offset));
}

void describeValues(Report& report, const Volume& volume, TerminalProgress& progress)
{
    const Statistics statistics = computeStatistics(volume, progress);
    if (statistics.nan > 0)
        report.add("nan", statistics.nan);
    if (statistics.infinite > 0)
        report.add("infinite", statistics.infinite);
    if (statistics.count == 0) {
        report.add("range", "none");
        return;
    }
    const ValueRange range{statistics.minimum, statistics.maximum};
    report.addNumbers("range", {storedText(volume, range.low), storedText(volume, range.high)}, " ");
    report.addNumber("mean", rounded(statistics.mean));
    report.addNumber("median", storedText(volume, statistics.median));
    report.addNumber("deviation", rounded(statistics.deviation));
    if (std::isfinite(range.high - range.low))  // no bins can cover what is wider
        addBins(report,
                std::make_shared<const ValueCounts>(countValues(volume, range, 16, std::nullopt, progress)),
                16, CountScale::Automatic);
}

}  // namespace

Report info(const InfoOptions& options, TerminalProgress& progress)
{
    const Volume volume = readVolume(options.source.source(), &progress);
    Report report;
    describeFile(report, volume);
    describeValues(report, volume, progress);
    return report;
}

void addInfo(CLI::App& app, Chosen& chosen)
{
    auto options = std::make_shared<InfoOptions>();
    auto* command = addCommand(app, chosen, "info",
                               "Type, sizes, spacing and the distribution of values, in stored values",
                               [options](TerminalProgress& progress) { return info(*options, progress); });
    options->source.addTo(*command);
}

}  // namespace zbvolume

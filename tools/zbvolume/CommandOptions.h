#pragma once

#include "HistogramPicture.h"
#include "Volume.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

namespace CLI
{
class App;
class Option;
}  // namespace CLI

namespace zbvolume
{

class Report;
class TerminalProgress;

/// FILE and the options that say how to read it.
struct SourceOptions {
    std::string path;
    std::int64_t frame = 0;
    std::tuple<std::int64_t, std::int64_t, std::int64_t, std::string> raw;  // type empty: not given
    bool isBigEndian = false;
    std::int64_t skip = 0;

    void addTo(CLI::App& command);
    VolumeSource source() const;
};

struct InfoOptions {
    SourceOptions source;
};

struct HistogramOptions {
    SourceOptions source;
    int bins = 256;
    std::optional<std::pair<double, double>> range;  // the smallest and the largest value if not given
    std::optional<double> ignored;
    CountScale scale = CountScale::Automatic;
    std::string csv;  // names of output files; empty: not wanted
    std::string png;
};

struct CountOptions {
    SourceOptions source;
    std::optional<double> threshold;  // required unless byValue
    std::optional<double> strong;
    int neighbours = 26;
    long minSize = 1;
    bool byValue = false;
    bool rasterPass = false;
    bool nanIsBackground = false;
    std::size_t maxRows = 20;  // of the table on a terminal
    bool all = false;
    std::string labels;  // names of output files; empty: not wanted
    std::string csv;
    std::string png;
};

/// Where a command that makes a volume of a volume puts it.
struct ResultOptions {
    std::string path;
    std::string png;  // empty: not wanted

    void addTo(CLI::App& command);
};

struct CropOptions {
    SourceOptions source;
    ResultOptions result;
    std::array<int, 3> from{};  // both included
    std::array<int, 3> to{};
    double fill = 0;
};

struct PermuteOptions {
    SourceOptions source;
    ResultOptions result;
    std::array<int, 3> order = {0, 1, 2};  // new axis k is the old axis order[k]
};

struct ConvertOptions {
    SourceOptions source;
    std::string output;
    std::string type;
    double offset = 0;
    double scale = 1;
};

struct ResampleOptions {
    SourceOptions source;
    ResultOptions result;
    std::optional<std::array<int, 3>> size;  // else factor
    double factor = 1;
    std::string kernel = "triangle";
    std::string type;  // empty: that of the file
    bool areCategories = false;
};

struct MorphologyOptions {
    SourceOptions source;
    ResultOptions result;
    bool isErosion = true;
    double threshold = 0;
    int iterations = 1;
    std::string axes = "xyz";  // of an erosion
    std::string protect;       // of an erosion; empty: nothing is protected
    bool nanIsBackground = false;
};

Report info(const InfoOptions& options, TerminalProgress& progress);
Report histogram(const HistogramOptions& options, TerminalProgress& progress);
Report count(const CountOptions& options, TerminalProgress& progress);
Report crop(const CropOptions& options, TerminalProgress& progress);
Report permute(const PermuteOptions& options, TerminalProgress& progress);
Report convert(const ConvertOptions& options, TerminalProgress& progress);
Report resample(const ResampleOptions& options, TerminalProgress& progress);
Report morphology(const MorphologyOptions& options, TerminalProgress& progress);
Report sample(const std::string& path, int size, TerminalProgress& progress);

/// An option that names a file to write.
CLI::Option* addOutput(CLI::App& command, const std::string& name, std::string& path,
                       const std::string& description);

/// The option that names the volume to write.
CLI::Option* addResult(CLI::App& command, std::string& path);
/// An option that names the type of the voxels to write. A type that cannot be written is a wrong command line.
CLI::Option* addType(CLI::App& command, std::string& type, const std::string& description);
/// The type of that name, one that addType() lets through.
ZbPrimType writtenType(const std::string& name);

/// Lines about the grid of a volume: its sizes, and where it lies in space if that is known.
void reportSize(Report& report, const std::array<int, 3>& dims);
void reportPlace(Report& report, const Geometry& geometry);
/// The sizes of a result, the type that it is written in, and, if the source told, where it lies.
void reportGrid(Report& report, const Volume& volume, ZbPrimType type, bool hasSpace);

/// Throws Failure where volume has voxels that are not a number: they are neither below nor above a threshold.
void refuseNan(const Volume& volume);

/// value as it stands in the volume: with the digits that its type needs.
std::string storedText(const Volume& volume, double value);
/// The name without folders, cut to what fits the head of a picture.
std::string shownName(const std::string& path);

}  // namespace zbvolume

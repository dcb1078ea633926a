#pragma once

#include "HistogramPicture.h"
#include "Volume.h"

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
    bool givenPass = false;
    bool nanIsBackground = false;
    std::size_t maxRows = 20;  // of the table on a terminal
    bool all = false;
    std::string labels;  // names of output files; empty: not wanted
    std::string csv;
    std::string png;
};

Report info(const InfoOptions& options, TerminalProgress& progress);
Report histogram(const HistogramOptions& options, TerminalProgress& progress);
Report count(const CountOptions& options, TerminalProgress& progress);
Report sample(const std::string& path, int size, TerminalProgress& progress);

/// An option that names a file to write.
CLI::Option* addOutput(CLI::App& command, const std::string& name, std::string& path,
                       const std::string& description);

/// value as it stands in the volume: with the digits that its type needs.
std::string storedText(const Volume& volume, double value);
/// The name without folders, cut to what fits the head of a picture.
std::string shownName(const std::string& path);

}  // namespace zbvolume

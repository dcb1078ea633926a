#pragma once

#include "Volume.h"

#include <cstdint>
#include <optional>
#include <vector>

class ZbProgressInterface;

namespace zbvolume
{

/// The figures of the finite values of a volume, in stored values.
struct Statistics {
    long count = 0;     // finite values; of none, the figures below are NaN
    long nan = 0;       // values that are not a number
    long infinite = 0;  // positive and negative
    double minimum = 0;
    double maximum = 0;
    double mean = 0;
    double median = 0;     // exact; between the two in the middle, their mean
    double deviation = 0;  // root of the mean squared distance from the mean
};

/// O(voxels), a few passes; no memory of the size of the volume. Throws Interrupted.
Statistics computeStatistics(const Volume& volume, ZbProgressInterface& progress);

struct ValueRange {
    double low = 0;
    double high = 0;
};
/// The smallest and the largest finite value; none where no value is finite.
std::optional<ValueRange> finiteRange(const Volume& volume);

/// How many values there are that are not a number.
long countNan(const Volume& volume);

/// A histogram as people read it: values outside of the range are told apart, not put into the end bins.
struct ValueCounts {
    double low = 0;          // lower edge of the first bin
    double binWidth = 1;     // all bins have it
    bool isInteger = false;  // edges then lie half way between integers
    std::vector<std::uint64_t> bins;
    std::uint64_t counted = 0;  // sum of the bins
    std::uint64_t below = 0;    // values below the range, -infinity among them
    std::uint64_t above = 0;
    std::uint64_t nan = 0;
    std::uint64_t ignored = 0;

    double edge(std::size_t bin) const { return low + double(bin) * binWidth; }
    double centre(std::size_t bin) const { return low + (double(bin) + 0.5) * binWidth; }
    /// Of the counted values, each taken as the centre of its bin; NaN when nothing was counted.
    double mean() const;
    double deviation() const;
    /// The centre of the bin in which the counts from the first bin on reach one half; between two bins when
    /// they reach it exactly at the end of a bin.
    double median() const;
};

/// Counts values in maxBins bins over range, both ends included. For integer voxels every bin covers the same
/// whole number of values, so that there may be fewer bins, and the last may reach beyond the range, where it
/// stays empty. Values equal to ignored are left out. Throws Interrupted.
ValueCounts countValues(const Volume& volume, const ValueRange& range, int maxBins,
                        std::optional<double> ignored, ZbProgressInterface& progress);

}  // namespace zbvolume

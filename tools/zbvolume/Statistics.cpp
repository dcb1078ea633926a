#include "Statistics.h"

#include "Failure.h"

#include <zblib/data/ZbHistogram.h>
#include <zblib/data/ZbRawData.h>
#include <zblib/foundation/ZbProgressInterface.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <span>
#include <type_traits>

namespace zbvolume
{

namespace
{

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// Voxels between two looks at the progress object.
constexpr std::size_t blockLength = std::size_t(1) << 20;

// Runs visit on the voxels as a span of their own type.
template <typename Visit>
void visitVoxels(const Volume& volume, Visit&& visit)
{
    zbVisitPrimType<unsigned char, signed char, short, unsigned short, int, unsigned int, float, double>(
        volume.type, [&](auto tag) {
            using Value = typename decltype(tag)::Type;
            visit(std::span<const Value>(static_cast<const Value*>(volume.block.get()),
                                         std::size_t(volume.voxelCount())));
        });
}

template <typename Value>
bool isFinite(Value value)
{
    if constexpr (std::is_floating_point_v<Value>)
        return std::isfinite(value);
    else
        return true;
}

// Passes over all values in blocks and reports where it is.
template <typename Value, typename Work>
void forBlocks(std::span<const Value> values, ZbProgressInterface& progress, Work&& work)
{
    for (std::size_t first = 0; first < values.size(); first += blockLength) {
        work(values.subspan(first, std::min(blockLength, values.size() - first)));
        progress.setProgressValue(float(double(first) / double(values.size())));
        if (progress.wasInterrupted(true))
            throw Interrupted();
    }
}

// Sums term(value) over the finite values. A long double has room for the squares of the largest doubles, and
// digits for the rounding errors of billions of additions.
template <typename Value, typename Term>
long double sumFinite(std::span<const Value> values, ZbProgressInterface& progress, Term&& term)
{
    long double sum = 0;
    forBlocks(values, progress, [&](std::span<const Value> block) {
        for (const Value value : block)
            if (isFinite(value))
                sum += term(static_cast<long double>(value));
    });
    return sum;
}

template <std::size_t bytes>
using UnsignedOf =
    std::conditional_t<bytes == 1, std::uint8_t,
                       std::conditional_t<bytes == 2, std::uint16_t,
                                          std::conditional_t<bytes == 4, std::uint32_t, std::uint64_t>>>;

// Unsigned integers in the order of the values they stand for.
template <typename Value>
struct OrderedKey {
    using Key = UnsignedOf<sizeof(Value)>;
    static constexpr Key sign = Key(Key(1) << (8 * sizeof(Key) - 1));

    static Key from(Value value)
    {
        const Key bits = std::bit_cast<Key>(value);
        if constexpr (std::is_floating_point_v<Value>)
            return (bits & sign) != 0 ? Key(~bits) : Key(bits | sign);
        else
            return std::is_signed_v<Value> ? Key(bits ^ sign) : bits;
    }
    static Value to(Key key)
    {
        if constexpr (std::is_floating_point_v<Value>)
            key = (key & sign) != 0 ? Key(key & ~sign) : Key(~key);
        else if (std::is_signed_v<Value>)
            key ^= sign;
        return std::bit_cast<Value>(key);
    }
};

// The finite value that has rank smaller ones, found digit by digit from the counts of the digits. rank is
// less than the number of finite values.
template <typename Value>
Value finiteValueOfRank(std::span<const Value> values, long rank, ZbProgressInterface& progress)
{
    using Ordered = OrderedKey<Value>;
    using Key = typename Ordered::Key;
    constexpr int digitBits = std::min(16, int(8 * sizeof(Key)));
    constexpr std::size_t digits = std::size_t(1) << digitBits;
    Key found = 0;
    Key known = 0;  // the bits of found that are settled
    for (int shift = int(8 * sizeof(Key)) - digitBits; shift >= 0; shift -= digitBits) {
        std::vector<long> counts(digits);
        forBlocks(values, progress, [&](std::span<const Value> block) {
            for (const Value value : block) {
                const Key key = Ordered::from(value);
                if (isFinite(value) && (key & known) == found)
                    counts[(key >> shift) % digits]++;
            }
        });
        std::size_t digit = 0;
        while (rank >= counts[digit])
            rank -= counts[digit++];
        found = Key(found | (Key(digit) << shift));
        known = Key(known | (Key(digits - 1) << shift));
    }
    return Ordered::to(found);
}

// The smallest and the largest finite value of data that has infinite ones.
template <typename Value>
std::optional<ValueRange> searchFinite(std::span<const Value> values)
{
    std::optional<ValueRange> range;
    for (const Value value : values)
        if (isFinite(value))
            range =
                range ? ValueRange{std::min(range->low, double(value)), std::max(range->high, double(value))}
                      : ValueRange{double(value), double(value)};
    return range;
}

}  // namespace

std::optional<ValueRange> finiteRange(const Volume& volume)
{
    std::optional<ValueRange> range;
    visitVoxels(volume, [&](auto values) {
        using Value = std::remove_const_t<typename decltype(values)::element_type>;
        Value low{};
        Value high{};
        ZbRawData::getRange(volume.type, values.data(), values.size(), &low, &high);
        if (isFinite(low) && isFinite(high)) {
            // The search starts from the largest finite value: that is left where there are only NaNs, or
            // NaNs and an infinity, which is not finite.
            if (low <= high)
                range = ValueRange{double(low), double(high)};
        } else {
            range = searchFinite<Value>(values);
        }
    });
    return range;
}

long countNan(const Volume& volume)
{
    long count = 0;
    visitVoxels(volume, [&](auto values) {
        using Value = typename decltype(values)::element_type;
        if constexpr (std::is_floating_point_v<Value>)
            count =
                std::count_if(values.begin(), values.end(), [](Value value) { return std::isnan(value); });
    });
    return count;
}

Statistics computeStatistics(const Volume& volume, ZbProgressInterface& progress)
{
    Statistics result;
    progress.startWorking("Statistics");
    result.nan = countNan(volume);
    const auto range = finiteRange(volume);
    result.minimum = range ? range->low : notANumber;
    result.maximum = range ? range->high : notANumber;
    visitVoxels(volume, [&](auto values) {
        using Value = std::remove_const_t<typename decltype(values)::element_type>;
        const std::span<const Value> all = values;
        result.count = std::count_if(all.begin(), all.end(), [](Value value) { return isFinite(value); });
        result.infinite = long(all.size()) - result.count - result.nan;
        result.mean = result.median = result.deviation = notANumber;
        if (result.count == 0)
            return;
        const auto count = static_cast<long double>(result.count);
        const long double mean = sumFinite(all, progress, [](long double value) { return value; }) / count;
        const long double variance =
            sumFinite(all, progress, [mean](long double value) { return (value - mean) * (value - mean); }) /
            count;
        result.mean = double(mean);
        result.deviation = double(std::sqrt(variance));
        const auto upper = double(finiteValueOfRank(all, result.count / 2, progress));
        const double lower =
            result.count % 2 == 0 ? double(finiteValueOfRank(all, result.count / 2 - 1, progress)) : upper;
        result.median = lower / 2 + upper / 2;
    });
    progress.stopWorking();
    return result;
}

ValueCounts countValues(const Volume& volume, const ValueRange& range, int maxBins,
                        std::optional<double> ignored, ZbProgressInterface& progress)
{
    const double extent = range.high - range.low;
    if (!std::isfinite(extent))
        throw Failure(volume.path, "has a range of values that is too wide for a histogram");
    ValueCounts counts;
    counts.isInteger = volume.fileType.isInteger();  // 64 bits are doubles in memory
    ZbHistogram histogram;
    if (counts.isInteger) {
        const double first = std::ceil(range.low);
        const double values = std::max(1.0, std::floor(range.high) - first + 1);
        counts.binWidth = std::ceil(values / maxBins);
        counts.low = first - 0.5;
        const double bins = std::ceil(values / counts.binWidth);
        histogram.init(counts.low, counts.low + bins * counts.binWidth, int(bins));
    } else {
        // Equal values, and those that differ by less than bins can tell apart, share one bin.
        histogram.init(range.low, range.high, extent / maxBins > 0 ? maxBins : 1);
        counts.low = range.low;
        counts.binWidth = (histogram.getMax() - histogram.getMin()) / histogram.getNumBins();
    }

    progress.startWorking("Counting values");
    ZbRawData::getHistogram(volume.voxels(), (unsigned long)volume.voxelCount(), histogram,
                            ignored.has_value(), ignored.value_or(0), &progress);
    visitVoxels(volume, [&](auto values) {
        using Value = std::remove_const_t<typename decltype(values)::element_type>;
        forBlocks(std::span<const Value>(values), progress, [&](std::span<const Value> block) {
            for (const Value value : block) {
                const auto real = double(value);
                const bool isIgnored = ignored && real == *ignored;
                counts.nan += real != real;
                counts.ignored += isIgnored;
                counts.below += !isIgnored && real < range.low;
                counts.above += !isIgnored && real > range.high;
            }
        });
    });
    progress.stopWorking();

    // The histogram holds what lies outside of the range in its end bins.
    for (int i = 0; i < histogram.getNumBins(); i++)
        counts.bins.push_back(histogram.getCount(i));
    counts.bins.front() -= counts.below;
    counts.bins.back() -= counts.above;
    counts.counted = histogram.getOverallCounts() - counts.below - counts.above;
    return counts;
}

double ValueCounts::mean() const
{
    double sum = 0;
    for (std::size_t i = 0; i < bins.size(); i++)
        sum += double(bins[i]) * centre(i);
    return sum / double(counted);
}

double ValueCounts::deviation() const
{
    const double middle = mean();
    double sum = 0;
    for (std::size_t i = 0; i < bins.size(); i++)
        sum += double(bins[i]) * (centre(i) - middle) * (centre(i) - middle);
    return std::sqrt(sum / double(counted));
}

double ValueCounts::median() const
{
    if (counted == 0)
        return notANumber;
    // The bins of the value in the middle, or of the two.
    const auto binOfRank = [this](std::uint64_t rank) {
        std::size_t bin = 0;
        while (rank >= bins[bin])
            rank -= bins[bin++];
        return bin;
    };
    return (centre(binOfRank((counted - 1) / 2)) + centre(binOfRank(counted / 2))) / 2;
}

}  // namespace zbvolume

#pragma once

#include <zblib/containers/ZbDArray.h>
#include <zblib/foundation/ZbExport.h>

#include <concepts>

namespace ZbDetail
{
class HistogramFill;
}

/// Counts values into equally wide bins over a range, and answers questions about the counts.
///
/// A value v falls into bin (v - min) / bin width, truncated toward zero. Values outside of the range, infinite
/// ones too, fall into the first or the last bin; NaNs are left out. To fill one from a block of data on all
/// processors, see ZbRawData::getHistogram().
///
/// Statistics come in two forms: in bins (getMeanBin()), counted from 0, and in values (getMean()), which are
/// those of the centres of bins. They take the time of one pass over the bins; mean, median and variance are kept
/// until values are added. On a histogram without values means, variances, moments and probabilities are NaN.
///
/// A value type that owns its counts. Not safe for concurrent writers, nor for concurrent readers, since queries
/// keep their results.
class ZB_API ZbHistogram
{
public:
    /// No bins; the range is [0, 1]. Values that are added are lost.
    ZbHistogram() = default;
    /// See init().
    ZbHistogram(double min, double max, int numBins) { init(min, max, numBins); }
    ZbHistogram(int min, int max, int step) { init(min, max, step); }
    /// Takes a copy of the counts, one for each bin, over the range; max <= min counts as min + 1.
    ZbHistogram(float min, float max, const ZbDArray<unsigned long long>& counts);

    /// numBins bins, at least one, over [min, max], all empty; max <= min counts as min + 1.
    void init(double min, double max, int numBins);
    /// Bins for integers: each as wide as step integers, the first one beginning at min - 0.5, so that with step
    /// 1 every integer is the centre of a bin.
    ///
    /// For more than about 100000 bins the step is doubled until they fit. The range ends at
    /// max + (max - min) % step + 0.5, which callers rely on and which may make bins slightly wider than step. A step below 1
    /// makes one bin.
    void init(int min, int max, int step);

    void addValue(double value)
    {
        if (value == value)
            addCount(binOf(value), 1);
    }
    void addValue(float value) { addValue(double(value)); }
    /// 64-bit integers are rounded to a double.
    template <std::integral T>
    void addValue(T value)
    {
        addValue(double(value));
    }

    /// The same as adding each of count values, but faster. For all integer types but bool and those of characters other than char.
    void addValues(const double* values, unsigned long count);
    void addValues(const float* values, unsigned long count);
    template <std::integral T>
    void addValues(const T* values, unsigned long count);

    int getNumBins() const noexcept { return int(m_counts.size()); }
    /// bin is in [0, getNumBins()); not checked.
    unsigned long long getCount(int bin) const { return m_counts[bin]; }
    unsigned long long operator[](int bin) const { return m_counts[bin]; }
    /// The number of values that were added.
    unsigned long long getOverallCounts() const noexcept { return m_overallCount; }
    /// The fraction of the values that is in the bin.
    double getProbability(int bin) const { return double(getCount(bin)) / double(m_overallCount); }

    double getMin() const noexcept { return m_min; }
    double getMax() const noexcept { return m_max; }
    /// The value at the centre of a bin; fractions of bins count.
    double getValue(double bin) const { return (bin + 0.5) * m_binWidth + m_min; }

    /// The bin with the largest count, the first of several; 0 where there are no bins.
    int getMaxCountBin() const;
    /// Its count; 0 where there are no bins.
    unsigned long long getMaxCount() const;

    double getMeanBin() const;
    double getMean() const { return getValue(getMeanBin()); }
    /// One past the first bin by which half of the values are reached, a convention that callers rely on. 1
    /// where there are no values, 0 where there are no bins.
    double getMedianBin() const;
    double getMedian() const { return getValue(getMedianBin()); }
    double getVarianceBin() const;
    double getVariance() const { return getVarianceBin() * (m_binWidth * m_binWidth); }
    /// The square roots of the variances; 0 where rounding has put a variance below 0.
    double getStandardDeviationBin() const;
    double getStandardDeviation() const;
    /// The central moment: the mean of (bin - mean bin)^p.
    double getMomentBin(double p) const;
    double getMoment(double p) const;

    /// -sum p ln p over the bins that are not empty, in nats; 0 where there are none.
    double getShannonEntropy() const;
    /// ln(sum p^alpha) / (1 - alpha) over the bins that are not empty; Shannon's at alpha 1, which is its limit,
    /// and -ln max p for infinite alpha. 0 where there are none.
    double getRenyiEntropy(double alpha) const;

    /// The range [low, high] between two fractions of the values, in steps of bins: about lowFraction of them lie
    /// below low, and about 1 - highFraction above high. 0 and 1 give the whole range of the histogram, filled or
    /// not.
    void getRange(float& low, float& high, float lowFraction, float highFraction) const;

    /// Adds the counts of another histogram of the same range and number of bins. One with another number of
    /// bins is refused, and nothing changes.
    void merge(const ZbHistogram& other);
    /// A histogram of the same range and number of values in numBins bins: each count goes to the bin that holds
    /// the centre of its old bin.
    [[nodiscard]] ZbHistogram resampled(int numBins) const;

private:
    friend class ZbDetail::HistogramFill;

    // A statistic, and the number of values that it was computed for.
    struct Cached {
        double value = 0;
        unsigned long long overallCount = 0;
    };
    template <typename Compute>
    double cached(Cached& entry, Compute compute) const;

    int binOf(double value) const
    {
        // Divided, not multiplied by a reciprocal, which would put some values that lie on an edge beside it. The
        // comparisons send a quotient that is NaN (infinite over infinite) to bin 0.
        const double bin = (value - m_min) / m_binWidth;
        return bin > 0 ? bin < double(getNumBins() - 1) ? int(bin) : getNumBins() - 1 : 0;
    }
    void addCount(int bin, unsigned long long count)
    {
        if (getNumBins() > 0) {
            m_counts[bin] += count;
            m_overallCount += count;
        }
    }

    ZbDArray<unsigned long long> m_counts;
    unsigned long long m_overallCount = 0;  // the sum of m_counts
    double m_min = 0;
    double m_max = 1;
    double m_binWidth = 1;
    mutable Cached m_meanBin;
    mutable Cached m_medianBin;
    mutable Cached m_varianceBin;
};

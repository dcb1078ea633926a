#include <zblib/data/ZbHistogram.h>

#include <zblib/data/ZbHistogramFill.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace
{

// Nearest integer, halves to even. Far beyond any count, of either sign, the answer is the same.
long long roundedCount(double count)
{
    return count == count ? std::llrint(std::clamp(count, -0x1p62, 0x1p62)) : 0;
}

// A variance is the difference of two rounded numbers, which may fall below 0.
double deviation(double variance)
{
    return variance < 0 ? 0 : std::sqrt(variance);
}

}  // namespace

ZbHistogram::ZbHistogram(float min, float max, const ZbDArray<unsigned long long>& counts)
{
    if (counts.isEmpty()) {
        m_min = min;
        m_max = min >= max ? min + 1.0 : max;
        return;
    }
    init(double(min), double(max), int(counts.size()));
    m_counts = counts;
    for (const unsigned long long count : counts)
        m_overallCount += count;
}

void ZbHistogram::init(double min, double max, int numBins)
{
    m_counts.resize(std::max(numBins, 1));
    m_counts.fill(0);
    m_min = min;
    m_max = min >= max ? min + 1.0 : max;
    m_binWidth = (m_max - m_min) / getNumBins();
    m_overallCount = 0;
    m_meanBin = m_medianBin = m_varianceBin = Cached();
}

void ZbHistogram::init(int min, int max, int step)
{
    const long long range = (long long)(max)-min;
    if (step < 1) {
        init(min - 0.5, max + 0.5, 1);
        return;
    }
    long long wide = step;
    while (range / wide > 100000)
        wide *= 2;
    // The remainder is added, not rounded up to a whole step.
    const long long end = max + range % wide;
    // Negative where max lies below min, and then too low for an int, possibly.
    const long long numBins = std::max((end - min + 1) / wide, 1LL);
    init(min - 0.5, double(end) + 0.5, int(numBins));
}

void ZbHistogram::addValues(const double* values, unsigned long count)
{
    ZbDetail::HistogramFill(*this).add(values, count);
}

void ZbHistogram::addValues(const float* values, unsigned long count)
{
    ZbDetail::HistogramFill(*this).add(values, count);
}

template <std::integral T>
void ZbHistogram::addValues(const T* values, unsigned long count)
{
    ZbDetail::HistogramFill(*this).add(values, count);
}

template ZB_API void ZbHistogram::addValues(const char*, unsigned long);
template ZB_API void ZbHistogram::addValues(const signed char*, unsigned long);
template ZB_API void ZbHistogram::addValues(const unsigned char*, unsigned long);
template ZB_API void ZbHistogram::addValues(const short*, unsigned long);
template ZB_API void ZbHistogram::addValues(const unsigned short*, unsigned long);
template ZB_API void ZbHistogram::addValues(const int*, unsigned long);
template ZB_API void ZbHistogram::addValues(const unsigned int*, unsigned long);
template ZB_API void ZbHistogram::addValues(const long*, unsigned long);
template ZB_API void ZbHistogram::addValues(const unsigned long*, unsigned long);
template ZB_API void ZbHistogram::addValues(const long long*, unsigned long);
template ZB_API void ZbHistogram::addValues(const unsigned long long*, unsigned long);

int ZbHistogram::getMaxCountBin() const
{
    return int(std::max_element(m_counts.begin(), m_counts.end()) - m_counts.begin());
}

unsigned long long ZbHistogram::getMaxCount() const
{
    return getNumBins() > 0 ? getCount(getMaxCountBin()) : 0;
}

template <typename Compute>
double ZbHistogram::cached(Cached& entry, Compute compute) const
{
    if (entry.overallCount == 0 || entry.overallCount < m_overallCount)
        entry = {compute(), m_overallCount};
    return entry.value;
}

double ZbHistogram::getMeanBin() const
{
    return cached(m_meanBin, [this] {
        double sum = 0;
        for (int bin = 0; bin < getNumBins(); ++bin)
            sum += double(m_counts[bin]) * bin;
        return sum / double(m_overallCount);
    });
}

double ZbHistogram::getMedianBin() const
{
    return cached(m_medianBin, [this] {
        double sum = 0;
        int bin = 0;
        // Without values the sum is NaN after one bin, which ends the loop.
        while (bin < getNumBins() && sum < 0.5)
            sum += getProbability(bin++);
        return double(bin);
    });
}

double ZbHistogram::getVarianceBin() const
{
    return cached(m_varianceBin, [this] {
        double sum = 0;
        for (int bin = 0; bin < getNumBins(); ++bin)
            sum += double(m_counts[bin]) * bin * bin;
        const double mean = getMeanBin();
        return sum / double(m_overallCount) - mean * mean;
    });
}

double ZbHistogram::getStandardDeviationBin() const
{
    return deviation(getVarianceBin());
}

double ZbHistogram::getStandardDeviation() const
{
    return deviation(getVariance());
}

double ZbHistogram::getMomentBin(double p) const
{
    const double mean = getMeanBin();
    double sum = 0;
    for (int bin = 0; bin < getNumBins(); ++bin)
        if (m_counts[bin] != 0)
            sum += double(m_counts[bin]) * std::pow(bin - mean, p);
    return sum / double(m_overallCount);
}

double ZbHistogram::getMoment(double p) const
{
    return std::pow(m_binWidth, p) * getMomentBin(p);
}

double ZbHistogram::getShannonEntropy() const
{
    double entropy = 0;
    for (int bin = 0; bin < getNumBins(); ++bin)
        if (m_counts[bin] != 0)
            entropy -= getProbability(bin) * std::log(getProbability(bin));
    return entropy;
}

double ZbHistogram::getRenyiEntropy(double alpha) const
{
    if (m_overallCount == 0)
        return 0;
    if (alpha == 1)
        return getShannonEntropy();
    if (alpha == std::numeric_limits<double>::infinity())
        return -std::log(double(getMaxCount()) / double(m_overallCount));
    double sum = 0;
    for (int bin = 0; bin < getNumBins(); ++bin)
        if (m_counts[bin] != 0)
            sum += std::pow(getProbability(bin), alpha);
    return std::log(sum) / (1 - alpha);
}

void ZbHistogram::getRange(float& low, float& high, float lowFraction, float highFraction) const
{
    if (getNumBins() == 0 || (lowFraction == 0 && highFraction == 1)) {
        low = float(m_min);
        high = float(m_max);
        return;
    }
    const auto count = [this](int bin) { return (long long)(m_counts[bin]); };
    const long long lowCount = roundedCount(lowFraction * double(m_overallCount));
    const long long highCount = roundedCount(double(m_overallCount) * highFraction);

    // The lowest bin with at least highCount values in the bins below it, one too few of which are below the
    // next lower bin; the last bin where the values of the others do not reach.
    int highBin = getNumBins() - 1;
    long long below = (long long)(m_overallCount)-count(highBin);
    if (highCount <= below) {
        while (highBin - 1 >= 0) {
            below -= count(highBin - 1);
            if (highCount > below)
                break;
            --highBin;
        }
    }

    int lowBin = 0;
    long long sum = count(0);
    if (lowCount >= sum) {
        while (lowBin + 1 < getNumBins()) {
            sum += count(lowBin + 1);
            if (lowCount < sum)
                break;
            ++lowBin;
        }
    }
    const double width = std::abs(m_max - m_min) / getNumBins();
    low = float(m_min + lowBin * width);
    high = float(m_min + highBin * width);
}

void ZbHistogram::merge(const ZbHistogram& other)
{
    if (getNumBins() != other.getNumBins())
        return;
    for (int bin = 0; bin < getNumBins(); ++bin)
        m_counts[bin] += other.m_counts[bin];
    m_overallCount += other.m_overallCount;
}

ZbHistogram ZbHistogram::resampled(int numBins) const
{
    ZbHistogram result(m_min, m_max, numBins);
    for (int bin = 0; bin < getNumBins(); ++bin)
        result.addCount(result.binOf(getValue(bin)), m_counts[bin]);
    return result;
}

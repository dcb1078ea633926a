#include <zblib/data/ZbHistogramFill.h>

#include <zblib/data/ZbCopyBytes.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/foundation/ZbProgressInterface.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <limits>
#include <type_traits>

namespace
{

using Byte = unsigned char;
using UShort = unsigned short;
using UInt = unsigned int;
using UInt64 = unsigned long long;

// Progress is told after so many values.
constexpr unsigned long sectionSize = 1000000;
// Tallies count in 32 bits; so many values cannot overflow them.
constexpr unsigned long tallyLimit = 4000 * sectionSize;
// Strided values are gathered in pieces of this size.
constexpr unsigned long gatherSize = 1024;

ZbDArray<UInt> zeros(long count)
{
    ZbDArray<UInt> counts(count);
    counts.fill(0);
    return counts;
}

template <typename T>
T loadWord(const void* data)
{
    T word;
    std::memcpy(&word, data, sizeof(word));
    return word;
}

// ---- tallies: count values fast, and hand over counts of values or of bins later
//
// One increment of a count in memory costs a cycle at best, on whatever machine. The tallies of small integers
// count values, whose bins are computed once each.

// Bytes in four tables, which spares equal neighbours from waiting for each other.
class ByteTally
{
public:
    static constexpr bool countsValues = true;

    void add(const Byte* data, unsigned long count)
    {
        UInt* const counts = m_counts.data();
        unsigned long i = 0;
        for (; i + 8 <= count; i += 8) {
            const auto word = loadWord<UInt64>(data + i);
            for (int k = 0; k < 8; ++k)
                ++counts[unsigned(k) % 4 * 256 + (word >> (8 * k) & 255)];
        }
        for (; i < count; ++i)
            ++counts[data[i]];
    }

    template <typename Sink>
    void handOver(Sink sink)
    {
        for (long value = 0; value < 256; ++value)
            sink(value, UInt64(m_counts[value]) + m_counts[value + 256] + m_counts[value + 512] +
                            m_counts[value + 768]);
        m_counts.fill(0);
    }

private:
    ZbDArray<UInt> m_counts = zeros(4 * 256);
};

// Bytes by pairs, for large arrays: half the increments. Neighbours in images are alike, so that few of the
// 65536 counts are in use; on noise, which uses all, this is 10 % slower than single bytes.
class BytePairTally
{
public:
    static constexpr bool countsValues = true;

    void add(const Byte* data, unsigned long count)
    {
        UInt* const pairs = m_pairs.data();
        unsigned long i = 0;
        for (; i + runSize <= count; i += runSize) {
            if (isRun(data + i)) {
                pairs[place(data[i] * 257u)] += runSize / 2;
                continue;
            }
            for (unsigned long k = 0; k < runSize; k += 8) {
                const auto word = loadWord<UInt64>(data + i + k);
                ++pairs[place(word & 0xffff)];
                ++pairs[place(word >> 16 & 0xffff)];
                ++pairs[place(word >> 32 & 0xffff)];
                ++pairs[place(word >> 48)];
            }
        }
        m_singles.add(data + i, count - i);
    }

    template <typename Sink>
    void handOver(Sink sink)
    {
        UInt64 counts[256] = {};
        for (UInt64 pair = 0; pair < 65536; ++pair) {
            const UInt count = m_pairs[long(place(pair))];
            counts[pair & 255] += count;
            counts[pair >> 8] += count;
        }
        for (long value = 0; value < 256; ++value)
            sink(value, counts[value]);
        m_pairs.fill(0);
        m_singles.handOver(sink);
    }

private:
    static constexpr unsigned long runSize = 64;

    // The rows of 256 counts are set apart by 8: in use are the same few places of each row, which would share
    // the same few sets of the cache.
    static UInt64 place(UInt64 pair) { return pair + (pair >> 8) * 8; }

    // Whether runSize bytes are equal, as in the background of an image.
    static bool isRun(const Byte* data)
    {
        const auto word = loadWord<UInt64>(data);
        const __m128i first = _mm_set1_epi64x((long long)(word));
        __m128i equal = _mm_set1_epi8(char(-1));
        for (unsigned long k = 0; k < runSize; k += 16)
            equal = _mm_and_si128(equal, _mm_cmpeq_epi8(first, loadWord<__m128i>(data + k)));
        return _mm_movemask_epi8(equal) == 0xffff && word == std::rotl(word, 8);
    }

    ZbDArray<UInt> m_pairs = zeros(long(place(65535)) + 1);
    ByteTally m_singles;
};

class UShortTally
{
public:
    static constexpr bool countsValues = true;

    void add(const UShort* data, unsigned long count)
    {
        UInt* const counts = m_counts.data();
        unsigned long i = 0;
        for (; i + 4 <= count; i += 4) {
            const auto word = loadWord<UInt64>(data + i);
            ++counts[word & 0xffff];
            ++counts[word >> 16 & 0xffff];
            ++counts[word >> 32 & 0xffff];
            ++counts[word >> 48];
        }
        for (; i < count; ++i)
            ++counts[data[i]];
    }

    template <typename Sink>
    void handOver(Sink sink)
    {
        for (long value = 0; value < 65536; ++value)
            sink(value, UInt64(m_counts[value]));
        m_counts.fill(0);
    }

private:
    ZbDArray<UInt> m_counts = zeros(65536);
};

struct Bins {
    double min;
    double width;
    double last;     // index of the last bin
    double ignored;  // NaN: none
};

// The bins of values as by ZbHistogram::binOf(), and one past the last for those that are left out. Reads no more
// than its arguments, so that the loop vectorises.
template <typename T>
inline void findBins(int* __restrict bins, const T* __restrict data, unsigned long count, double min,
                     double width, double last, double ignored)
{
    for (unsigned long i = 0; i < count; ++i) {
        const double value = double(data[i]);
        double bin = (value - min) / width;
        bin = bin > 0.0 ? bin : 0.0;
        bin = bin < last ? bin : last;
        // Bitwise: without a branch.
        bin = ((value == value) & !(value == ignored)) ? bin : last + 1.0;
        bins[i] = int(bin);
    }
}

// The same by products with the reciprocal of the width, several times as fast. True if the bins are certain: no
// product is so near to a whole number, tolerance or less, that the quotient may lie on its other side.
template <typename Real, typename T>
inline bool findBinsByProduct(int* __restrict bins, const T* __restrict data, unsigned long count, Real min,
                              Real reciprocal, Real last, Real ignored, Real tolerance)
{
    const Real certain = Real(0.5) - tolerance;
    int doubtful = 0;
    for (unsigned long i = 0; i < count; ++i) {
        const Real value = Real(data[i]);
        Real bin = (value - min) * reciprocal;
        // Into the middle of the end bins, where nothing is in doubt.
        bin = bin > Real(0.5) ? bin : Real(0.5);
        bin = bin < last + Real(0.5) ? bin : last + Real(0.5);
        // NOLINTNEXTLINE(misc-redundant-expression): NaN is not equal to itself
        bin = ((value == value) & !(value == ignored)) ? bin : last + Real(1.5);
        bins[i] = int(bin);
        const Real fromMiddle = bin - Real(bins[i]) - Real(0.5);
        doubtful |= (fromMiddle > certain) | (fromMiddle < -certain);
    }
    return doubtful == 0;
}

// How far a product may be from the quotient that it stands for, in bins: the reciprocal, the difference and the
// product are rounded once each, and so is the minimum before all. Slack for terms of second order. Infinite where
// products cannot be used at all.
template <typename Real>
double productTolerance(const Bins& bins)
{
    const double top = std::numeric_limits<Real>::max() / 4;
    const bool usable = bins.width > 1.0 / top && bins.width < top && std::abs(bins.min) < top &&
                        bins.width * (bins.last + 1.0) < top;
    constexpr double rounding = std::numeric_limits<Real>::epsilon() / 2;
    return usable ? 1.125 * rounding * (3.0 * (bins.last + 1.0) + std::abs(bins.min) / bins.width)
                  : std::numeric_limits<double>::infinity();
}

// Finds the bins of block after block, by products as long as that pays.
template <typename T>
class BinFinder
{
public:
    explicit BinFinder(const Bins& bins) : m_bins(bins) {}

    void find(int* bins, const T* data, unsigned long count)
    {
        if (m_skip > 0)
            --m_skip;
        else if (findByProduct(bins, data, count))
            return;
        findBins(bins, data, count, m_bins.min, m_bins.width, m_bins.last, m_bins.ignored);
    }

private:
    // Tolerances up to which few blocks are in doubt; those of float come near to it with many bins.
    static constexpr double tolerable = 1.0 / 8192;
    static constexpr bool fitsFloat = std::is_same_v<T, float> || (std::is_integral_v<T> && sizeof(T) <= 2);

    bool findByProduct(int* bins, const T* data, unsigned long count)
    {
        bool certain = false;
        if (fitsFloat && m_floatTolerance <= tolerable) {
            const bool noFloat = double(float(m_bins.ignored)) != m_bins.ignored;
            const float ignored = noFloat ? std::numeric_limits<float>::quiet_NaN() : float(m_bins.ignored);
            certain = findBinsByProduct(bins, data, count, float(m_bins.min), float(1.0 / m_bins.width),
                                        float(m_bins.last), ignored, float(m_floatTolerance));
        } else if (m_doubleTolerance <= tolerable) {
            certain = findBinsByProduct(bins, data, count, m_bins.min, 1.0 / m_bins.width, m_bins.last,
                                        m_bins.ignored, m_doubleTolerance);
        }
        // Data whose values lie on the edges of bins is in doubt again and again.
        m_skip = certain ? 0 : m_nextSkip;
        m_nextSkip = certain ? 0 : std::min(2 * m_nextSkip + 1, 63);
        return certain;
    }

    Bins m_bins;
    double m_floatTolerance = productTolerance<float>(m_bins);
    double m_doubleTolerance = productTolerance<double>(m_bins);
    int m_skip = 0;      // blocks to divide before the next try
    int m_nextSkip = 0;  // blocks to skip after the next doubt
};

// Any values, by their bins; a place behind the last bin counts those that are left out.
template <typename T>
class BinTally
{
public:
    static constexpr bool countsValues = false;

    explicit BinTally(const Bins& bins)
        : m_finder(bins), m_leftOut(int(bins.last) + 1), m_tables(m_leftOut < 1024 ? 4 : 1)
    {
    }

    void add(const T* data, unsigned long count)
    {
        int bins[blockSize];
        for (unsigned long i = 0; i < count; i += blockSize) {
            const unsigned long n = std::min(blockSize, count - i);
            // The next block; the hardware alone runs too little ahead on a busy machine.
            const unsigned long next = std::min(blockSize, count - i - n);
            ZbDetail::prefetch(reinterpret_cast<const char*>(data + i + n), long(next * sizeof(T)));
            zbMultiversion([&] { m_finder.find(bins, data + i, n); });
            std::fill(bins + n, bins + (n + 3) / 4 * 4, m_leftOut);
            const long nextTable = m_tables > 1 ? m_leftOut + 1 : 0;
            UInt* const first = m_counts.data();
            UInt* const second = first + nextTable;
            UInt* const third = second + nextTable;
            UInt* const fourth = third + nextTable;
            for (unsigned long k = 0; k < n; k += 4) {
                ++first[bins[k]];
                ++second[bins[k + 1]];
                ++third[bins[k + 2]];
                ++fourth[bins[k + 3]];
            }
        }
    }

    template <typename Sink>
    void handOver(Sink sink)
    {
        for (long bin = 0; bin < m_leftOut; ++bin)
            for (long table = 0; table < m_tables; ++table)
                sink(bin, UInt64(m_counts[bin + table * (m_leftOut + 1)]));
        m_counts.fill(0);
    }

private:
    static constexpr unsigned long blockSize = 512;

    BinFinder<T> m_finder;
    int m_leftOut;  // the place behind the last bin
    long m_tables;  // 4 as long as they stay in the first cache, so that equal neighbours do not wait
    ZbDArray<UInt> m_counts = zeros((m_leftOut + 1) * m_tables);
};

// Integers are tallied by their bits, without their sign.
template <typename T>
void addTo(ByteTally& tally, const T* data, unsigned long count)
{
    tally.add(reinterpret_cast<const Byte*>(data), count);
}
template <typename T>
void addTo(BytePairTally& tally, const T* data, unsigned long count)
{
    tally.add(reinterpret_cast<const Byte*>(data), count);
}
template <typename T>
void addTo(UShortTally& tally, const T* data, unsigned long count)
{
    tally.add(reinterpret_cast<const UShort*>(data), count);
}
template <typename T>
void addTo(BinTally<T>& tally, const T* data, unsigned long count)
{
    tally.add(data, count);
}

}  // namespace

ZbHistogram ZbDetail::HistogramFill::emptyLike(const ZbHistogram& other)
{
    ZbHistogram result = other;
    result.m_counts.fill(0);
    result.m_overallCount = 0;
    result.m_meanBin = result.m_medianBin = result.m_varianceBin = {};
    return result;
}

template <typename T>
bool ZbDetail::HistogramFill::isWanted(T value) const
{
    const double number = double(value);
    return !std::isnan(number) && number != m_ignored;
}

template <typename T>
void ZbDetail::HistogramFill::addEach(const T* data, unsigned long count, long stride)
{
    for (unsigned long i = 0; i < count; ++i) {
        const T value = data[long(i) * stride];
        if (isWanted(value))
            m_target.addValue(double(value));
        if (m_progress && (i + 1) % sectionSize == 0)
            m_progress->setProgressValue(float(double(i + 1) / double(count)));
    }
}

template <typename Tally, typename T>
void ZbDetail::HistogramFill::addByTally(Tally tally, const T* data, unsigned long count, long stride)
{
    const auto handOver = [&] {
        tally.handOver([&](long key, UInt64 n) {
            if constexpr (Tally::countsValues) {
                const T value = T(key);
                if (n > 0 && isWanted(value))
                    m_target.addCount(m_target.binOf(double(value)), n);
            } else if (n > 0) {
                m_target.addCount(int(key), n);
            }
        });
    };
    for (unsigned long done = 0; done < count;) {
        const unsigned long section = std::min(sectionSize, count - done);
        if (stride == 1) {
            addTo(tally, data + done, section);
        } else {
            T gathered[gatherSize];
            for (unsigned long i = 0; i < section; i += gatherSize) {
                const unsigned long n = std::min(gatherSize, section - i);
                for (unsigned long k = 0; k < n; ++k)
                    gathered[k] = data[long(done + i + k) * stride];
                addTo(tally, gathered, n);
            }
        }
        done += section;
        if (done % tallyLimit == 0)
            handOver();
        if (m_progress && section == sectionSize)
            m_progress->setProgressValue(float(double(done) / double(count)));
    }
    handOver();
}

template <typename T>
void ZbDetail::HistogramFill::add(const T* data, unsigned long count, long stride)
{
    const long numBins = m_target.getNumBins();
    if (numBins == 0)
        return;
    // A tally is worth its tables when there are several values for each entry.
    if constexpr (std::is_integral_v<T> && sizeof(T) == 1) {
        if (count >= 1ul << 20) {
            addByTally(BytePairTally(), data, count, stride);
            return;
        }
        if (count >= 1ul << 11) {
            addByTally(ByteTally(), data, count, stride);
            return;
        }
    }
    if constexpr (std::is_integral_v<T> && sizeof(T) == 2) {
        if (count >= 1ul << 18) {
            addByTally(UShortTally(), data, count, stride);
            return;
        }
    }
    if (count / 4 >= (unsigned long)(numBins))
        addByTally(BinTally<T>(Bins{m_target.m_min, m_target.m_binWidth, double(numBins - 1), m_ignored}),
                   data, count, stride);
    else
        addEach(data, count, stride);
}

namespace ZbDetail
{
template void HistogramFill::add(const char*, unsigned long, long);
template void HistogramFill::add(const signed char*, unsigned long, long);
template void HistogramFill::add(const unsigned char*, unsigned long, long);
template void HistogramFill::add(const short*, unsigned long, long);
template void HistogramFill::add(const unsigned short*, unsigned long, long);
template void HistogramFill::add(const int*, unsigned long, long);
template void HistogramFill::add(const unsigned int*, unsigned long, long);
template void HistogramFill::add(const long*, unsigned long, long);
template void HistogramFill::add(const unsigned long*, unsigned long, long);
template void HistogramFill::add(const long long*, unsigned long, long);
template void HistogramFill::add(const unsigned long long*, unsigned long, long);
template void HistogramFill::add(const float*, unsigned long, long);
template void HistogramFill::add(const double*, unsigned long, long);
}  // namespace ZbDetail

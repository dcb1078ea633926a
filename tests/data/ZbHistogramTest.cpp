#include <zblib/data/ZbHistogram.h>
#include <zblib/data/ZbParallelReduce.h>
#include <zblib/data/ZbRawData.h>
#include <zblib/foundation/ZbProgressInterface.h>

#include <tests/support/ElementValues.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <complex>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{

using ::testing::ElementsAre;
using Counts = std::vector<unsigned long long>;

Counts countsOf(const ZbHistogram& histogram)
{
    Counts counts;
    for (int bin = 0; bin < histogram.getNumBins(); ++bin)
        counts.push_back(histogram[bin]);
    return counts;
}

ZbHistogram withCounts(std::initializer_list<unsigned long long> counts, float min = 0, float max = 1)
{
    return ZbHistogram(min, max, ZbDArray<unsigned long long>(counts));
}

// ---- layout

struct LayoutCase {
    const char* name;
    ZbHistogram histogram;
    int bins;
    double min;
    double max;
    friend void PrintTo(const LayoutCase& layout, std::ostream* out) { *out << layout.name; }
};

class ZbHistogramLayout : public ::testing::TestWithParam<LayoutCase>
{
};

TEST_P(ZbHistogramLayout, isAsWorkedByHand)
{
    const ZbHistogram& histogram = GetParam().histogram;
    EXPECT_EQ(histogram.getNumBins(), GetParam().bins);
    EXPECT_EQ(histogram.getMin(), GetParam().min);
    EXPECT_EQ(histogram.getMax(), GetParam().max);
    EXPECT_EQ(histogram.getOverallCounts(), 0u);
    EXPECT_EQ(histogram.getValue(-0.5), GetParam().min);
    EXPECT_DOUBLE_EQ(histogram.getValue(std::max(GetParam().bins, 1) - 0.5), GetParam().max);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, ZbHistogramLayout,
    ::testing::Values(LayoutCase{"none", ZbHistogram(), 0, 0, 1}, LayoutCase{"real", {0.0, 8.0, 4}, 4, 0, 8},
                      LayoutCase{"emptyRange", {5.0, 5.0, 10}, 10, 5, 6},
                      LayoutCase{"noBins", {0.0, 1.0, 0}, 1, 0, 1},
                      LayoutCase{"bytes", {0, 255, 1}, 256, -0.5, 255.5},
                      LayoutCase{"remainderIsAdded", {0, 10, 4}, 3, -0.5, 12.5},
                      LayoutCase{"doubledStep", {0, 1000000, 1}, 62500, -0.5, 1000000.5},
                      LayoutCase{"allInts", {INT_MIN, INT_MAX, 1}, 65536, -2147483648.5, 2147549182.5},
                      LayoutCase{"noStep", {0, 1, 0}, 1, -0.5, 1.5},
                      LayoutCase{"backwards", {3, 1, 1}, 1, 2.5, 3.5},
                      LayoutCase{"farBackwards", {INT_MAX, INT_MIN, 1}, 1, 2147483646.5, 2147483647.5}));

// ---- adding

TEST(ZbHistogram, countsValuesOutsideOfTheRangeInTheEndBins)
{
    ZbHistogram bytes(0, 255, 1);
    for (const int value : {255, 300, -7, 17})
        bytes.addValue(value);
    bytes.addValue(16.5);
    EXPECT_EQ(bytes[255], 2u);
    EXPECT_EQ(bytes[0], 1u);
    EXPECT_EQ(bytes[17], 2u);

    ZbHistogram unit(0.0, 1.0, 4);
    for (const double value : {1.0, double(INFINITY), double(-INFINITY), -0.01, 0.5, double(NAN)})
        unit.addValue(value);
    unit.addValue(float(NAN));
    EXPECT_EQ(countsOf(unit), (Counts{2, 0, 1, 2}));
    EXPECT_EQ(unit.getOverallCounts(), 5u);
}

TEST(ZbHistogram, dividesByTheBinWidth)
{
    // 0.7 / 0.1 is just below 7, while 0.7 times the reciprocal is 7.
    ZbHistogram tenths(0.0, 1.0, 10);
    EXPECT_EQ(int(0.7 / 0.1), 6);
    for (const double value : {0.3, 0.6, 0.7})
        tenths.addValue(value);
    EXPECT_EQ(countsOf(tenths), (Counts{0, 0, 1, 0, 0, 1, 1, 0, 0, 0}));
}

// ---- statistics, all worked by hand

TEST(ZbHistogram, answersStatistics)
{
    const ZbHistogram histogram = withCounts({1, 0, 3, 4}, 10, 18);
    EXPECT_EQ(histogram.getOverallCounts(), 8u);
    EXPECT_EQ(histogram.getMaxCountBin(), 3);
    EXPECT_EQ(histogram.getMaxCount(), 4u);
    EXPECT_EQ(histogram.getProbability(2), 0.375);
    EXPECT_EQ(histogram.getMeanBin(), 2.25);
    EXPECT_EQ(histogram.getMean(), 15.5);
    EXPECT_EQ(histogram.getMedianBin(), 3);
    EXPECT_EQ(histogram.getMedian(), 17);
    EXPECT_EQ(histogram.getVarianceBin(), 6 - 2.25 * 2.25);
    EXPECT_EQ(histogram.getVariance(), 4 * 0.9375);
    EXPECT_DOUBLE_EQ(histogram.getStandardDeviationBin(), std::sqrt(0.9375));
    EXPECT_DOUBLE_EQ(histogram.getStandardDeviation(), 2 * std::sqrt(0.9375));
    // (-2.25^3 - 3 * 0.25^3 + 4 * 0.75^3) / 8
    EXPECT_DOUBLE_EQ(histogram.getMomentBin(3), -1.21875);
    EXPECT_DOUBLE_EQ(histogram.getMoment(3), 8 * -1.21875);
    EXPECT_DOUBLE_EQ(histogram.getMomentBin(0), 1);
    // The root of the variance to the last bit, which the root of the one in bins times the width misses.
    const ZbHistogram narrow(withCounts({1, 0, 3, 4}, 0, 0.3F));
    EXPECT_EQ(narrow.getStandardDeviation(), std::sqrt(narrow.getVariance()));
}

TEST(ZbHistogram, answersEntropies)
{
    EXPECT_DOUBLE_EQ(withCounts({2, 0, 2}).getShannonEntropy(), std::log(2.0));
    EXPECT_DOUBLE_EQ(withCounts({2, 0, 2}).getRenyiEntropy(3), std::log(2.0));
    const ZbHistogram skewed = withCounts({1, 3});
    EXPECT_DOUBLE_EQ(skewed.getShannonEntropy(), 2 * std::log(2.0) - 0.75 * std::log(3.0));
    EXPECT_EQ(skewed.getRenyiEntropy(1), skewed.getShannonEntropy());
    EXPECT_DOUBLE_EQ(skewed.getRenyiEntropy(2), -std::log(0.625));
    EXPECT_DOUBLE_EQ(skewed.getRenyiEntropy(0), std::log(2.0));
    EXPECT_DOUBLE_EQ(skewed.getRenyiEntropy(INFINITY), -std::log(0.75));
}

TEST(ZbHistogram, takesTheFirstOfSeveralLargestBinsAndOnePastTheMedianBin)
{
    EXPECT_EQ(withCounts({1, 5, 5}).getMaxCountBin(), 1);
    EXPECT_EQ(withCounts({2, 2}).getMedianBin(), 1);
    EXPECT_EQ(withCounts({2, 2}).getMeanBin(), 0.5);
}

TEST(ZbHistogram, computesStatisticsAgainAfterValuesWereAdded)
{
    ZbHistogram histogram(0, 9, 1);
    histogram.addValue(2);
    EXPECT_EQ(histogram.getMean(), 2);
    EXPECT_EQ(histogram.getVariance(), 0);
    EXPECT_EQ(histogram.getMedianBin(), 3);
    for (int i = 0; i < 3; ++i)
        histogram.addValue(6);
    EXPECT_EQ(histogram.getMean(), 5);
    EXPECT_EQ(histogram.getVariance(), 3);
    EXPECT_EQ(histogram.getMedianBin(), 7);
    histogram.init(0, 9, 1);
    histogram.addValue(1);
    EXPECT_EQ(histogram.getMean(), 1);
}

TEST(ZbHistogram, answersWithoutValuesAndWithoutBins)
{
    const ZbHistogram empty(0.0, 1.0, 3);
    for (const double nan : {empty.getMeanBin(), empty.getMean(), empty.getVarianceBin(), empty.getMoment(2),
                             empty.getStandardDeviation(), empty.getProbability(1)})
        EXPECT_TRUE(std::isnan(nan));
    EXPECT_EQ(empty.getMedianBin(), 1);
    EXPECT_EQ(empty.getMaxCountBin(), 0);
    EXPECT_EQ(empty.getRenyiEntropy(2), 0);
    EXPECT_EQ(empty.getShannonEntropy(), 0);

    ZbHistogram none;
    none.addValue(1);
    const float values[] = {1, 2};
    none.addValues(values, 2);
    none.merge(ZbHistogram());
    EXPECT_EQ(none.getOverallCounts(), 0u);
    EXPECT_EQ(none.getMaxCount(), 0u);
    EXPECT_TRUE(std::isnan(none.getMean()));
    EXPECT_EQ(none.getMedianBin(), 0);
    EXPECT_EQ(none.getShannonEntropy(), 0);
    float low, high;
    none.getRange(low, high, 0.1f, 0.9f);
    EXPECT_THAT((std::vector{low, high}), ElementsAre(0, 1));
    EXPECT_EQ(none.resampled(2).getNumBins(), 2);
    EXPECT_EQ(withCounts({}, 4, 2).getMax(), 5);
}

struct FractionCase {
    float lowFraction, highFraction;
    float low, high;
};

TEST(ZbHistogram, findsTheRangeOfAFractionOfTheValues)
{
    const ZbHistogram histogram = withCounts({10, 20, 40, 20, 10}, 100, 150);
    const FractionCase cases[] = {
        {0, 1, 100, 150},          // the whole range, whatever is in it
        {0.1f, 0.9f, 100, 140},    // bins move only where the next one does not exceed the fraction either
        {0.05f, 0.95f, 100, 140},  // within the end bins
        {0.3f, 0.7f, 110, 130},   {0.29f, 0.71f, 100, 140}, {0.8f, 0.2f, 120, 120},
        {0, 0, 100, 100},         {1, 1, 140, 140},         {-1, 2, 100, 140},
    };
    for (const FractionCase& fractions : cases) {
        float low = 0, high = 0;
        histogram.getRange(low, high, fractions.lowFraction, fractions.highFraction);
        EXPECT_EQ(low, fractions.low) << fractions.lowFraction;
        EXPECT_EQ(high, fractions.high) << fractions.highFraction;
    }
    // 2.5 values are 2 and 3.5 are 4: halves to even.
    float low = 0, high = 0;
    withCounts({1, 2, 2, 3}, 0, 4).getRange(low, high, 0.3125f, 1);
    EXPECT_EQ(low, 0);
    withCounts({2, 2, 2, 2}, 0, 4).getRange(low, high, 0.4375f, 1);
    EXPECT_EQ(low, 1);
}

TEST(ZbHistogram, mergesAndResamples)
{
    ZbHistogram sum = withCounts({1, 2, 3});
    EXPECT_EQ(sum.getMeanBin(), 8.0 / 6);
    sum.merge(withCounts({10, 0, 10}));
    EXPECT_EQ(countsOf(sum), (Counts{11, 2, 13}));
    EXPECT_EQ(sum.getOverallCounts(), 26u);
    EXPECT_EQ(sum.getMeanBin(), 28.0 / 26);
    sum.merge(sum);
    EXPECT_EQ(countsOf(sum), (Counts{22, 4, 26}));
    sum.merge(withCounts({1, 1}));
    EXPECT_EQ(sum.getOverallCounts(), 52u);

    // Centres at 1, 3, 5, 7 among edges at 0, 8/3, 16/3, 8.
    const ZbHistogram coarse = withCounts({1, 2, 4, 8}, 0, 8).resampled(3);
    EXPECT_EQ(countsOf(coarse), (Counts{1, 6, 8}));
    EXPECT_EQ(coarse.getMax(), 8);
    EXPECT_EQ(countsOf(withCounts({1, 2}, 0, 8).resampled(4)), (Counts{0, 1, 0, 2}));
}

// ---- arrays

template <typename T>
struct Selection {
    const std::vector<T>& values;
    size_t count;
    long stride;
    bool ignore;
    double ignored;
};

// The rule, one value at a time.
template <typename T>
Counts countsPlain(const ZbHistogram& layout, const Selection<T>& from)
{
    Counts counts(size_t(layout.getNumBins()));
    const double width = (layout.getMax() - layout.getMin()) / layout.getNumBins();
    for (size_t i = 0; i < from.count; ++i) {
        const double value = double(from.values[size_t(long(i) * from.stride)]);
        if (std::isnan(value) || (from.ignore && value == from.ignored))
            continue;
        const double bin = std::trunc((value - layout.getMin()) / width);
        ++counts[size_t(std::clamp(bin, 0.0, double(layout.getNumBins() - 1)))];
    }
    return counts;
}

template <typename T>
void expectCounts(const ZbHistogram& layout, const Selection<T>& from)
{
    SCOPED_TRACE(::testing::Message() << from.count << " values, stride " << from.stride << ", "
                                      << layout.getNumBins() << " bins");
    Counts expected = countsPlain(layout, from);
    ZbHistogram histogram = layout;
    histogram.addValue(layout.getMin());
    ++expected[0];
    const ZbTypedPointer data(const_cast<T*>(from.values.data()));
    ZbRawData::getHistogram(data, from.count, from.stride, histogram, from.ignore, from.ignored);
    // Not element by element: there may be 70000.
    EXPECT_TRUE(countsOf(histogram) == expected);
    EXPECT_EQ(histogram.getOverallCounts(), std::accumulate(expected.begin(), expected.end(), 0ull));
    if (from.stride == 1 && !from.ignore) {
        ZbHistogram added = layout;
        added.addValues(from.values.data(), from.count);
        --expected[0];
        EXPECT_TRUE(countsOf(added) == expected);
    }
}

template <typename T>
class ZbHistogramFill : public ::testing::Test
{
};
using Types = ::testing::Types<unsigned char, signed char, short, unsigned short, int, unsigned, long long,
                               unsigned long long, float, double>;
TYPED_TEST_SUITE(ZbHistogramFill, Types);

TYPED_TEST(ZbHistogramFill, agreesWithTheRule)
{
    const ZbHistogram layouts[] = {{0, 255, 1},        {-20.0, 300.0, 7},         {0.0, 1.0, 1},
                                   {-0.3, 99.9, 1021}, {-40000.0, 40000.0, 1023}, {-32768, 65535, 1}};
    const std::vector<TypeParam> values = elementValues<TypeParam>(10000, 1);
    for (const ZbHistogram& layout : layouts)
        for (const size_t count : {0, 1, 5, 511, 512, 515, 2047, 2048, 10000})
            for (const bool ignore : {false, true})
                expectCounts<TypeParam>(layout, {values, count, 1, ignore, 1.0});
    expectCounts<TypeParam>(layouts[0], {values, 3333, 3, true, 7.0});
    expectCounts<TypeParam>(layouts[0], {values, 10, 1000, false, 0.0});
    expectCounts<TypeParam>(layouts[0], {values, 10, 0, true, NAN});
}

// Values at the edges of bins and a few steps of float or double beside them, among values inside of bins, which keep
// the shipped form from giving up its faster rule.
template <typename Real>
std::vector<Real> valuesAroundEdges(const ZbHistogram& layout)
{
    std::mt19937 generator(layout.getNumBins());
    const double width = (layout.getMax() - layout.getMin()) / layout.getNumBins();
    std::vector<Real> values;
    for (int i = 0; i < 40000; ++i) {
        const int bin = int(generator() % (layout.getNumBins() + 3u)) - 1;
        const bool atEdge = i / 512 % 3 == 0 ? i % 300 == 0 : i / 512 % 3 == 1;
        Real value = Real(layout.getMin() + (bin + (atEdge ? 0.0 : 0.37)) * width);
        for (unsigned step = generator() % 4; atEdge && step > 0; --step)
            value = std::nextafter(value, Real(i % 2 == 0 ? INFINITY : -INFINITY));
        values.push_back(value);
    }
    const Real far[] = {Real(INFINITY), Real(-INFINITY), Real(NAN), std::numeric_limits<Real>::max(),
                        std::numeric_limits<Real>::lowest()};
    std::copy(std::begin(far), std::end(far), values.begin() + 100);
    return values;
}

TEST(ZbHistogramFill, putsValuesAroundEdgesWhereTheDivisionPutsThem)
{
    const ZbHistogram layouts[] = {{0.0, 1.0, 256},       {0.1, 0.7, 10},        {-1.0, 2.0, 3},
                                   {1e6, 1e6 + 1, 100},   {-5e-39, 5e-39, 64},   {-3e38, 3e38, 256},
                                   {1e-300, 2e-300, 50},  {-1.5e308, 1e307, 20}, {0.0, 1e5, 9999},
                                   {1e16, 1e16 + 64, 32}, {0, 4000, 1}};
    for (const ZbHistogram& layout : layouts) {
        SCOPED_TRACE(layout.getMin());
        const std::vector<float> floats = valuesAroundEdges<float>(layout);
        const std::vector<double> doubles = valuesAroundEdges<double>(layout);
        expectCounts<float>(layout, {floats, floats.size(), 1, false, 0.0});
        expectCounts<double>(layout, {doubles, doubles.size(), 1, false, 0.0});
        // Equal to no float, though it rounds to one.
        expectCounts<float>(layout,
                            {floats, floats.size(), 1, true, std::nextafter(double(floats[7]), INFINITY)});
        expectCounts<float>(layout, {floats, floats.size(), 1, true, floats[7]});
    }
}

// Large enough for each thread's tallies of its own, with runs of equal values as in a background.
TYPED_TEST(ZbHistogramFill, doesNotDependOnTheNumberOfThreads)
{
    std::vector<TypeParam> values = elementValues<TypeParam>(2500003, 2);
    for (size_t i = 300000; i < 300000 + 100000; ++i)
        values[i] = TypeParam(i / 1000 % 5);
    for (const int threads : {1, 2, 7}) {
        const ThreadCount guard(threads);
        expectCounts<TypeParam>({0, 255, 1}, {values, values.size(), 1, true, 3.0});
        expectCounts<TypeParam>({-32768, 65535, 1}, {values, values.size() / 3, 3, false, 0.0});
    }
}

TEST(ZbHistogramFill, countsBackwardsAndThePartsOfComplexValues)
{
    std::vector<float> values{0, 1, 2, 3, 4, 5};
    ZbHistogram histogram(0, 5, 1);
    ZbRawData::getHistogram(ZbTypedPointer(&values[5]), 3, -2, histogram);
    EXPECT_EQ(countsOf(histogram), (Counts{0, 1, 0, 1, 0, 1}));
    ZbRawData::getHistogram(ZbTypedPointer(values.data(), ZbPrimType::COMPLEX), 2, 2, histogram);
    EXPECT_EQ(countsOf(histogram), (Counts{1, 2, 0, 1, 1, 2}));
    ZbRawData::getHistogram(ZbTypedPointer(values.data(), ZbPrimType::COMPLEX), 3, histogram);
    EXPECT_EQ(countsOf(histogram), (Counts{2, 3, 1, 2, 2, 3}));
    ZbRawData::getHistogram(ZbTypedPointer(nullptr, ZbPrimType::COMPLEX), 0, 2, histogram);

    ::testing::internal::CaptureStderr();
    ZbRawData::getHistogram(ZbTypedPointer(values.data(), ZbPrimType::STRING), 2, histogram);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Unsupported data type string in ZbRawData::getHistogram()\n");
    EXPECT_EQ(histogram.getOverallCounts(), 13u);
}

class ProgressRecorder : public ZbProgressInterface
{
public:
    void setProgressValue(float value) override
    {
        EXPECT_EQ(std::this_thread::get_id(), m_caller);
        values.push_back(value);
    }
    std::vector<float> values;

private:
    std::thread::id m_caller = std::this_thread::get_id();
};

TEST(ZbHistogramFill, reportsEveryMillionValuesOfTheCallingThread)
{
    std::vector<unsigned char> values(5000000);
    ZbHistogram histogram(0, 255, 1);
    for (const int threads : {1, 2}) {
        const ThreadCount guard(threads);
        ProgressRecorder progress;
        ZbRawData::getHistogram(ZbTypedPointer(values.data()), values.size(), histogram, false, 0, &progress);
        EXPECT_EQ(progress.values, threads == 1 ? (std::vector<float>{0.2f, 0.4f, 0.6f, 0.8f, 1})
                                                : (std::vector<float>{0.4f, 0.8f}));
    }
    // So many bins that values are added one by one.
    const ThreadCount guard(1);
    ProgressRecorder progress;
    ZbHistogram fine(0.0, 1.0, 1000000);
    std::vector<float> reals(2000000);
    ZbRawData::getHistogram(ZbTypedPointer(reals.data()), reals.size(), fine, false, 0, &progress);
    EXPECT_EQ(progress.values, (std::vector<float>{0.5f, 1}));
}

// ---- the loop over pieces

TEST(ZbParallelReduce, mergesPiecesInTheirOrder)
{
    for (const unsigned long count : {0, 1, 5, 7, 50})
        for (const int pieces : {1, 2, 7}) {
            std::vector<unsigned long> order;
            ZbDetail::parallelReduce(
                count, pieces,
                [](unsigned long begin, unsigned long end, int) {
                    std::vector<unsigned long> indices(end - begin);
                    std::iota(indices.begin(), indices.end(), begin);
                    return indices;
                },
                [&](const std::vector<unsigned long>& piece) {
                    order.insert(order.end(), piece.begin(), piece.end());
                });
            std::vector<unsigned long> expected(count);
            std::iota(expected.begin(), expected.end(), 0);
            EXPECT_EQ(order, expected);
        }
}

TEST(ZbParallelReduce, throwsTheFirstFailureAndMergesNothing)
{
    int merged = 0;
    const auto fail = [](unsigned long begin, unsigned long, int piece) {
        if (piece >= 2)
            throw std::runtime_error(std::to_string(begin));
        return 1;
    };
    try {
        ZbDetail::parallelReduce(40, 4, fail, [&](int one) { merged += one; });
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "20");
    }
    EXPECT_EQ(merged, 0);
}

TEST(ZbParallelReduce, splitsWhatIsLargeEnough)
{
    const ThreadCount guard(7);
    EXPECT_EQ(ZbDetail::pieceCount(0, 10), 1);
    EXPECT_EQ(ZbDetail::pieceCount(19, 10), 1);
    EXPECT_EQ(ZbDetail::pieceCount(20, 10), 2);
    EXPECT_EQ(ZbDetail::pieceCount(1000, 10), 7);
}

}  // namespace

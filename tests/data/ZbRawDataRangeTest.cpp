#include <zblib/data/ZbRawData.h>

#include <tests/support/ElementValues.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <complex>
#include <vector>

namespace
{

template <typename T>
struct Range {
    T low;
    T high;

    friend bool operator==(const Range& a, const Range& b)
    {
        // A zero has a sign too.
        return a.low == b.low && a.high == b.high &&
               std::signbit(double(a.low)) == std::signbit(double(b.low)) &&
               std::signbit(double(a.high)) == std::signbit(double(b.high));
    }
    friend void PrintTo(const Range& range, std::ostream* out)
    {
        *out << +range.low << " to " << +range.high;
    }
};

template <typename T>
Range<T> nativeRange(const std::vector<T>& values, bool ignore = false, T ignored = T())
{
    Range<T> range{};
    ZbRawData::getRange(ZbPrimType(static_cast<T*>(nullptr)), values.data(), values.size(), &range.low,
                        &range.high, ignore, &ignored);
    return range;
}

template <typename T>
Range<float> floatRange(const std::vector<T>& values, bool ignore = false, float ignored = 0)
{
    Range<float> range{};
    ZbRawData::getRange(ZbTypedPointer(const_cast<T*>(values.data())), values.size(), range.low, range.high,
                        ignore, ignored);
    return range;
}

// The rule, one value at a time. Result is T or float.
template <typename Result, typename T>
Range<Result> rangePlain(const std::vector<T>& values, bool ignore, Result ignored)
{
    Range<Result> range{std::numeric_limits<Result>::max(), std::numeric_limits<Result>::lowest()};
    for (const T value : values) {
        if (value != value || (ignore && float(value) == ignored))
            continue;
        if (Result(value) < range.low)
            range.low = Result(value);
        if (Result(value) > range.high)
            range.high = Result(value);
    }
    return range;
}

template <typename T>
class ZbRawDataRange : public ::testing::Test
{
};
using Types =
    ::testing::Types<unsigned char, signed char, short, unsigned short, int, unsigned, float, double>;
TYPED_TEST_SUITE(ZbRawDataRange, Types);

TYPED_TEST(ZbRawDataRange, agreesWithTheRuleForEveryLength)
{
    for (size_t count = 0; count <= 300; ++count)
        for (const unsigned seed : {1, 2}) {
            const std::vector<TypeParam> values = elementValues<TypeParam>(count, seed);
            const TypeParam ignored = seed == 1 || values.empty() ? TypeParam(1) : values[count / 2];
            for (const bool ignore : {false, true}) {
                SCOPED_TRACE(::testing::Message()
                             << count << " values, ignore " << ignore << " " << +ignored);
                EXPECT_EQ(nativeRange(values, ignore, ignored), rangePlain(values, ignore, ignored));
                EXPECT_EQ(floatRange(values, ignore, float(ignored)),
                          rangePlain(values, ignore, float(ignored)));
            }
        }
}

TYPED_TEST(ZbRawDataRange, doesNotDependOnTheNumberOfThreads)
{
    std::vector<TypeParam> values = elementValues<TypeParam>((3 << 20) / sizeof(TypeParam) + 5, 3);
    const TypeParam ignored = std::numeric_limits<TypeParam>::max();
    for (const int threads : {1, 2, 7}) {
        const ThreadCount guard(threads);
        EXPECT_EQ(nativeRange(values), rangePlain(values, false, TypeParam()));
        EXPECT_EQ(nativeRange(values, true, ignored), rangePlain(values, true, ignored));
    }
    // The extremes in the last place, and in the last place of a piece.
    for (const size_t place : {values.size() - 1, (values.size() + 6) / 7 - 1, (values.size() + 1) / 2}) {
        std::fill(values.begin(), values.end(), TypeParam(3));
        values[place] = TypeParam(7);
        values[place - 1] = TypeParam(2);
        for (const int threads : {1, 2, 7}) {
            const ThreadCount guard(threads);
            EXPECT_EQ(nativeRange(values), (Range<TypeParam>{2, 7}));
        }
    }
}

TEST(ZbRawDataRange, keepsTheFirstOfZerosOfBothSigns)
{
    for (const unsigned seed : {1, 2, 3, 4, 5, 6}) {
        std::mt19937 random(seed);
        std::vector<float> values(1 << 20, seed % 2 ? 3.0f : -3.0f);
        for (int i = 0; i < 50; ++i)
            values[random() % values.size()] = random() % 2 ? 0.0f : -0.0f;
        const Range<float> expected = rangePlain(values, false, 0.0f);
        for (const int threads : {1, 2, 7}) {
            const ThreadCount guard(threads);
            EXPECT_EQ(nativeRange(values), expected);
        }
    }
}

TEST(ZbRawDataRange, givesTheWorkedResults)
{
    const float inf = INFINITY;
    EXPECT_EQ(floatRange<float>({1, NAN, -3}), (Range<float>{-3, 1}));
    EXPECT_EQ(floatRange<float>({1, NAN, -3}, true, 1), (Range<float>{-3, -3}));
    EXPECT_EQ(floatRange<float>({1, NAN, -3}, true, NAN), (Range<float>{-3, 1}));
    EXPECT_EQ(floatRange<float>({}), (Range<float>{FLT_MAX, -FLT_MAX}));
    EXPECT_EQ(floatRange<unsigned char>({}), (Range<float>{FLT_MAX, -FLT_MAX}));
    EXPECT_EQ(floatRange<int>({5, 5}, true, 5), (Range<float>{FLT_MAX, -FLT_MAX}));
    EXPECT_EQ(floatRange<float>({inf, inf}), (Range<float>{FLT_MAX, inf}));
    EXPECT_EQ(floatRange<float>({-inf}), (Range<float>{-inf, -FLT_MAX}));
    EXPECT_EQ(floatRange<double>({1e300, 2e300}), (Range<float>{FLT_MAX, inf}));
    EXPECT_EQ(nativeRange<double>({}), (Range<double>{DBL_MAX, -DBL_MAX}));
    EXPECT_EQ(nativeRange<int>({}), (Range<int>{INT_MAX, INT_MIN}));
    // Values are compared with the ignored one as floats: this one is none.
    EXPECT_EQ(nativeRange<double>({0.1, 0.5}, true, 0.1), (Range<double>{0.1, 0.5}));
    EXPECT_EQ(nativeRange<int>({16777217, 3}, true, 16777216), (Range<int>{3, 3}));
}

TEST(ZbRawDataRange, searchesThePartsOfComplexValuesAndLeavesOtherTypesAlone)
{
    std::vector<std::complex<float>> values{{1, -5}, {7, 2}};
    float low = 0, high = 0;
    ZbRawData::getRange(ZbTypedPointer(values.data(), ZbPrimType::COMPLEX), 2, low, high);
    EXPECT_EQ((Range<float>{low, high}), (Range<float>{-5, 7}));
    for (const ZbPrimType type : {ZbPrimType::STRING, ZbPrimType::INT64, ZbPrimType::UINT64}) {
        ZbRawData::getRange(ZbTypedPointer(values.data(), type), 2, low, high);
        EXPECT_EQ((Range<float>{low, high}), (Range<float>{-5, 7}));
        EXPECT_FALSE(ZbRawData::isConstant(ZbTypedPointer(values.data(), type), 1));
    }
}

template <typename T>
bool isConstant(std::vector<T> values)
{
    return ZbRawData::isConstant(ZbTypedPointer(values.data()), values.size());
}

TYPED_TEST(ZbRawDataRange, findsTheOneValueThatDiffers)
{
    for (const size_t count : {2, 3, 33, 20000}) {
        std::vector<TypeParam> values(count, TypeParam(1));
        EXPECT_TRUE(isConstant(values));
        for (const size_t place : {size_t(0), count / 2, count - 1}) {
            std::vector<TypeParam> changed = values;
            changed[place] = TypeParam(2);
            EXPECT_FALSE(isConstant(changed)) << place << " of " << count;
        }
    }
    EXPECT_TRUE(isConstant<TypeParam>({}));
}

TEST(ZbRawDataRange, passesOverNaNsWhenItLooksForDifferences)
{
    const double inf = INFINITY;
    EXPECT_TRUE(isConstant<float>({NAN, NAN}));
    EXPECT_TRUE(isConstant<double>({NAN, 2, NAN, 2}));
    EXPECT_FALSE(isConstant<float>({NAN, 1, 2}));
    EXPECT_TRUE(isConstant<double>({inf, inf}));
    EXPECT_FALSE(isConstant<double>({inf, DBL_MAX}));
    EXPECT_TRUE(isConstant<float>({0.0f, -0.0f}));
    std::vector<std::complex<float>> values{{1, 1}, {1, 1}};
    EXPECT_TRUE(ZbRawData::isConstant(ZbTypedPointer(values.data(), ZbPrimType::COMPLEX), 2));
    values[1] = {1, 2};
    EXPECT_FALSE(ZbRawData::isConstant(ZbTypedPointer(values.data(), ZbPrimType::COMPLEX), 2));
}

}  // namespace

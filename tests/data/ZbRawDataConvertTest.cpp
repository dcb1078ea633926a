#include <zblib/data/ZbRawData.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <tests/support/ElementValues.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <climits>
#include <cmath>
#include <complex>
#include <cstring>
#include <functional>
#include <numeric>
#include <vector>

namespace
{

using ::testing::ElementsAre;

constexpr ZbPrimType sources[] = {ZbPrimType::BYTE,   ZbPrimType::SHORT,  ZbPrimType::INT,  ZbPrimType::FLOAT,
                                  ZbPrimType::DOUBLE, ZbPrimType::USHORT, ZbPrimType::UINT, ZbPrimType::SBYTE,
                                  ZbPrimType::INT64,  ZbPrimType::UINT64};

template <typename T>
ZbTypedPointer pointerTo(const std::vector<T>& values)
{
    return ZbTypedPointer(const_cast<T*>(values.data()), ZbPrimType(static_cast<T*>(nullptr)));
}

// The rule, one value at a time.
template <typename To>
To converted(double value)
{
    using Limits = std::numeric_limits<To>;
    if constexpr (std::is_floating_point_v<To>)
        return To(value);
    else if (std::isnan(value))
        return To(0x80000000u);
    else
        return To((long long)(std::clamp(value, double(Limits::lowest()), double(Limits::max()))));
}

// Bits, so that NaNs and the signs of zeros count. A NaN that was computed may have any sign.
template <typename T>
void expectSameBits(const std::vector<T>& actual, const std::vector<T>& expected)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (size_t i = 0; i < actual.size(); ++i)
        ASSERT_TRUE((actual[i] != actual[i] && expected[i] != expected[i]) ||
                    std::memcmp(&actual[i], &expected[i], sizeof(T)) == 0)
            << "value " << i << " is " << +actual[i] << " instead of " << +expected[i];
}

// Calls check(source type, target type) for all pairs that conversions know.
void forAllPairs(const std::function<void(ZbPrimType, ZbPrimType)>& check)
{
    for (const ZbPrimType source : sources)
        for (const ZbPrimType target : sources)
            if (target <= ZbPrimType::SBYTE) {
                SCOPED_TRACE(::testing::Message() << source.getName() << " to " << target.getName());
                check(source, target);
            }
}

struct Map {
    double offset;
    double scale;
};

template <typename From, typename To>
void expectMapped(size_t count, const Map& map)
{
    SCOPED_TRACE(::testing::Message() << count << " values, (v + " << map.offset << ") * " << map.scale);
    const std::vector<From> source = elementValues<From>(count, 1);
    std::vector<To> expected(count), actual(count, To(77));
    for (size_t i = 0; i < count; ++i)
        expected[i] = converted<To>((map.offset + double(source[i])) * map.scale);
    if (std::is_same_v<From, To> && map.offset == 0 && map.scale == 1 && count > 0)
        std::memcpy(static_cast<void*>(expected.data()), source.data(), count * sizeof(To));
    ZbRawData::mapLinear(pointerTo(actual), pointerTo(source), count, map.offset, map.scale);
    expectSameBits(actual, expected);
    if (map.offset == 0 && map.scale == 1) {
        std::fill(actual.begin(), actual.end(), To(77));
        ZbRawData::memcpy(pointerTo(actual), pointerTo(source), long(count));
        expectSameBits(actual, expected);
    }
}

TEST(ZbRawDataConvert, mapsByTheRuleBetweenAllTypes)
{
    // The identity; sums and factors that are exact in float and ones that are not; results beyond all ranges.
    const Map maps[] = {{0, 1},   {0, 0.5},     {-1024, 1},  {-1024, -0.25}, {1024, double(0.1f)},
                        {1, 0.1}, {0.3, 17},    {1e9, 1e-3}, {0x1p24, 1},    {-1e300, 0x1p100},
                        {0, 0},   {0, INFINITY}};
    forAllPairs([&](ZbPrimType source, ZbPrimType target) {
        zbVisitPrimType(source, [&](auto from) {
            zbVisitPrimType(target, [&](auto to) {
                using From = typename decltype(from)::Type;
                using To = typename decltype(to)::Type;
                if constexpr (std::is_arithmetic_v<From> && std::is_arithmetic_v<To>)
                    for (const Map& map : maps)
                        for (const size_t count : {0, 1, 15, 511, 512, 513, 1100})
                            expectMapped<From, To>(count, map);
            });
        });
    });
}

template <typename From, typename To>
void expectMappedInInts(int offset, int scale)
{
    if (std::is_same_v<From, To> && offset == 0 && scale == 1)
        return;
    const std::vector<From> values = elementValues<From>(1030, 2);
    std::vector<To> expected, actual(values.size());
    for (const From value : values)
        expected.push_back(
            converted<To>(int((unsigned(offset) + unsigned(value)) * (unsigned long long)(scale))));
    ZbRawData::mapLinear(pointerTo(actual), pointerTo(values), values.size(), offset, scale);
    EXPECT_EQ(actual, expected) << offset << ", " << scale;
}

TEST(ZbRawDataConvert, mapsIntegersInWrappingInts)
{
    const std::pair<int, int> maps[] = {{0, 1}, {3, 2}, {-100, 1}, {INT_MAX, 7}, {1, INT_MIN}, {5, -70000}};
    forAllPairs([&](ZbPrimType source, ZbPrimType target) {
        zbVisitPrimType(source, [&](auto from) {
            zbVisitPrimType(target, [&](auto to) {
                using From = typename decltype(from)::Type;
                using To = typename decltype(to)::Type;
                if constexpr (std::is_integral_v<From> && std::is_integral_v<To>)
                    for (const auto& [offset, scale] : maps)
                        expectMappedInInts<From, To>(offset, scale);
            });
        });
    });
}

TEST(ZbRawDataConvert, givesTheWorkedResults)
{
    const std::vector<double> reals{70000.9, -0.9, 127.5, -INFINITY, NAN, 4294967295.9};
    std::vector<unsigned short> ushorts(6);
    std::vector<short> shorts(6);
    std::vector<signed char> sbytes(6);
    std::vector<unsigned> uints(6);
    std::vector<int> ints(6);
    ZbRawData::mapLinear(pointerTo(ushorts), pointerTo(reals), 6, 0.0, 1.0);
    ZbRawData::mapLinear(pointerTo(shorts), pointerTo(reals), 6, 0.0, 1.0);
    ZbRawData::mapLinear(pointerTo(sbytes), pointerTo(reals), 6, 0, 1);
    ZbRawData::memcpy(pointerTo(uints), pointerTo(reals), 6);
    ZbRawData::memcpy(pointerTo(ints), pointerTo(reals), 6);
    EXPECT_THAT(ushorts, ElementsAre(65535, 0, 127, 0, 0, 65535));
    EXPECT_THAT(shorts, ElementsAre(32767, 0, 127, -32768, 0, 32767));
    EXPECT_THAT(sbytes, ElementsAre(127, 0, 127, -128, 0, 127));
    EXPECT_THAT(uints, ElementsAre(70000u, 0u, 127u, 0u, 0x80000000u, 4294967295u));
    EXPECT_THAT(ints, ElementsAre(70000, 0, 127, INT_MIN, INT_MIN, INT_MAX));
}

// Large targets are written past the caches, from the first aligned address on.
TEST(ZbRawDataConvert, mapsLargeBlocksAtAnyAlignment)
{
    const std::vector<short> source = elementValues<short>((8 << 20) / 4 + 2000, 3);
    for (const size_t shift : {0, 1, 3}) {
        const size_t count = source.size() - shift;
        std::vector<float> expected(source.size(), -1), actual(source.size(), -1);
        for (size_t i = 0; i < count; ++i)
            expected[shift + i] = float((0.7 + source[i]) * 3.3);
        ZbRawData::mapLinear(ZbTypedPointer(actual.data() + shift), pointerTo(source), count, 0.7, 3.3);
        expectSameBits(actual, expected);
    }
}

TEST(ZbRawDataConvert, mapsInPlace)
{
    const std::vector<float> before = elementValues<float>((8 << 20) / 4 + 700, 4);
    std::vector<float> values = before, expected;
    for (const float value : before)
        expected.push_back(float((1.5 + value) * 2.0));
    ZbRawData::mapLinear(pointerTo(values), pointerTo(values), values.size(), 1.5, 2.0);
    expectSameBits(values, expected);
}

TEST(ZbRawDataConvert, mapsTheParts0fComplexValues)
{
    std::vector<std::complex<float>> values{{1, -2}, {NAN, 8}};
    const ZbTypedPointer data(values.data(), ZbPrimType::COMPLEX);
    ZbRawData::mapLinear(data, data, 2, 1, 2);
    EXPECT_EQ(values[0], (std::complex<float>(4, -2)));
    EXPECT_TRUE(std::isnan(values[1].real()));
    EXPECT_EQ(values[1].imag(), 18);
}

TEST(ZbRawDataConvert, copiesEveryBitBetweenEqualTypes)
{
    for (int code = 0; code <= ZbPrimType::UINT64; ++code) {
        SCOPED_TRACE(ZbPrimType(code).getName());
        std::vector<char> bytes(8 * 100, 0);
        std::iota(bytes.begin(), bytes.end(), char(1));
        const size_t size = size_t(ZbPrimType(code).size()) * 99;
        for (const int way : {0, 1, 2}) {
            std::vector<char> target(bytes.size(), 0), expected = target;
            std::copy_n(bytes.begin(), size, expected.begin());
            const ZbTypedPointer to(target.data(), code), from(bytes.data(), code);
            way == 0   ? ZbRawData::memcpy(to, from, 99)
            : way == 1 ? ZbRawData::mapLinear(to, from, 99, 0.0, 1.0)
                       : ZbRawData::mapLinear(to, from, 99, 0, 1);
            EXPECT_EQ(target, expected) << way;
        }
    }
}

struct RefusedCase {
    int target;
    int source;
    std::function<void(ZbTypedPointer, ZbTypedPointer)> operation;
    const char* message;
};

TEST(ZbRawDataConvert, refusesOtherTypesInFixedWords)
{
    const auto copy = [](ZbTypedPointer to, ZbTypedPointer from) { ZbRawData::memcpy(to, from, 1); };
    const auto map = [](ZbTypedPointer to, ZbTypedPointer from) {
        ZbRawData::mapLinear(to, from, 1, 1.0, 2.0);
    };
    const auto mapInts = [](ZbTypedPointer to, ZbTypedPointer from) {
        ZbRawData::mapLinear(to, from, 1, 1, 2);
    };
    const auto fill = [](ZbTypedPointer to, ZbTypedPointer) { ZbRawData::memset(to, 1, 1); };
    const auto fillReal = [](ZbTypedPointer to, ZbTypedPointer) { ZbRawData::memset(to, 1.0, 1); };
    const char* const complexMap =
        "ERROR: ZbRawData::mapLinear() does not support mapping complex to real data.\n";
    const RefusedCase cases[] = {
        {ZbPrimType::COMPLEX, ZbPrimType::FLOAT, copy,
         "ERROR: ZbRawData::memcpy() does not support complex data.\n"},
        {ZbPrimType::INT64, ZbPrimType::INT, copy, "Unsupported data type int64 in ZbRawData()\n"},
        {-1, -1, copy, "Unsupported data type unknown in ZbRawData()\n"},
        {ZbPrimType::INT, ZbPrimType::STRING, copy, "Unsupported data type string in ZbRawData()\n"},
        {ZbPrimType::COMPLEX, ZbPrimType::FLOAT, map, complexMap},
        {ZbPrimType::INT, ZbPrimType::COMPLEX, mapInts, complexMap},
        {ZbPrimType::UINT64, ZbPrimType::UINT64, map, "Unsupported data type uint64 in mapLinear()\n"},
        {ZbPrimType::INT64, ZbPrimType::BYTE, mapInts, "Unsupported data type int64 in mapLinear()\n"},
        {12, 12, mapInts, "Unsupported data type unknown in mapLinear()\n"},
        {ZbPrimType::STRING, ZbPrimType::STRING, map, "Unsupported data type string in mapLinear()\n"},
        {ZbPrimType::COMPLEX, 0, fill, "Unsupported data type complex in ZbRawData::memset()\n"},
        {ZbPrimType::INT64, 0, fillReal, "Unsupported data type int64 in ZbRawData::memset()\n"},
    };
    for (const RefusedCase& refused : cases) {
        double target = 5, source = 7;
        ::testing::internal::CaptureStderr();
        refused.operation(ZbTypedPointer(&target, refused.target), ZbTypedPointer(&source, refused.source));
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), refused.message);
        EXPECT_EQ(target, 5);
    }
}

template <typename T, typename Value>
std::vector<T> filled(Value value)
{
    std::vector<T> values(4, T(9));
    ZbRawData::memset(ZbTypedPointer(values.data()), value, 3);
    return values;
}

TEST(ZbRawDataConvert, fillsWithTheLowBitsOfIntegersAndWithRoundedReals)
{
    EXPECT_THAT(filled<unsigned char>(-2), ElementsAre(254, 254, 254, 9));
    EXPECT_THAT(filled<short>(70000), ElementsAre(4464, 4464, 4464, 9));
    EXPECT_THAT(filled<unsigned>(-1), ElementsAre(UINT_MAX, UINT_MAX, UINT_MAX, 9u));
    EXPECT_THAT(filled<float>(16777217), ElementsAre(16777216.f, 16777216.f, 16777216.f, 9.f));
    EXPECT_THAT(filled<double>(0.1), ElementsAre(0.1, 0.1, 0.1, 9.0));
    EXPECT_EQ(filled<int>(2.5)[0], 2);
    EXPECT_EQ(filled<int>(3.5)[0], 4);
    EXPECT_EQ(filled<signed char>(-200.5)[0], 56);
    EXPECT_EQ(filled<unsigned>(3e9)[0], 3000000000u);
    EXPECT_EQ(filled<unsigned>(4294967295.5)[0], 0x80000000u);
    EXPECT_EQ(filled<int>(-2147483648.5)[0], INT_MIN);
    EXPECT_EQ(filled<unsigned short>(NAN)[0], 0);
    std::fesetround(FE_UPWARD);
    EXPECT_EQ(filled<short>(2.25)[0], 3);
    std::fesetround(FE_TONEAREST);
    ZbRawData::memset(ZbTypedPointer(), 1, 0);
}

}  // namespace

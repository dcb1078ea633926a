#include <zblib/data/ZbMemcpy.h>

#include <tests/support/RandomPattern.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>

namespace
{

constexpr double smallestFloat = 1.1754943508222875e-38;

template <typename T>
T mapOne(double value, double offset = 0, double scale = 1)
{
    T result = 1;
    zbmapLinear(&result, ZbBytePattern::CreateContigousBlock(sizeof(T)), &value,
                ZbBytePattern::CreateContigousBlock(sizeof(double)), offset, scale);
    return result;
}

TEST(ZbmapLinear, clampsThenTruncates)
{
    EXPECT_EQ(mapOne<unsigned char>(300.7), 255);
    EXPECT_EQ(mapOne<unsigned char>(-0.5), 0);
    EXPECT_EQ(mapOne<unsigned char>(2.9), 2);
    EXPECT_EQ(mapOne<short>(-2.9), -2);
    EXPECT_EQ(mapOne<int>(1e10), INT_MAX);
    EXPECT_EQ(mapOne<unsigned short>(1000), 0);
    EXPECT_EQ(mapOne<float>(-1), float(smallestFloat));
    EXPECT_EQ(mapOne<float>(INFINITY), FLT_MAX);
    EXPECT_EQ(mapOne<double>(-INFINITY), -DBL_MAX);
    EXPECT_EQ(mapOne<double>(0.1, 0.2, 3), (0.1 + 0.2) * 3);
    EXPECT_EQ(mapOne<int>(NAN), INT_MIN);
    EXPECT_EQ(mapOne<short>(NAN), 0);
    EXPECT_TRUE(std::isnan(mapOne<float>(NAN)));
}

struct Bounds {
    double low;
    double high;
};

template <typename T>
T mapPlain(double value, Bounds bounds, double offset, double scale)
{
    double v = (value + offset) * scale;
    if (v < bounds.low)
        v = bounds.low;
    else if (v > bounds.high)
        v = bounds.high;
    return std::is_integral_v<T> && std::isnan(v) ? T(INT_MIN) : static_cast<T>(v);
}

// Levels of elements as a pattern of bytes.
ZbBytePattern inBytes(PatternLevels levels, size_t elementSize)
{
    levels.counts[0] *= long(elementSize);
    for (size_t level = 1; level < levels.strides.size(); ++level)
        levels.strides[level] *= long(elementSize);
    return levels.pattern();
}

template <typename Target, typename Source>
void expectPlainMapping(std::mt19937& random, Bounds bounds, bool overlap)
{
    const PatternLevels from = randomLevels(random, random() % 4 ? 1 + long(random() % 3) : 70);
    PatternLevels to = random() % 2 ? from : randomLevels(random, random() % 4 ? 1 : 70);
    if (random() % 3 == 0)
        to = {{from.pattern().byteCount()}, {1}};
    const std::vector<long> toOffsets = loopOffsets(to), fromOffsets = loopOffsets(from);
    // Both in one block: far apart, or at the same place and a few elements further on. Any bits are good values;
    // small ones hit more than the bounds.
    const size_t reachBytes = size_t(8 * std::max(patternReach(to), patternReach(from)));
    std::vector<double> block(5 * reachBytes / sizeof(double));
    char* const bytes = reinterpret_cast<char*>(block.data());
    std::generate_n(reinterpret_cast<unsigned*>(bytes), 5 * reachBytes / sizeof(unsigned), std::ref(random));
    for (size_t i = 0; i < 5 * reachBytes / sizeof(Source); ++i)
        if (i % 4 != 0)
            reinterpret_cast<Source*>(bytes)[i] = Source(int(i % 1000) - 300);
    auto* const source = reinterpret_cast<Source*>(bytes + reachBytes);
    auto* const target = reinterpret_cast<Target*>(bytes + (overlap ? 1 : 3) * reachBytes) + random() % 4 / 2;
    const double offset = double(random() % 100) - 50, scale = random() % 3 ? 1 : 0.37;

    std::vector<char> expected(bytes, bytes + 5 * reachBytes);
    for (size_t i = 0; i < std::min(toOffsets.size(), fromOffsets.size()); ++i) {
        const Target mapped = mapPlain<Target>(double(source[fromOffsets[i]]), bounds, offset, scale);
        std::memcpy(&expected[size_t(reinterpret_cast<char*>(target + toOffsets[i]) - bytes)], &mapped,
                    sizeof(mapped));
    }
    zbmapLinear(target, inBytes(to, sizeof(Target)), source, inBytes(from, sizeof(Source)), offset, scale);
    EXPECT_EQ(std::memcmp(bytes, expected.data(), expected.size()), 0)
        << "from " << ZbPrimType(source).getName() << " to " << ZbPrimType(target).getName();
}

template <typename Target>
void expectPlainMappings(Bounds bounds)
{
    std::mt19937 random(4);
    for (int round = 0; round < 60; ++round) {
        const bool overlap = round % 2;
        expectPlainMapping<Target, unsigned char>(random, bounds, overlap);
        expectPlainMapping<Target, short>(random, bounds, overlap);
        expectPlainMapping<Target, unsigned short>(random, bounds, overlap);
        expectPlainMapping<Target, int>(random, bounds, overlap);
        expectPlainMapping<Target, float>(random, bounds, overlap);
        expectPlainMapping<Target, double>(random, bounds, overlap);
    }
}

TEST(ZbmapLinear, agreesWithTheRuleForAllPairsOfTypes)
{
    expectPlainMappings<unsigned char>({0, 255});
    expectPlainMappings<short>({-32768, 32767});
    expectPlainMappings<unsigned short>({0, 0});
    expectPlainMappings<int>({-2147483648.0, 2147483647});
    expectPlainMappings<float>({smallestFloat, 3.4028234663852886e+38});
    expectPlainMappings<double>({-1.7976931348623157e+308, 1.7976931348623157e+308});
}

TEST(ZbmapLinear, spreadsValuesInPlace)
{
    // More than one piece, from every second place to every third.
    const long counts[] = {sizeof(float), 3000}, every2nd[] = {1, 8}, every3rd[] = {1, 12};
    std::vector<float> values(9000);
    std::iota(values.begin(), values.end(), 1.0F);
    zbmapLinear(values.data(), ZbBytePattern(2, counts, every3rd), values.data(),
                ZbBytePattern(2, counts, every2nd), 0, 1);
    for (size_t i = 0; i < 3000; ++i)
        ASSERT_EQ(values[3 * i], float(2 * i + 1));
}

TEST(ZbmapLinear, leavesOtherTypesAndEmptySelectionsAlone)
{
    const ZbBytePattern eight = ZbBytePattern::CreateContigousBlock(8);
    double target = 7;
    const double source = 3;
    for (const int type : {5, 6, 8, 9, 10, 11, -1, 12}) {
        zbmapLinear(ZbDataPointer(&target, ZbPrimType(type)), eight, &source, eight, 0, 1);
        zbmapLinear(&target, eight, ZbDataPointer(&source, ZbPrimType(type)), eight, 0, 1);
    }
    for (const ZbBytePattern& empty : {ZbBytePattern(), ZbBytePattern::CreateContigousBlock(7)}) {
        zbmapLinear(&target, empty, &source, eight, 0, 1);
        zbmapLinear(&target, eight, &source, empty, 0, 1);
    }
    EXPECT_EQ(target, 7);
}

}  // namespace

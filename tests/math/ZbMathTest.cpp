#include <zblib/math/ZbMath.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <random>

namespace
{

const float infinity = std::numeric_limits<float>::infinity();
const float nan = std::numeric_limits<float>::quiet_NaN();

TEST(ZbMath, countsAndFindsBitsAndPowersOfTwo)
{
    std::mt19937_64 generator(3);
    for (int i = 0; i < 2000; ++i) {
        const unsigned long word = i < 64 ? ~0ul >> i : (generator() & generator()) >> i % 64;
        const auto half = unsigned(word);
        SCOPED_TRACE(word);
        EXPECT_EQ(ZbBitCount(word), std::popcount(word));
        EXPECT_EQ(ZbBitCount(half), std::popcount(half));
        EXPECT_EQ(ZbIsPowerOf2(word), std::has_single_bit(word));
        EXPECT_EQ(ZbFloorPow2(half), std::bit_floor(half));
        EXPECT_EQ(ZbCeilPow2(half), half == 0 ? 0 : half > 1u << 31 ? 1 : std::bit_ceil(half));
        EXPECT_EQ(ZbGetMSBSet(half), half == 0 ? -1 : 31 - std::countl_zero(half));
        EXPECT_EQ(ZbGetLSBSet(half), half == 0 ? -1 : std::countr_zero(half));
    }
    EXPECT_EQ(ZbCeilPow2(1u << 31), 1u << 31);
    EXPECT_EQ(ZbCeilPow2(0x80000001u), 1u);  // wraps
}

TEST(ZbMath, convertsToIntegersWithinTheirRange)
{
    const struct {
        float value;
        long truncated, rounded;  // of the double form; the float form clamps them to int
    } cases[] = {{1.5f, 1, 2},
                 {2.5f, 2, 2},
                 {-2.75f, -2, -3},
                 {8388607.5f, 8388607, 8388608},
                 {2147483648.f, 2147483648, 2147483648},
                 {-2147483904.f, -2147483904, -2147483904},
                 {9223372036854775808.f, LONG_MAX, LONG_MAX},
                 {-9223372036854775808.f, LONG_MIN, LONG_MIN},
                 {-infinity, LONG_MIN, LONG_MIN},
                 {nan, 0, 0}};
    const auto clamped = [](long value) { return int(std::clamp(value, long(INT_MIN), long(INT_MAX))); };
    for (const auto& [value, truncated, rounded] : cases) {
        SCOPED_TRACE(value);
        EXPECT_EQ(ZbTruncZero(double(value)), truncated);
        EXPECT_EQ(ZbTruncZero(value), clamped(truncated));
        EXPECT_EQ(ZbRoundEven(double(value)), rounded);
        EXPECT_EQ(ZbRoundEven(value), clamped(rounded));
    }
    volatile double value = 2.5;
    std::fesetround(FE_UPWARD);
    EXPECT_EQ(ZbRoundEven(value), 3);
    EXPECT_EQ(ZbRoundEven(float(value)), 3);
    std::fesetround(FE_TONEAREST);
}

TEST(ZbMath, roundsToDecimalsAndDigits)
{
    constexpr auto floor = ZbRoundingRule::Floor, halfUp = ZbRoundingRule::HalfUp;
    EXPECT_EQ(ZbRoundToAmountOfDecimals(2.5, halfUp, 0), 3);
    EXPECT_EQ(ZbRoundToAmountOfDecimals(2.5, floor, 0), 2);
    EXPECT_EQ(ZbRoundToAmountOfDecimals(-2.5, halfUp, 0), -2);
    EXPECT_EQ(ZbRoundToAmountOfDecimals(2.5, ZbRoundingRule(7), 0), 3);
    EXPECT_EQ(ZbRoundToAmountOfDecimals(1234.0, halfUp, -1), 1230);
    EXPECT_EQ(ZbRoundToAmountOfDecimals(1250.0f, halfUp, -2), 1300.0f);
    EXPECT_EQ(ZbRoundToAmountOfDecimals(3.14159f, halfUp, 2), 3.14f);
    // Scaled back by a product: 0.1 * 0.1 * 0.1 is not the double next to 0.001.
    EXPECT_EQ(ZbRoundToAmountOfDecimals(0.0125, halfUp, 3), 13 * (0.1 * 0.1 * 0.1));
    for (const int n : {INT_MAX, INT_MIN})  // at once, and infinity * 0 is what the product says
        EXPECT_TRUE(std::isnan(ZbRoundToAmountOfDecimals(1.5, halfUp, n)));

    EXPECT_EQ(ZbRoundToAmountOfSignificantDigits(123456.0, halfUp, 3), 123000);
    EXPECT_EQ(ZbRoundToAmountOfSignificantDigits(-123456.0, floor, 2), -130000);
    EXPECT_EQ(ZbRoundToAmountOfSignificantDigits(0.00012345f, halfUp, 2), 0.00012f);
    EXPECT_EQ(ZbRoundToAmountOfSignificantDigits(1000.0, halfUp, 1), 1000);
    EXPECT_EQ(ZbRoundToAmountOfSignificantDigits(0.0, halfUp, 2), 0);
    EXPECT_EQ(ZbRoundToAmountOfSignificantDigits(-infinity, halfUp, INT_MIN), -infinity);
}

TEST(ZbMath, comparesRelatively)
{
    EXPECT_TRUE(ZbEqualsRelative(nan, nan, 0));
    EXPECT_FALSE(ZbEqualsRelative(nan, 1, 1));
    EXPECT_TRUE(ZbEqualsRelative(infinity, infinity, 0));
    EXPECT_FALSE(ZbEqualsRelative(infinity, -infinity, 1));
    EXPECT_FALSE(ZbEqualsRelative(1, infinity, infinity));
    EXPECT_TRUE(ZbEqualsRelative(0, 0, 0));
    EXPECT_TRUE(ZbEqualsRelative(-3, -4, 0.25f));  // a quarter of 4, the larger one
    EXPECT_FALSE(ZbEqualsRelative(3, 4.01f, 0.25f));
    EXPECT_TRUE(ZbEqualsRelative(FLT_MAX, -FLT_MAX, 2));  // the difference is no float
}

TEST(ZbMath, factorialsAndCubeRoots)
{
    EXPECT_EQ(ZbFactorial(0), 1);
    EXPECT_EQ(ZbFactorial(18), 6402373705728000);
    EXPECT_NEAR(ZbFactorial(170) / 7.257415615307994e306, 1, 1e-14);
    EXPECT_EQ(ZbFactorial(171), std::numeric_limits<double>::infinity());
    EXPECT_EQ(ZbFactorial(ULONG_MAX), std::numeric_limits<double>::infinity());
    EXPECT_DOUBLE_EQ(ZbCbrt(-27.0), -3);
    EXPECT_FLOAT_EQ(ZbCbrt(64.0f), 4);
}

}  // namespace

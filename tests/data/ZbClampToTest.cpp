#include <zblib/data/ZbClampTo.h>
#include <zblib/foundation/ZbMultiversion.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

namespace
{

template <typename T>
void clampAll(T* __restrict out, const double* __restrict in, size_t count)
{
    const ZbDetail::ClampTo<T> clamp;
    for (size_t i = 0; i < count; ++i)
        out[i] = clamp(in[i]);
}

// The bounds of all types and values between them, each with its two neighbours.
std::vector<double> interestingValues()
{
    std::vector<double> values{NAN, -NAN, INFINITY, -INFINITY, DBL_MAX, -DBL_MAX, DBL_MIN, 1e-320, 1e19};
    for (const double base : {0.0, 0.5, 2.5, 127.0, 128.0, 255.0, 256.0, 300.7, 32767.0, 32768.0, 65535.0,
                              65536.0, 2147483647.0, 2147483648.0, 2147483649.5, 4294967295.0, 4294967296.0})
        for (const double value : {base, -base})
            values.insert(values.end(),
                          {value, std::nextafter(value, INFINITY), std::nextafter(value, -INFINITY)});
    return values;
}

template <typename T>
class ZbClampTo : public ::testing::Test
{
};
using Integers = ::testing::Types<signed char, unsigned char, short, unsigned short, int, unsigned>;
TYPED_TEST_SUITE(ZbClampTo, Integers);

TYPED_TEST(ZbClampTo, agreesWithTheRuleInVectorLoopsOfEveryLength)
{
    const std::vector<double> all = interestingValues();
    const double low = std::numeric_limits<TypeParam>::lowest(), high = std::numeric_limits<TypeParam>::max();
    for (size_t count = 0; count <= all.size(); ++count) {
        const double* in = all.data() + all.size() - count;
        std::vector<TypeParam> out(count);
        zbMultiversion([&out, in, count] { clampAll(out.data(), in, count); });
        for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(out[i], std::isnan(in[i])
                                  ? TypeParam(0x80000000u)
                                  : TypeParam(static_cast<long long>(std::clamp(in[i], low, high))))
                << in[i];
    }
}

TEST(ZbClampTo, keepsInfinitiesAndNaNsOfReals)
{
    EXPECT_EQ(ZbDetail::clampTo<float>(-INFINITY), -INFINITY);
    EXPECT_EQ(ZbDetail::clampTo<double>(DBL_MAX), DBL_MAX);
    EXPECT_TRUE(std::isnan(ZbDetail::clampTo<float>(NAN)));
}

static_assert(ZbDetail::clampTo<unsigned>(NAN) == 0x80000000u, "usable in constant expressions");

}  // namespace

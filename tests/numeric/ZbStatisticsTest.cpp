#include <zblib/numeric/ZbStatistics.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

template <typename T>
class ZbStatisticsOf : public ::testing::Test
{
};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ZbStatisticsOf, Reals);

TYPED_TEST(ZbStatisticsOf, agreesWithFiguresWorkedByHand)
{
    using T = TypeParam;
    const T x[] = {1, 2, 3, 6};
    const T y[] = {2, 4, 5, 1};
    EXPECT_EQ(ZbStatistics::computeMean(x, 4), T(3));
    T mean = 0;
    EXPECT_EQ(ZbStatistics::computeVariance(x, 4, &mean), T(3.5));
    EXPECT_EQ(mean, T(3));
    EXPECT_EQ(ZbStatistics::computeRMS(x, 4), T(std::sqrt(12.5)));
    EXPECT_EQ(ZbStatistics::computeRMSD(x, y, 4), T(std::sqrt(34.0 / 4)));

    T meanX = 0, meanY = 0, covariance = 0, varianceX = 0, varianceY = 0;
    EXPECT_EQ(ZbStatistics::computeCovariance(x, y, 4, &meanX, &meanY), T(-1.25));
    EXPECT_EQ(meanX, T(3));
    EXPECT_EQ(meanY, T(3)) << "the mean of x goes out twice";

    T contributions[4] = {};
    const T r = T(-5) / std::sqrt(T(14) * T(10));
    EXPECT_EQ(ZbStatistics::computeCorrelation(x, y, 4, &covariance, &meanX, &meanY, &varianceX, &varianceY),
              r);
    EXPECT_EQ(ZbStatistics::computeCorrelation(x, y, contributions, 4), r);
    EXPECT_EQ(covariance, T(-1.25));
    EXPECT_EQ(meanY, T(3));
    EXPECT_EQ(varianceX, T(3.5));
    EXPECT_EQ(varianceY, T(2.5));
    const T expected[] = {T(2) / 140, T(-1) / 140, T(0) / 140, T(-6) / 140};
    for (int i = 0; i < 4; i++)
        EXPECT_EQ(contributions[i], expected[i]) << i;
}

TYPED_TEST(ZbStatisticsOf, addsFromTheLastElementToTheFirst)
{
    using T = TypeParam;
    // Half a unit in the last place of 1: two of them count only when they are added to each other first.
    const T half = std::ldexp(T(1), -std::numeric_limits<T>::digits);
    const T late[] = {1, half, half};
    const T early[] = {half, half, 1};
    EXPECT_EQ(ZbStatistics::computeMean(late, 3), (1 + 2 * half) / 3);
    EXPECT_EQ(ZbStatistics::computeMean(early, 3), T(1) / 3);
}

TYPED_TEST(ZbStatisticsOf, givesZeroVarianceForOneAndNaNForNone)
{
    using T = TypeParam;
    const T x[] = {T(0.1)};
    T mean = 0;
    EXPECT_EQ(ZbStatistics::computeVariance(x, 1, &mean), 0);
    EXPECT_EQ(mean, x[0]);
    EXPECT_TRUE(std::isnan(ZbStatistics::computeVariance(x, 0, nullptr)));
    EXPECT_EQ(ZbStatistics::computeCovariance(x, x, 1, nullptr, &mean), 0);
    EXPECT_TRUE(std::isnan(ZbStatistics::computeCorrelation(x, x, 0)));
}

TEST(ZbStatistics, rmsOfFloatsSumsInFloatAndRmsdInDouble)
{
    const std::vector<float> ones(1 << 25, 1.0F);  // a float sum of ones stops at 2^24
    const std::vector<float> zeros(ones.size(), 0.0F);
    const long n = long(ones.size());
    EXPECT_EQ(ZbStatistics::computeRMS(ones.data(), n), std::sqrt(0.5F));
    EXPECT_EQ(ZbStatistics::computeRMSD(ones.data(), zeros.data(), n), 1.0F);
}

TEST(ZbStatistics, logGammaAgreesWithTheFactorials)
{
    double factorial = 1;
    for (int n = 1; n < 20; n++) {
        EXPECT_NEAR(ZbStatistics::gammln(float(n)), std::log(factorial), 2e-7 * (1 + std::log(factorial)))
            << n;
        factorial *= n;
    }
    EXPECT_NEAR(ZbStatistics::gammln(0.5F), std::log(std::sqrt(M_PI)), 1e-7);
}

TEST(ZbStatistics, incompleteBetaAgreesWithClosedForms)
{
    for (const double x : {0.0, 0.01, 0.3, 0.5, 0.77, 0.999, 1.0}) {
        EXPECT_NEAR(ZbStatistics::betai(1, 1, float(x)), x, 1e-6);  // uniform
        EXPECT_NEAR(ZbStatistics::betai(2, 3, float(x)), x * x * (6 - 8 * x + 3 * x * x), 2e-6);
        EXPECT_NEAR(ZbStatistics::betai(0.5F, 0.5F, float(x)), 2 / M_PI * std::asin(std::sqrt(x)), 1e-5);
    }
    EXPECT_EQ(ZbStatistics::betai(2, 3, -0.1F), 0);
    EXPECT_EQ(ZbStatistics::betai(2, 3, 1.1F), 0);
}

TEST(ZbStatistics, saysWhenTheContinuedFractionDoesNotConverge)
{
    ::testing::internal::CaptureStdout();
    ZbStatistics::betacf(1e6F, 1e6F, 0.5F);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "a or b too big, or MAXIT too small in betacf\n");
}

TEST(ZbStatistics, studentDistributionAndTestAgreeWithTables)
{
    const struct {
        float t;
        int degreesOfFreedom;
        double probability;
    } points[] = {{12.7062F, 1, 0.95}, {-2.2281F, 10, 0.95}, {2.7500F, 30, 0.99}};
    for (const auto& [t, degreesOfFreedom, probability] : points)
        EXPECT_NEAR(ZbStatistics::integratedStudentDistribution(t, degreesOfFreedom), probability, 1e-5);

    EXPECT_EQ(ZbStatistics::tTest(5, 2, 1, 7, 2, 3), 1);
    EXPECT_EQ(ZbStatistics::tTest(5, 2, 0, 7, 2, 0), 1);
    EXPECT_EQ(ZbStatistics::tTest(5, 2, 0, 7, 3, 0), 0);
    // t = 2 / sqrt((9 * 1 + 9 * 4) / 18) * sqrt(5) = 2.8284 with 18 degrees of freedom.
    EXPECT_NEAR(ZbStatistics::tTest(10, 3, 1, 10, 1, 2), 0.01113, 2e-5);
    // The product of sizes exceeds an int.
    EXPECT_NEAR(ZbStatistics::tTest(100000, 0, 1, 100000, 0.01F, 1), 0.02535, 2e-3);
}

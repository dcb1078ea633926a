#include <zblib/numeric/ZbRandom.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace
{

// The same generator from the standard library's parts: minstd_rand0 is the minimal standard generator.
class PlainRandom
{
public:
    explicit PlainRandom(unsigned start) : m_engine(start)
    {
        m_engine.discard(8);
        for (int i = 31; i >= 0; i--)
            m_table[i] = m_engine();
        m_last = m_table[0];
    }

    double next()
    {
        const size_t j = m_last / 67108864;
        m_last = m_table[j];
        m_table[j] = m_engine();
        return std::min(double(m_last) / 2147483647.0, 1 - 1.2e-7);
    }

private:
    std::minstd_rand0 m_engine;
    unsigned long m_table[32];
    unsigned long m_last;
};

}  // namespace

TEST(ZbRandom, drawsTheShuffledMinimalStandardSequence)
{
    for (const unsigned start : {1U, 2U, 1700000000U, 2147483646U}) {
        ZbRandom random(start);
        PlainRandom plain(start);
        for (int i = 0; i < 100000; i++)
            ASSERT_EQ(random.nextUniform(), plain.next()) << "start " << start << ", draw " << i;
    }
}

TEST(ZbRandom, reducesStartsOutsideItsRange)
{
    const long long modulus = 2147483647;
    const struct {
        long long start, same;
    } cases[] = {
        {0, 1}, {modulus, 1}, {modulus + 5, 5}, {-1, modulus - 1}, {4102444800, 4102444800 % modulus}};
    for (const auto& c : cases)
        EXPECT_EQ(ZbRandom(c.start).nextUniform(), ZbRandom(c.same).nextUniform()) << c.start;
}

TEST(ZbRandom, secondNormalNumberOfAPairDrawsNothing)
{
    ZbRandom random(42);
    PlainRandom plain(42);
    double p = 0, q = 0, r = 0;
    do {
        p = 2 * plain.next() - 1;
        q = 2 * plain.next() - 1;
        r = p * p + q * q;
    } while (r >= 1 || r == 0);
    const double f = std::sqrt(-2 * std::log(r) / r);
    EXPECT_EQ(random.nextNormalDistributedNumber(), p * f);
    EXPECT_EQ(random.nextNormalDistributedNumber(), q * f);
    EXPECT_EQ(random.nextUniform(), plain.next());
}

TEST(ZbRandom, isUniformAndSeriallyIndependent)
{
    // Chi-squared over 16 bins, and over 16 x 16 bins of successive pairs. A fixed start: the limits are
    // the 99.99 % points of chi-squared with 15 and 255 degrees of freedom.
    ZbRandom random(20240229);
    const int n = 1 << 18;
    std::vector<int> single(16), pairs(256);
    int last = int(random.nextUniform() * 16);
    for (int i = 0; i < n; i++) {
        const int now = int(random.nextUniform() * 16);
        single[size_t(now)]++;
        pairs[size_t(16 * last + now)]++;
        last = now;
    }
    const auto chiSquared = [](const std::vector<int>& counts) {
        const double expected = double(n) / double(counts.size());
        double sum = 0;
        for (const int count : counts)
            sum += (count - expected) * (count - expected) / expected;
        return sum;
    };
    EXPECT_LT(chiSquared(single), 44.3);
    EXPECT_LT(chiSquared(pairs), 347.7);
}

TEST(ZbRandom, normalNumbersHaveTheMomentsOfTheNormalDistribution)
{
    ZbRandom random(7);
    const int n = 1 << 18;
    double moments[5] = {};
    for (int i = 0; i < n; i++) {
        double power = 1;
        const double x = random.nextNormalDistributedNumber();
        for (double& moment : moments) {
            moment += power / n;
            power *= x;
        }
    }
    // Five standard errors each.
    EXPECT_NEAR(moments[1], 0, 0.01);
    EXPECT_NEAR(moments[2], 1, 0.014);
    EXPECT_NEAR(moments[3], 0, 0.04);
    EXPECT_NEAR(moments[4], 3, 0.1);
}

#include <zblib/numeric/ZbRandom.h>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace
{

constexpr long long modulus = 2147483647;  // 2^31 - 1, a prime
constexpr long long multiplier = 16807;
constexpr long long binWidth = 67108864;  // 2^31 / 32: how many outputs select one table entry

long long reduced(long long start)
{
    const long long inRange = start % modulus;
    if (inRange == 0)
        return 1;
    return inRange < 0 ? inRange + modulus : inRange;
}

}  // namespace

ZbRandom::ZbRandom() : ZbRandom(static_cast<long long>(std::time(nullptr))) {}

ZbRandom::ZbRandom(long long start) : m_seed(reduced(start))
{
    for (int i = 0; i < 8; i++)
        step();
    for (int i = tableSize - 1; i >= 0; i--)
        m_table[i] = step();
    m_last = m_table[0];
}

ZbRandom& ZbRandom::getTheRandom()
{
    static ZbRandom theRandom;
    return theRandom;
}

// The product has 46 bits at most, and 2^31 is 1 modulo 2^31 - 1: the remainder is the sum of its two 31-bit
// halves.
inline long long ZbRandom::step()
{
    const long long product = multiplier * m_seed;
    const long long folded = (product & modulus) + (product >> 31);
    m_seed = folded >= modulus ? folded - modulus : folded;
    return m_seed;
}

double ZbRandom::nextUniform()
{
    long long& entry = m_table[m_last / binWidth];
    m_last = entry;
    entry = step();
    return std::min(static_cast<double>(m_last) / static_cast<double>(modulus), 1 - 1.2e-7);
}

double ZbRandom::nextNormalDistributedNumber()
{
    if (m_hasCachedNormal) {
        m_hasCachedNormal = false;
        return m_cachedNormal;
    }
    double p = 0;
    double q = 0;
    double r = 0;
    do {
        p = 2 * nextUniform() - 1;
        q = 2 * nextUniform() - 1;
        r = p * p + q * q;
    } while (r >= 1 || r == 0);
    const double f = std::sqrt(-2 * std::log(r) / r);
    m_cachedNormal = q * f;
    m_hasCachedNormal = true;
    return p * f;
}

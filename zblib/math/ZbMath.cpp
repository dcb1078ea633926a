#include <zblib/math/ZbMath.h>

#include <algorithm>
#include <cstdlib>

namespace
{

/// base multiplied by itself, count factors in all; 1 for none.
double repeatedProduct(double base, long count)
{
    // The powers of 10 and of 0.1 have long reached infinity and zero by then, and stay there.
    count = std::min(count, 400l);
    double product = 1;
    for (long i = 0; i < count; ++i)
        product *= base;
    return product;
}

double roundToDecimals(double x, ZbRoundingRule rule, long n)
{
    const double up = repeatedProduct(n < 0 ? 0.1 : 10, std::labs(n));
    const double down = repeatedProduct(n < 0 ? 10 : 0.1, std::labs(n));
    const double y = up * x;
    return (rule == ZbRoundingRule::Floor ? std::floor(y) : std::floor(y + 0.5)) * down;
}

double roundToDigits(double x, ZbRoundingRule rule, long n)
{
    if (x == 0 || !std::isfinite(x))
        return x;
    return roundToDecimals(x, rule, n - long(std::ceil(std::log10(std::fabs(x)))));
}

}  // namespace

double ZbRoundToAmountOfDecimals(double x, ZbRoundingRule rule, int n) noexcept
{
    return roundToDecimals(x, rule, n);
}

float ZbRoundToAmountOfDecimals(float x, ZbRoundingRule rule, int n) noexcept
{
    return float(roundToDecimals(x, rule, n));
}

double ZbRoundToAmountOfSignificantDigits(double x, ZbRoundingRule rule, int n) noexcept
{
    return roundToDigits(x, rule, n);
}

float ZbRoundToAmountOfSignificantDigits(float x, ZbRoundingRule rule, int n) noexcept
{
    return float(roundToDigits(x, rule, n));
}

double ZbFactorial(unsigned long n) noexcept
{
    double product = 1;
    // From the largest factor down, so that a large n comes to its end, infinity, within a few steps.
    for (; n > 1 && !std::isinf(product); --n)
        product *= double(n);
    return product;
}

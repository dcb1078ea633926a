#pragma once

#include <zblib/foundation/ZbExport.h>

#include <emmintrin.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

// Free functions on single numbers. All are stateless and thread-safe, and allocate nothing.

// ---- bits and powers of two

/// Whether v is a power of two; 0 is none.
constexpr bool ZbIsPowerOf2(unsigned long v) noexcept
{
    return v != 0 && (v & (v - 1)) == 0;
}

/// Number of set bits.
///
/// Neighbouring counts are added in parallel, in pairs, nibbles and bytes; compilers turn this form into
/// the machine's instruction where it has one, and vectorise it where it has not.
constexpr int ZbBitCount(unsigned int v) noexcept
{
    v -= v >> 1 & 0x55555555u;
    v = (v & 0x33333333u) + (v >> 2 & 0x33333333u);
    v = (v + (v >> 4)) & 0x0f0f0f0fu;
    return int(v * 0x01010101u >> 24);
}

constexpr int ZbBitCount(unsigned long long v) noexcept
{
    v -= v >> 1 & 0x5555555555555555u;
    v = (v & 0x3333333333333333u) + (v >> 2 & 0x3333333333333333u);
    v = (v + (v >> 4)) & 0x0f0f0f0f0f0f0f0fu;
    return int(v * 0x0101010101010101u >> 56);
}

constexpr int ZbBitCount(unsigned long v) noexcept
{
    return ZbBitCount(static_cast<unsigned long long>(v));
}

/// Index (0 to 31) of the highest set bit; -1 for 0.
constexpr int ZbGetMSBSet(unsigned int v) noexcept
{
    return int(std::bit_width(v)) - 1;
}

/// Index (0 to 31) of the lowest set bit; -1 for 0.
constexpr int ZbGetLSBSet(unsigned int v) noexcept
{
    return v == 0 ? -1 : std::countr_zero(v);
}

/// The smallest power of two that is not less than v; 0 for 0.
///
/// Above 2^31 there is none that fits: the shift wraps there, and the result is 1. Callers count on it.
constexpr unsigned int ZbCeilPow2(unsigned int v) noexcept
{
    return v == 0 ? 0 : 1u << ((ZbGetMSBSet(v - 1) + 1) % 32);
}

/// The largest power of two that is not greater than v; 0 for 0.
constexpr unsigned int ZbFloorPow2(unsigned int v) noexcept
{
    return v == 0 ? 0 : 1u << ZbGetMSBSet(v);
}

// ---- conversion to integers

namespace ZbDetail
{

/// convert(x) where the value fits Integer; else the nearest bound, and 0 for NaN.
///
/// The bounds of Integer are compared as Real: the lower one is a power of two and exact, the one above
/// the upper is its negative. A Real so large has no fraction, hence no rounding leads out of the range.
template <typename Integer, typename Real, typename Convert>
Integer clampedToInteger(Real x, Convert convert) noexcept
{
    constexpr Real lowest = Real(std::numeric_limits<Integer>::min());
    if (x >= lowest && x < -lowest)
        return convert(x);
    if (std::isnan(x))
        return 0;
    return x < 0 ? std::numeric_limits<Integer>::min() : std::numeric_limits<Integer>::max();
}

}  // namespace ZbDetail

/// x without its fraction. What does not fit is clamped; NaN gives 0.
inline int ZbTruncZero(float x) noexcept
{
    return ZbDetail::clampedToInteger<int>(x, [](float v) { return int(v); });
}

inline std::int64_t ZbTruncZero(double x) noexcept
{
    return ZbDetail::clampedToInteger<std::int64_t>(x, [](double v) { return std::int64_t(v); });
}

/// x rounded in the current rounding mode, by default to nearest with ties to even. What does not fit is
/// clamped; NaN gives 0.
inline int ZbRoundEven(float x) noexcept
{
    // One instruction that heeds the mode, where std::lrint is a call.
    return ZbDetail::clampedToInteger<int>(x, [](float v) { return _mm_cvtss_si32(_mm_set_ss(v)); });
}

inline std::int64_t ZbRoundEven(double x) noexcept
{
    return ZbDetail::clampedToInteger<std::int64_t>(x,
                                                    [](double v) { return _mm_cvtsd_si64(_mm_set_sd(v)); });
}

// ---- rounding to digits

/// What happens to the part of a number that is rounded away. Any value but Floor acts as HalfUp.
enum class ZbRoundingRule {
    Floor = 0,   // towards minus infinity
    HalfUp = 1,  // to nearest; halves towards plus infinity, of negative numbers as well
};

/// x rounded to n decimals; a negative n rounds before the point (1234 to -1 decimals is 1230).
///
/// y = 10^n * x is rounded to an integer, and the result is y * 0.1^n: a product, not a quotient, so the last
/// bit may differ from that of the nearest decimal number. Both powers are products of |n| equal factors (10
/// and 0.1, which change places for a negative n); where one of them overflows or vanishes, so may the result, and 0
/// gives NaN. The float form computes in double and converts once.
ZB_API double ZbRoundToAmountOfDecimals(double x, ZbRoundingRule rule, int n) noexcept;
ZB_API float ZbRoundToAmountOfDecimals(float x, ZbRoundingRule rule, int n) noexcept;

/// x rounded to n significant digits: to n - ceil(log10 |x|) decimals, as above.
///
/// A power of ten counts as having one digit fewer (1000 has three). Zero has no leading digit; it comes back
/// as it is, as do infinities and NaN.
ZB_API double ZbRoundToAmountOfSignificantDigits(double x, ZbRoundingRule rule, int n) noexcept;
ZB_API float ZbRoundToAmountOfSignificantDigits(float x, ZbRoundingRule rule, int n) noexcept;

// ---- other

/// n! as the product n * (n - 1) * ... * 1 in double precision, 1 for n = 0, infinite from 171 on.
ZB_API double ZbFactorial(unsigned long n) noexcept;

/// The real cube root, negative for negative x.
inline float ZbCbrt(float x) noexcept
{
    return std::cbrt(x);
}

inline double ZbCbrt(double x) noexcept
{
    return std::cbrt(x);
}

/// Whether a and b differ by at most eps times the larger of their absolute values, computed in double.
///
/// Equal infinities are equal, and so are two NaN; an infinity equals nothing else, nor does a NaN.
inline bool ZbEqualsRelative(float a, float b, float eps) noexcept
{
    if (std::isnan(a) && std::isnan(b))
        return true;
    if (a == b)
        return true;
    const double absA = std::fabs(double(a));
    const double absB = std::fabs(double(b));
    if (absA > std::numeric_limits<double>::max() || absB > std::numeric_limits<double>::max())
        return false;
    return std::fabs(double(a) - double(b)) <= double(eps) * (absA > absB ? absA : absB);
}

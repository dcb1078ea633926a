#pragma once

// Private: the one way in which a double becomes a value of an element type.

#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace ZbDetail
{

/// The types that ClampTo makes: integers of up to 32 bits, float and double. Not every bound of a
/// 64-bit integer is a double, so those are left out.
template <typename T>
concept ClampTarget = (std::integral<T> && sizeof(T) <= 4 && !std::same_as<T, bool>) ||
                      std::same_as<T, float> || std::same_as<T, double>;

/// A value that the compiler cannot see through. With a bound that it knows, GCC converts the bound on one branch and
/// the value on the other, and the loop is lost to the vectoriser.
template <std::floating_point Real>
constexpr Real hidden(Real value) noexcept
{
    if (!std::is_constant_evaluated())
        asm("" : "+x"(value));
    return value;
}

/// The bounds of T as doubles, both inclusive: the whole range of an integer type. Real types have
/// none: infinities stay infinities.
///
/// Other tables of bounds for ClampTo look like this one. Bounds of an integer type are whole numbers
/// in its range and have the value that a NaN becomes between them; infinite ones cost nothing.
template <ClampTarget T>
struct FullRange {
    static constexpr double low = std::integral<T> ? double(std::numeric_limits<T>::lowest())
                                                   : -std::numeric_limits<double>::infinity();
    static constexpr double high =
        std::integral<T> ? double(std::numeric_limits<T>::max()) : std::numeric_limits<double>::infinity();
};

/// Turns a double into a T: clamped to [Bounds::low, Bounds::high], then integers by truncation toward
/// zero, float by rounding to nearest.
///
/// A NaN becomes NaN in a real type, and the low bits of 0x80000000 in an integer type: 0 in 8 and 16
/// bits, -2147483648 in int, 2147483648 in unsigned int. Defined for every double.
///
///     void kernel(unsigned char* __restrict out, const float* __restrict in, long n, double scale)
///     {
///         const ZbDetail::ClampTo<unsigned char> clamp;
///         for (long i = 0; i < n; ++i)
///             out[i] = clamp(in[i] * scale);
///     }
///     zbMultiversion([=] { kernel(out, in, n, scale); });
///
/// Such a loop has no branches, and both compilers vectorise it for every T, provided that the ClampTo is
/// made in front of the loop and that the loop is in a function of its own, which takes its arguments by
/// value: a store through unsigned char* could change the variables that a lambda captured.
template <ClampTarget T, typename Bounds = FullRange<T>>
class ClampTo
{
public:
    constexpr T operator()(double value) const noexcept
    {
        // The orders of the comparisons are those of the minimum and maximum instructions, which answer
        // with their second operand when one is NaN: a NaN passes "low > value" and ends in "value > low".
        if constexpr (std::floating_point<T>) {
            if constexpr (Bounds::low > -std::numeric_limits<double>::infinity())
                value = m_low > value ? m_low : value;
            if constexpr (Bounds::high < std::numeric_limits<double>::infinity())
                value = m_high < value ? m_high : value;
            return T(value);
        } else {
            if constexpr (Bounds::low == ofNan) {
                value = value > m_low ? value : m_low;
            } else {
                value = value == value ? value : ofNan == 0.0 ? 0.0 : m_ofNan;
                value = m_low > value ? m_low : value;
            }
            value = m_high < value ? m_high : value;
            if constexpr (std::same_as<T, std::uint32_t>) {
                // Only AVX-512 has vectors converted to unsigned. The halves fit the signed conversion;
                // the product and the difference are exact.
                const auto upper = std::int32_t(value * (1.0 / 65536.0));
                const auto lower = std::int32_t(value - double(upper) * 65536.0);
                return std::uint32_t(upper) << 16 | std::uint32_t(lower);
            } else {
                return T(std::int32_t(value));
            }
        }
    }

private:
    static constexpr double ofNan = std::integral<T> ? double(T(0x80000000u)) : 0.0;
    static_assert(std::floating_point<T> || (FullRange<T>::low <= Bounds::low && Bounds::low <= ofNan &&
                                             ofNan <= Bounds::high && Bounds::high <= FullRange<T>::high));

    double m_low = hidden(Bounds::low);
    double m_high = hidden(Bounds::high);
    double m_ofNan = hidden(ofNan);
};

/// One value by the rule of ClampTo, outside of loops.
template <ClampTarget T>
constexpr T clampTo(double value) noexcept
{
    return ClampTo<T>()(value);
}

}  // namespace ZbDetail

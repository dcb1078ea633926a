#pragma once

// Private: how the values of a resampled block become values of its type.

#include <zblib/data/ZbClampTo.h>
#include <zblib/foundation/ZbMultiversion.h>

#include <cmath>
#include <concepts>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace ZbDetail
{

/// What happens to a mean before it is clamped and truncated.
struct MeanConversion {
    float factor;      // that it is multiplied by
    double tolerance;  // the part of its size by which it may miss the whole number that it is meant to be
};

/// value, or the whole number that it differs from by no more than tolerance times its size.
inline double snapped(double value, double tolerance)
{
    constexpr double shiftToInteger = 6755399441055744.0;  // 1.5 * 2^52: behind it there is no fraction left
    const double whole = (value + shiftToInteger) - shiftToInteger;
    return std::fabs(value - whole) <= std::fabs(value) * tolerance ? whole : value;
}

/// Clamped, then truncated toward zero. 64-bit integers do what ClampTo does for the others.
template <typename T>
T truncated(double value)
{
    if constexpr (std::integral<T> && sizeof(T) == 8) {
        // The first double above the range; the range of doubles ends below it.
        constexpr double end = std::same_as<T, long long> ? 0x1p63 : 0x1p64;
        if (std::isnan(value))
            return T(1ull << 63);
        if (value >= end)
            return std::numeric_limits<T>::max();
        return value <= double(std::numeric_limits<T>::min()) ? std::numeric_limits<T>::min() : T(value);
    } else {
        return clampTo<T>(value);
    }
}

template <typename T>
void convertMeans(T* __restrict target, const float* __restrict values, long count, MeanConversion conversion)
{
    const auto [factor, tolerance] = conversion;
    if constexpr (std::floating_point<T>) {
        for (long i = 0; i < count; ++i)
            target[i] = T(values[i] * factor);
    } else if constexpr (sizeof(T) == 8) {
        for (long i = 0; i < count; ++i)
            target[i] = truncated<T>(snapped(values[i] * factor, tolerance));
    } else {
        const ClampTo<T> clamp;
        for (long i = 0; i < count; ++i)
            target[i] = clamp(snapped(values[i] * factor, tolerance));
    }
}

/// Means as values of type T.
template <typename T>
void finishMeans(void* target, const float* values, long count, MeanConversion conversion)
{
    zbMultiversion([=] { convertMeans(static_cast<T*>(target), values, count, conversion); });
}

/// The nearest T; real values are truncated toward zero.
template <typename T, typename Label>
T labelAs(Label label)
{
    if constexpr (std::integral<T> && std::integral<Label>)
        return std::cmp_less(label, std::numeric_limits<T>::min())      ? std::numeric_limits<T>::min()
               : std::cmp_greater(label, std::numeric_limits<T>::max()) ? std::numeric_limits<T>::max()
                                                                        : T(label);
    else if constexpr (std::floating_point<T>)
        return T(label);
    else
        return truncated<T>(label);
}

/// Labels times factor, as values of type T. A factor is a float, so a product may miss a whole number by as much.
template <typename T, typename Label>
void finishLabels(void* target, const Label* labels, long count, float factor)
{
    T* out = static_cast<T*>(target);
    if (factor != 1.0f)
        for (long i = 0; i < count; ++i)
            out[i] = truncated<T>(snapped(double(labels[i]) * double(factor), 0x1p-23));
    else
        for (long i = 0; i < count; ++i)
            out[i] = labelAs<T>(labels[i]);
}

template <typename T>
void convertToFloats(float* __restrict values, const T* __restrict source, long count)
{
    for (long i = 0; i < count; ++i)
        values[i] = float(source[i]);
}

template <typename T>
void loadFloats(float* values, const void* source, long count)
{
    zbMultiversion([=] { convertToFloats(values, static_cast<const T*>(source), count); });
}

}  // namespace ZbDetail

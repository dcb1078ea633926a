#pragma once

// Private: the loops over long vectors that the solvers for dense matrices are made of.

#include <zblib/foundation/ZbMultiversion.h>

namespace ZbDetail
{

/// dot for callers that choose the instruction set themselves, around a loop.
template <typename Sum, typename T>
inline Sum dotHere(const T* a, const T* b, long n) noexcept
{
    constexpr long lanes = 16;
    Sum sums[lanes] = {};
    long i = 0;
    for (; i + lanes <= n; i += lanes) {
        for (long k = 0; k < lanes; ++k)
            sums[k] += Sum(a[i + k]) * Sum(b[i + k]);
    }
    for (long k = 0; i + k < n; ++k)
        sums[k] += Sum(a[i + k]) * Sum(b[i + k]);
    for (long half = lanes / 2; half > 0; half /= 2) {
        for (long k = 0; k < half; ++k)
            sums[k] += sums[k + half];
    }
    return sums[0];
}

/// The sum of the products, formed in Sum. Element i goes to the partial sum i % 16; these are added pairwise.
/// So the order is the same for every instruction set, and none waits for the one before.
template <typename Sum, typename T>
Sum dot(const T* a, const T* b, long n) noexcept
{
    return zbMultiversion([=] { return dotHere<Sum>(a, b, n); });
}

/// y += factor * x; they do not overlap.
template <typename T>
void addMultiple(T factor, const T* x, T* y, long n) noexcept
{
    zbMultiversion([=] {
        for (long i = 0; i < n; ++i)
            y[i] += factor * x[i];
    });
}

/// (x, y) = (c x + s y, c y - s x); they do not overlap.
template <typename T>
void rotate(T c, T s, T* x, T* y, long n) noexcept
{
    zbMultiversion([=] {
        for (long i = 0; i < n; ++i) {
            const T first = x[i], second = y[i];
            x[i] = first * c + second * s;
            y[i] = second * c - first * s;
        }
    });
}

template <typename T>
void scale(T factor, T* x, long n) noexcept
{
    zbMultiversion([=] {
        for (long i = 0; i < n; ++i)
            x[i] *= factor;
    });
}

}  // namespace ZbDetail

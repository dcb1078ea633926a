#pragma once

#include <cmath>
#include <limits>
#include <omp.h>
#include <random>
#include <type_traits>
#include <vector>

/// Values of an element type for tests that compare a fast form with a plain one: some from the whole range, some
/// small whole numbers, and the special ones (limits; for reals zeros of both signs, infinities and NaNs too).
template <typename T>
std::vector<T> elementValues(size_t count, unsigned seed)
{
    using Limits = std::numeric_limits<T>;
    std::vector<T> special{Limits::lowest(), Limits::max(), T(0), T(1), T(Limits::max() / 2)};
    if constexpr (std::is_floating_point_v<T>)
        special.insert(special.end(),
                       {T(-0.0), T(INFINITY), T(-INFINITY), T(NAN), T(0.1), T(-0.9), T(254.99999)});
    std::mt19937_64 random(seed);
    std::vector<T> values(count);
    for (T& value : values) {
        const auto bits = random();
        if (bits % 16 == 0)
            value = special[bits / 16 % special.size()];
        else if (bits % 4 == 0)
            value = T(int(bits / 16 % 300)) - T(std::is_signed_v<T> ? 20 : 0);
        else if constexpr (std::is_integral_v<T>)
            value = T(bits >> 8);
        else
            value = T(std::ldexp(double(bits >> 11), -53) * 80000 - 40000);
    }
    return values;
}

/// Parallel regions of the calling thread have so many threads while this lives.
class ThreadCount
{
public:
    explicit ThreadCount(int count) : m_before(omp_get_max_threads()) { omp_set_num_threads(count); }
    ~ThreadCount() { omp_set_num_threads(m_before); }
    ThreadCount(const ThreadCount&) = delete;
    ThreadCount& operator=(const ThreadCount&) = delete;

private:
    int m_before;
};

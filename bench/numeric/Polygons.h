#pragma once

#include <zblib/math/ZbVec2f.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

// Polygons to fill into an image of 1000 x 1000 pixels: stars of so many vertices, and a convex one of 8 vertices that
// is 20 pixels wide, which stands for 0.

namespace ZbBench
{

inline constexpr int imageSize = 1000;

inline void polygons(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgName("vertices")->Arg(0)->Arg(10)->Arg(1000)->Arg(100000);
}

inline std::vector<ZbVec2f> polygon(long vertices)
{
    const long n = vertices == 0 ? 8 : vertices;
    std::vector<ZbVec2f> result;
    for (long i = 0; i < n; ++i) {
        const double angle = 2 * std::numbers::pi * double(i) / double(n);
        const double radius = vertices == 0 ? 10 : i % 2 == 0 ? 490 : 200;
        result.emplace_back(float(500 + radius * std::cos(angle)), float(500 + radius * std::sin(angle)));
    }
    return result;
}

}  // namespace ZbBench

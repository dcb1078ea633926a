#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

// Volumes of 256^3 bytes to label, of which half is at or above zbLabelThreshold: one like what people have,
// and the worst. The argument says which; the second one is the number of neighbours.
//
//     BENCHMARK(labelWithOurs)->Apply(zbLabelVolumes);

inline constexpr int zbLabelSize = 256;
inline constexpr long zbLabelVoxels = long(zbLabelSize) * zbLabelSize * zbLabelSize;
inline constexpr unsigned char zbLabelThreshold = 128;

enum ZbLabelVolume { ZbBlobs, ZbNoise };

inline void zbLabelVolumes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"noise", "nb"})
        ->ArgsProduct({{ZbBlobs, ZbNoise}, {6, 26}})
        ->Unit(benchmark::kMillisecond);
}

namespace ZbDetail
{

/// Means over nine voxels along an axis, which ends where it begins.
inline void smoothAlong(std::vector<float>& values, long step)
{
    std::vector<float> line(zbLabelSize);
    for (long first = 0; first < zbLabelVoxels; ++first) {
        if (first / step % zbLabelSize != 0)
            continue;
        for (int i = 0; i < zbLabelSize; ++i)
            line[size_t(i)] = values[size_t(first + step * i)];
        for (int i = 0; i < zbLabelSize; ++i) {
            float sum = 0;
            for (int k = -4; k <= 4; ++k)
                sum += line[size_t((i + k + zbLabelSize) % zbLabelSize)];
            values[size_t(first + step * i)] = sum / 9;
        }
    }
}

}  // namespace ZbDetail

/// Noise in all of the 256 values, or the same noise smoothed and stretched.
inline std::vector<unsigned char> zbMakeLabelVolume(int kind)
{
    std::mt19937 random(1);
    std::vector<unsigned char> noise(zbLabelVoxels);
    std::generate(noise.begin(), noise.end(), [&] { return (unsigned char)(random() >> 24); });
    if (kind == ZbNoise)
        return noise;

    std::vector<float> smooth(noise.begin(), noise.end());
    for (int round = 0; round < 3; ++round)
        for (const long step : {1, zbLabelSize, zbLabelSize * zbLabelSize})
            ZbDetail::smoothAlong(smooth, step);
    double sum = 0, squares = 0;
    for (const float value : smooth) {
        sum += value;
        squares += double(value) * value;
    }
    const double mean = sum / zbLabelVoxels;
    const double deviation = std::sqrt(squares / zbLabelVoxels - mean * mean);
    std::transform(smooth.begin(), smooth.end(), noise.begin(), [=](float value) {
        return (unsigned char)(std::clamp(zbLabelThreshold + 40 * (value - mean) / deviation, 0.0, 255.0));
    });
    return noise;
}

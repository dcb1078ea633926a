#pragma once

#include <zblib/data/ZbBytePattern.h>

#include <algorithm>
#include <random>
#include <vector>

/// The levels of a byte pattern before they are merged.
struct PatternLevels {
    std::vector<long> counts;
    std::vector<long> strides;

    void add(long count, long stride)
    {
        counts.push_back(count);
        strides.push_back(stride);
    }
    ZbBytePattern pattern() const { return ZbBytePattern(int(counts.size()), counts.data(), strides.data()); }
};

/// The offsets of levels in order, as nested loops would give them: the definition of a pattern.
inline std::vector<long> loopOffsets(const PatternLevels& levels)
{
    std::vector<long> offsets{0};
    for (size_t level = 0; level < levels.counts.size(); ++level) {
        std::vector<long> repeated;
        for (long i = 0; i < levels.counts[level]; ++i)
            for (const long offset : offsets)
                repeated.push_back(offset + i * levels.strides[level]);
        offsets = repeated;
    }
    return offsets;
}

/// A pattern whose bytes are all different: up to four levels around runs of runBytes, dense or with gaps,
/// upward or downward, in an order of any kind.
inline PatternLevels randomLevels(std::mt19937& random, long runBytes)
{
    const auto upTo = [&](int n) { return long(random() % unsigned(n)); };
    PatternLevels levels;
    levels.add(runBytes, 1);
    long extent = runBytes * (1 + upTo(2));
    for (long level = upTo(runBytes > 16 ? 3 : 5); level > 0; --level) {
        levels.add(1 + upTo(7), upTo(4) == 0 ? -extent : extent);
        extent *= levels.counts.back() + (upTo(2) == 0 ? 0 : upTo(3));
    }
    if (upTo(3) == 0 && levels.counts.size() > 2) {
        std::swap(levels.counts[1], levels.counts.back());
        std::swap(levels.strides[1], levels.strides.back());
    }
    return levels;
}

/// No offset of the pattern is farther from 0.
inline long patternReach(const PatternLevels& levels)
{
    long reach = 1;
    for (size_t level = 0; level < levels.counts.size(); ++level)
        reach += std::abs(levels.strides[level]) * levels.counts[level];
    return reach;
}

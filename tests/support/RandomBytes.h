#pragma once

#include <random>
#include <vector>

/// Bytes for tests that compare where values end up.
inline std::vector<char> randomBytes(size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<char> bytes(count);
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

#pragma once

#include <zblib/foundation/ZbMultiversion.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <numeric>
#include <vector>

// The limits of the machine, to stand in the same run as what is measured against them. The argument of
// all is the size of one block in bytes, a multiple of 256. Loops, not memcpy: for blocks that fit into a
// cache that one is far from the limit on some machines.
//
//     BENCHMARK(zbStreamingRead)->Arg(1 << 26);

namespace ZbDetail
{

// Functions of their own, so that the loops work on parameters and vectorise: the captures of a lambda might
// lie where they write.

/// Independent sums, or the loop would wait for its additions.
inline std::uint64_t streamingSum(const std::uint64_t* from, size_t count)
{
    std::uint64_t sums[32] = {};
    for (size_t i = 0; i + 32 <= count; i += 32)
        for (size_t k = 0; k < 32; ++k)
            sums[k] += from[i + k];
    return std::accumulate(sums, sums + 32, std::uint64_t(0));
}

/// Not a mere copy, or the compiler would call memcpy; the sum costs nothing.
inline void streamingCopy(std::uint64_t* to, const std::uint64_t* from, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        to[i] = from[i] + 1;
}

}  // namespace ZbDetail

/// One thread sums a block in one pass; every byte of it counts once.
inline void zbStreamingRead(benchmark::State& state)
{
    const std::vector<std::uint64_t> block(size_t(state.range(0)) / 8, 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            zbMultiversion([&] { return ZbDetail::streamingSum(block.data(), block.size()); }));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

/// One thread copies a block; the bytes read and the bytes written count.
inline void zbStreamingCopy(benchmark::State& state)
{
    const std::vector<std::uint64_t> source(size_t(state.range(0)) / 8, 1);
    std::vector<std::uint64_t> target(source.size());
    for (auto _ : state) {
        zbMultiversion([&] { ZbDetail::streamingCopy(target.data(), source.data(), source.size()); });
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(2 * state.iterations() * state.range(0));
}

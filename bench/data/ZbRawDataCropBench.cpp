#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbRawData.h>
#include <zblib/foundation/ZbMemory.h>

#include <cstring>
#include <vector>

// Bytes per second, read and written ones together, as zbStreamingCopy counts them.

namespace
{

constexpr int size = 256;

/// Argument: bytes of an element. All three axes are mirrored alike often.
template <int axis>
void flip(benchmark::State& state)
{
    const long elementSize = state.range(0);
    std::vector<char> block(size_t(size * size * size * elementSize), 1);
    for (auto _ : state) {
        ZbRawData::flip(block.data(), int(elementSize), ZbDim3l(size, size, size), axis);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(2 * state.iterations() * int64_t(block.size()));
}

/// The new block is memory that is touched for the first time, which is most of the cost.
template <int margin>
void crop(benchmark::State& state)
{
    const int minimum[] = {-margin, -margin, -margin};
    const int maximum[] = {size - 1 + margin, size - 1 + margin, size - 1 + margin};
    const float fill = 0;
    const size_t bytes = size_t(size) * size * size * sizeof(float);
    for (auto _ : state) {
        state.PauseTiming();
        void* data = zbmalloc(bytes);
        std::memset(data, 1, bytes);
        int dims[] = {size, size, size};
        state.ResumeTiming();
        ZbRawData::crop(data, sizeof(float), dims, minimum, maximum, &fill);
        state.PauseTiming();
        zbfree(data);
        state.ResumeTiming();
    }
    const int64_t newBytes = int64_t(size + 2 * margin) * (size + 2 * margin) * (size + 2 * margin) * 4;
    state.SetBytesProcessed(2 * state.iterations() * newBytes);
}

/// The least that the new block of crop<margin>() costs: its memory, and a copy into it.
template <int margin>
void copyToNewMemory(benchmark::State& state)
{
    constexpr size_t newSize = size + 2 * margin, bytes = newSize * newSize * newSize * sizeof(float);
    const std::vector<char> source(bytes, 1);
    for (auto _ : state) {
        void* data = zbmalloc(bytes);
        std::memcpy(data, source.data(), bytes);
        state.PauseTiming();
        zbfree(data);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(2 * state.iterations() * int64_t(bytes));
}

BENCHMARK(zbStreamingCopy)->Arg(1 << 24)->Arg(1 << 26);
BENCHMARK(flip<0>)->Arg(1)->Arg(2)->Arg(3)->Arg(4)->Arg(8);
BENCHMARK(flip<1>)->Arg(1)->Arg(4);
BENCHMARK(flip<2>)->Arg(1)->Arg(4);
BENCHMARK(crop<-16>)->Unit(benchmark::kMillisecond);
BENCHMARK(crop<16>)->Unit(benchmark::kMillisecond);
BENCHMARK(copyToNewMemory<-16>)->Unit(benchmark::kMillisecond);

}  // namespace

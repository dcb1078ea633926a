#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbRawData.h>

#include <vector>

// Bytes per second, read and written ones together, as zbStreamingCopy counts them.

namespace
{

template <ZbPrimType::Type type>
void swapBytes(benchmark::State& state)
{
    std::vector<char> block(size_t(state.range(0)), 1);
    const ZbTypedPointer data(block.data(), type);
    const unsigned long count = block.size() / size_t(ZbPrimType(type).getTypeSize());
    for (auto _ : state) {
        ZbRawData::swapBytes(data, count);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(2 * state.iterations() * state.range(0));
}

// In the first cache, and in memory.
BENCHMARK(zbStreamingCopy)->Arg(1 << 14)->Arg(1 << 27);
BENCHMARK(swapBytes<ZbPrimType::SHORT>)->Arg(1 << 14)->Arg(1 << 27);
BENCHMARK(swapBytes<ZbPrimType::FLOAT>)->Arg(1 << 14)->Arg(1 << 27);
BENCHMARK(swapBytes<ZbPrimType::DOUBLE>)->Arg(1 << 14)->Arg(1 << 27);

}  // namespace

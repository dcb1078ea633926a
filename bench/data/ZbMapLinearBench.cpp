#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbMemcpy.h>

#include <vector>

// Linear mapping between element types. Bytes per second count the values read and the values written, beside
// those of a streaming copy in the same run; items are values. 2^14 values stay in a cache, 2^24 do not.

namespace
{

template <typename Target, typename Source>
void map(benchmark::State& state, const ZbBytePattern& targetPattern, const ZbBytePattern& sourcePattern)
{
    const std::vector<Source> source(size_t(sourcePattern.minMemRequirement()) / sizeof(Source) + 1,
                                     Source(100));
    std::vector<Target> target(size_t(targetPattern.minMemRequirement()) / sizeof(Target) + 1);
    for (auto _ : state) {
        zbmapLinear(ZbDataPointer(target.data()), targetPattern, ZbDataPointer(source.data()), sourcePattern,
                    0.5, 1.1);
        benchmark::ClobberMemory();
    }
    const int64_t values = sourcePattern.byteCount() / long(sizeof(Source));
    state.SetItemsProcessed(state.iterations() * values);
    state.SetBytesProcessed(state.iterations() * values * int64_t(sizeof(Source) + sizeof(Target)));
}

template <typename Target, typename Source>
void mapDense(benchmark::State& state)
{
    map<Target, Source>(state, ZbBytePattern::CreateContigousBlock(state.range(0) * long(sizeof(Target))),
                        ZbBytePattern::CreateContigousBlock(state.range(0) * long(sizeof(Source))));
}

/// Rows of as many values as the second argument says, each followed by two that are skipped, to dense
/// memory.
void mapShortRows(benchmark::State& state)
{
    const long row = state.range(1), rows = state.range(0) / row;
    const long counts[] = {row * 4, rows}, strides[] = {1, (row + 2) * 4};
    map<unsigned char, float>(state, ZbBytePattern::CreateContigousBlock(row * rows),
                              ZbBytePattern(2, counts, strides));
}

void mapInPlace(benchmark::State& state)
{
    std::vector<float> values(size_t(state.range(0)), 1.0F);
    const ZbBytePattern pattern = ZbBytePattern::CreateContigousBlock(4 * state.range(0));
    const ZbDataPointer data(values.data());
    for (auto _ : state) {
        zbmapLinear(data, pattern, data, pattern, 0.5, 1.0);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetBytesProcessed(8 * state.iterations() * state.range(0));
}

BENCHMARK(zbStreamingCopy)->Arg(1 << 15)->Arg(1 << 26);
BENCHMARK(mapDense<unsigned char, float>)->Arg(1 << 14)->Arg(1 << 24);
BENCHMARK(mapDense<unsigned char, short>)->Arg(1 << 14)->Arg(1 << 24);
BENCHMARK(mapDense<short, float>)->Arg(1 << 14)->Arg(1 << 24);
BENCHMARK(mapDense<int, float>)->Arg(1 << 14)->Arg(1 << 24);
BENCHMARK(mapDense<float, short>)->Arg(1 << 14)->Arg(1 << 24);
BENCHMARK(mapDense<float, float>)->Arg(1 << 14)->Arg(1 << 24);
BENCHMARK(mapDense<double, unsigned char>)->Arg(1 << 14)->Arg(1 << 24);
BENCHMARK(mapShortRows)->ArgsProduct({{1 << 14, 1 << 24}, {1, 4, 32, 126}});
BENCHMARK(mapInPlace)->Arg(1 << 14)->Arg(1 << 24);

}  // namespace

#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbRawData.h>

#include <random>
#include <vector>

// Bytes read per second; zbStreamingRead is the limit.

namespace
{

const int dims[] = {256, 256, 256};

/// Smooth regions with some noise, as labels and as values.
template <typename T>
std::vector<T> makeBlock()
{
    std::mt19937 random(1);
    std::vector<T> block(static_cast<size_t>(dims[0]) * dims[1] * dims[2]);
    for (size_t i = 0; i < block.size(); ++i)
        block[i] = T(random() % 50 == 0 ? random() % 7 : i >> 5 & 7);
    return block;
}

template <typename T, typename Reduce>
void measure(benchmark::State& state, Reduce&& reduce)
{
    std::vector<T> source = makeBlock<T>();
    std::vector<T> target(source.size());
    const int factor = int(state.range(0));
    const int factors[] = {factor, factor, factor};
    for (auto _ : state) {
        reduce(source.data(), factors, target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(source.size() * sizeof(T)));
}

template <typename T>
void mean(benchmark::State& state)
{
    measure<T>(state, [](T* source, const int* factors, T* target) {
        ZbRawData::downSample3D(source, dims, 1, factors, target);
    });
}

template <typename T>
void maximum(benchmark::State& state)
{
    measure<T>(state, [](T* source, const int* factors, T* target) {
        ZbRawData::downSampleMaxFilterComponents3DN(source, dims, 1, factors, target);
    });
}

template <typename T>
void labels(benchmark::State& state)
{
    measure<T>(state, [](T* source, const int* factors, T* target) {
        ZbRawData::downSampleLabels3D(source, dims, factors, target);
    });
}

BENCHMARK(zbStreamingRead)->Arg(1 << 24)->Arg(1 << 26);
BENCHMARK(mean<unsigned char>)->Arg(2)->Arg(3);
BENCHMARK(mean<unsigned short>)->Arg(2)->Arg(3);
BENCHMARK(mean<int>)->Arg(2);
BENCHMARK(mean<float>)->Arg(2)->Arg(3);
BENCHMARK(maximum<unsigned char>)->Arg(2)->Arg(3);
BENCHMARK(maximum<float>)->Arg(2)->Arg(3);
BENCHMARK(labels<unsigned char>)->Arg(2)->Arg(3);
BENCHMARK(labels<int>)->Arg(2);

}  // namespace

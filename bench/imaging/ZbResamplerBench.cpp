#include <bench/support/ZbStreaming.h>
#include <zblib/containers/ZbString.h>
#include <zblib/data/ZbTypedData3D.h>
#include <zblib/imaging/ZbResampler.h>

#include <vector>

// Items are voxels of the result. All threads of OpenMP take part: set OMP_NUM_THREADS.

namespace
{

constexpr int size = 256;

template <typename T>
std::vector<T> ramp(long count)
{
    std::vector<T> values(static_cast<size_t>(count));
    for (long i = 0; i < count; ++i)
        values[size_t(i)] = T(i * 2654435761u >> 25);
    return values;
}

/// Argument: the size of the result.
template <typename T, ZbResampler::Kernel kernel, int support, ZbResampler::FilterType type>
void resample(benchmark::State& state)
{
    const int newSize = int(state.range(0));
    auto from = ramp<T>(long(size) * size * size);
    std::vector<T> to(size_t(newSize) * size_t(newSize) * size_t(newSize));
    const ZbPrimType primType((T*)nullptr);
    const ZbTypedData3D source(size, size, size, primType, 1, from.data());
    ZbTypedData3D target(newSize, newSize, newSize, primType, 1, to.data());
    ZbString error;
    for (auto _ : state)
        if (!ZbResampler::resample(source, target, nullptr, 0, 1, kernel, support, type, error))
            state.SkipWithError(error);
    state.SetItemsProcessed(state.iterations() * int64_t(to.size()));
}

constexpr auto values = ZbResampler::FILTER_VALUES;
constexpr auto labels = ZbResampler::FILTER_LABELS;

BENCHMARK(resample<float, ZbResampler::triangle_filter, 1, values>)->Arg(384)->Arg(128)->UseRealTime();
BENCHMARK(resample<float, ZbResampler::Mitchell_filter, 2, values>)->Arg(384)->Arg(128)->UseRealTime();
BENCHMARK(resample<float, ZbResampler::Lanczos3_filter, 3, values>)->Arg(384)->Arg(128)->UseRealTime();
BENCHMARK(resample<unsigned char, ZbResampler::triangle_filter, 1, values>)
    ->Arg(384)
    ->Arg(128)
    ->UseRealTime();
BENCHMARK(resample<unsigned char, ZbResampler::Lanczos3_filter, 3, values>)
    ->Arg(384)
    ->Arg(128)
    ->UseRealTime();
BENCHMARK(resample<unsigned short, ZbResampler::Lanczos3_filter, 3, values>)
    ->Arg(384)
    ->Arg(128)
    ->UseRealTime();
BENCHMARK(resample<unsigned char, ZbResampler::triangle_filter, 1, labels>)
    ->Arg(384)
    ->Arg(128)
    ->UseRealTime();

}  // namespace

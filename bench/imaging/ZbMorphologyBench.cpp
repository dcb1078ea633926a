#include <bench/support/ZbStreaming.h>
#include <zblib/imaging/ZbMorphology.h>

#include <oneapi/tbb/global_control.h>

#include <algorithm>
#include <random>

// Voxels per second, and bytes as if each word were read and written once: the limit is zbStreamingCopy of 2^24
// bytes, the bits of 512^3 voxels, or 2^23, those of 8192^2 pixels. Arguments: nx, the number of iterations, and, for the
// erosion of volumes, the number of threads.

namespace
{

ZbBitfield smoothField(unsigned long n)
{
    ZbBitfield field(n, ZbBitfield::INIT_NONE);
    std::mt19937 random(1);
    unsigned int word = 0;
    std::generate_n(field.dataPtr(), field.memSize() / 4,
                    [&] { return random() % 8 == 0 ? word = unsigned(random()) : word; });
    return field;
}

template <typename Operation>
void measure(benchmark::State& state, unsigned long n, Operation operation)
{
    const ZbBitfield src = smoothField(n);
    ZbBitfield dst(n, ZbBitfield::INIT_UNSET);
    for (auto _ : state) {
        operation(src, dst);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(n));
    state.SetBytesProcessed(state.iterations() * int64_t(2 * src.memSize()));
}

ZbVec3i cube(const benchmark::State& state)
{
    const int size = int(state.range(0));
    return ZbVec3i(size, size, size);
}

void erosion3D(benchmark::State& state)
{
    const tbb::global_control control(tbb::global_control::max_allowed_parallelism, size_t(state.range(2)));
    const ZbVec3i dims = cube(state);
    measure(state, (unsigned long)(dims.x) * (unsigned long)(dims.x) * (unsigned long)(dims.x),
            [&](const ZbBitfield& src, ZbBitfield& dst) {
                ZbMorphology::erosion3D(src, dst, dims, int(state.range(1)), true, true, true, nullptr);
            });
}

void dilation3D(benchmark::State& state)
{
    const ZbVec3i dims = cube(state);
    measure(state, (unsigned long)(dims.x) * (unsigned long)(dims.x) * (unsigned long)(dims.x),
            [&](const ZbBitfield& src, ZbBitfield& dst) {
                ZbMorphology::dilation3D(src, dst, dims, int(state.range(1)));
            });
}

template <void (*operation)(const ZbBitfield&, ZbBitfield&, const ZbVec2i&)>
void image(benchmark::State& state)
{
    const ZbVec2i dims(int(state.range(0)), 8192);
    measure(state, (unsigned long)(dims.x) * 8192,
            [&](const ZbBitfield& src, ZbBitfield& dst) { operation(src, dst, dims); });
}

BENCHMARK(zbStreamingCopy)->Arg(1 << 23)->Arg(1 << 24)->UseRealTime();
BENCHMARK(erosion3D)->ArgsProduct({{512, 511, 500, 544}, {1, 5}, {1, 2}})->UseRealTime();
BENCHMARK(dilation3D)->ArgsProduct({{512, 511, 500}, {1, 5}})->UseRealTime();
BENCHMARK(image<ZbMorphology::erosion2D_4>)->Name("erosion2D_4")->Arg(8192)->Arg(8191)->UseRealTime();
BENCHMARK(image<ZbMorphology::dilation2D_4>)->Name("dilation2D_4")->Arg(8192)->Arg(8191)->UseRealTime();
BENCHMARK(image<ZbMorphology::erosion2D_8>)->Name("erosion2D_8")->Arg(8192)->Arg(8191)->UseRealTime();
BENCHMARK(image<ZbMorphology::dilation2D_8>)->Name("dilation2D_8")->Arg(8192)->Arg(8191)->UseRealTime();

}  // namespace

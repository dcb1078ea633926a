#include <zblib/data/ZbRawData2D.h>
#include <zblib/data/ZbRawData3D.h>

#include <benchmark/benchmark.h>

// All slices of a volume of 256^3 elements of 4 bytes, one after the other, into one image and from it; bytes per
// second, read and written ones together. bench/peers/resampling.py does the same with NumPy.

namespace
{

constexpr int size = 256;

template <ZbRawData3D::Orientation orientation>
void getSlice(benchmark::State& state)
{
    ZbRawData3D volume(size, size, size, 4);
    ZbRawData2D slice(size, size, 4);
    volume.clear();
    for (auto _ : state)
        for (int k = 0; k < size; ++k) {
            volume.getSlice(orientation, k, slice, true);
            benchmark::ClobberMemory();
        }
    state.SetBytesProcessed(2 * state.iterations() * volume.getNumElems() * 4);
}

template <ZbRawData3D::Orientation orientation>
void putSlice(benchmark::State& state)
{
    ZbRawData3D volume(size, size, size, 4);
    ZbRawData2D slice(size, size, 4);
    volume.clear();
    slice.clear();
    for (auto _ : state)
        for (int k = 0; k < size; ++k) {
            volume.putSlice(orientation, k, slice);
            benchmark::ClobberMemory();
        }
    state.SetBytesProcessed(2 * state.iterations() * volume.getNumElems() * 4);
}

BENCHMARK(getSlice<ZbRawData3D::XY>);
BENCHMARK(getSlice<ZbRawData3D::XZ>);
BENCHMARK(getSlice<ZbRawData3D::YZ>);
BENCHMARK(putSlice<ZbRawData3D::XY>);
BENCHMARK(putSlice<ZbRawData3D::XZ>);
BENCHMARK(putSlice<ZbRawData3D::YZ>);

}  // namespace

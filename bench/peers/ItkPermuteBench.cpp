#include <zblib/data/ZbRawData.h>

#include <benchmark/benchmark.h>

#include <itkFlipImageFilter.h>
#include <itkImage.h>
#include <itkImportImageFilter.h>
#include <itkPermuteAxesImageFilter.h>

#include <vector>

// Bytes of the block per second, one thread. ZbRawData permutes and mirrors in place; the other one makes a
// new image, whose memory is kept from one run to the next.

namespace
{

const int permutations[][3] = {{0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

template <typename T, int size>
std::vector<T> makeBlock()
{
    std::vector<T> block(static_cast<size_t>(size) * size * size);
    for (size_t i = 0; i < block.size(); ++i)
        block[i] = T(i * 2654435761u >> 13);
    return block;
}

template <typename T, int size, typename Action>
void measure(benchmark::State& state, Action&& action)
{
    for (auto _ : state) {
        action();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(sizeof(T)) * size * size * size);
}

template <typename T, int size>
void permuteZb(benchmark::State& state)
{
    std::vector<T> block = makeBlock<T, size>();
    measure<T, size>(state, [&] {
        int dims[] = {size, size, size};
        ZbRawData::swapDims(block.data(), dims, permutations[state.range(0)], 1);
    });
}

template <typename T, int size>
void flipZb(benchmark::State& state)
{
    std::vector<T> block = makeBlock<T, size>();
    measure<T, size>(state, [&] {
        ZbRawData::flip(block.data(), sizeof(T), ZbDim3l(size, size, size), int(state.range(0)));
    });
}

/// Runs filter on a block until the benchmark has seen enough.
template <typename T, int size, typename Filter>
void runItk(benchmark::State& state, Filter& filter)
{
    using Image = itk::Image<T, 3>;
    std::vector<T> block = makeBlock<T, size>();
    const auto import = itk::ImportImageFilter<T, 3>::New();
    typename Image::RegionType region;
    region.SetSize({size, size, size});
    import->SetRegion(region);
    import->SetImportPointer(block.data(), block.size(), false);
    filter.SetInput(import->GetOutput());
    filter.SetNumberOfWorkUnits(1);
    filter.Update();
    measure<T, size>(state, [&] {
        filter.Modified();
        filter.Update();
    });
}

template <typename T, int size>
void permuteItk(benchmark::State& state)
{
    const auto filter = itk::PermuteAxesImageFilter<itk::Image<T, 3>>::New();
    itk::FixedArray<unsigned int, 3> order;
    for (unsigned int k = 0; k < 3; ++k)
        order[k] = unsigned(permutations[state.range(0)][k]);
    filter->SetOrder(order);
    runItk<T, size>(state, *filter);
}

template <typename T, int size>
void flipItk(benchmark::State& state)
{
    const auto filter = itk::FlipImageFilter<itk::Image<T, 3>>::New();
    itk::FixedArray<bool, 3> axes(false);
    axes[unsigned(state.range(0))] = true;
    filter->SetFlipAxes(axes);
    runItk<T, size>(state, *filter);
}

BENCHMARK(permuteZb<unsigned char, 512>)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(permuteItk<unsigned char, 512>)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(permuteZb<float, 384>)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(permuteItk<float, 384>)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);
BENCHMARK(flipZb<unsigned char, 512>)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(flipItk<unsigned char, 512>)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace

#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbRawData.h>
#include <zblib/data/ZbSwapDims.h>

#include <algorithm>
#include <vector>

// Bytes of the block per second. Each byte is read and written at least once: half of zbStreamingCopy is the
// limit of a permutation that needs one pass, a quarter of it for (1, 2, 0) and (2, 0, 1), which need two.

namespace
{

const int permutations[][3] = {{0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

template <typename T>
std::vector<T> makeBlock(const ZbDim3l& dims)
{
    std::vector<T> block(size_t(dims.nx * dims.ny * dims.nz));
    for (size_t i = 0; i < block.size(); ++i)
        block[i] = T(i * 2654435761u >> 13);
    return block;
}

/// Arguments: number of the permutation, and the three sizes.
template <typename T>
void swapDims(benchmark::State& state)
{
    const ZbDim3l sizes(state.range(1), state.range(2), state.range(3));
    std::vector<T> block = makeBlock<T>(sizes);
    for (auto _ : state) {
        int dims[] = {int(sizes.nx), int(sizes.ny), int(sizes.nz)};
        ZbRawData::swapDims(block.data(), dims, permutations[state.range(0)], 1);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(block.size() * sizeof(T)));
}

/// The same by the definition.
template <typename T>
void swapDimsPlain(benchmark::State& state)
{
    const ZbDim3l sizes(state.range(1), state.range(2), state.range(3));
    std::vector<T> block = makeBlock<T>(sizes);
    for (auto _ : state) {
        ZbDetail::swapDimsPlain(block.data(), sizes, permutations[state.range(0)], sizeof(T));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(block.size() * sizeof(T)));
}

/// Into a second block that has been touched before: what a few loops do.
template <typename T>
void permuteOutOfPlace(benchmark::State& state)
{
    const long sizes[] = {state.range(1), state.range(2), state.range(3)};
    const long strides[] = {1, sizes[0], sizes[0] * sizes[1]};
    const int* const order = permutations[state.range(0)];
    const std::vector<T> block = makeBlock<T>(ZbDim3l(sizes[0], sizes[1], sizes[2]));
    std::vector<T> target(block.size());
    for (auto _ : state) {
        T* to = target.data();
        for (long z = 0; z < sizes[order[2]]; ++z)
            for (long y = 0; y < sizes[order[1]]; ++y) {
                const T* from = block.data() + z * strides[order[2]] + y * strides[order[1]];
                const long count = sizes[order[0]];
                if (order[0] == 0)
                    std::copy_n(from, count, to);
                else
                    for (long x = 0; x < count; ++x)
                        to[x] = from[x * strides[order[0]]];
                to += count;
            }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * int64_t(block.size() * sizeof(T)));
}

const std::vector<int64_t> all{0, 1, 2, 3, 4};

BENCHMARK(zbStreamingCopy)->Arg(1 << 27)->Unit(benchmark::kMillisecond);
// Cubes, whose planes are square and whose rows lie at powers of two apart; oblong blocks, in which
// everything moves along cycles; sizes without divisors; a block that fits a cache.
BENCHMARK(swapDims<unsigned char>)->ArgsProduct({all, {512}, {512}, {512}})->Unit(benchmark::kMillisecond);
BENCHMARK(permuteOutOfPlace<unsigned char>)
    ->ArgsProduct({all, {512}, {512}, {512}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(swapDims<float>)->ArgsProduct({all, {384}, {384}, {384}})->Unit(benchmark::kMillisecond);
BENCHMARK(permuteOutOfPlace<float>)->ArgsProduct({all, {384}, {384}, {384}})->Unit(benchmark::kMillisecond);
BENCHMARK(swapDims<unsigned char>)->ArgsProduct({all, {512}, {500}, {520}})->Unit(benchmark::kMillisecond);
BENCHMARK(swapDims<float>)->ArgsProduct({all, {300}, {400}, {500}})->Unit(benchmark::kMillisecond);
BENCHMARK(swapDims<unsigned char>)->ArgsProduct({all, {509}, {503}, {521}})->Unit(benchmark::kMillisecond);
BENCHMARK(swapDims<float>)->ArgsProduct({all, {64}, {64}, {64}})->Unit(benchmark::kMillisecond);
BENCHMARK(swapDimsPlain<float>)->ArgsProduct({all, {64}, {60}, {68}})->Unit(benchmark::kMillisecond);

}  // namespace

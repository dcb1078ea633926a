#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbMemcpy.h>

#include <array>
#include <cstring>
#include <vector>

// Selections of a block of n x n x n elements, copied to or from dense memory. Bytes per second count what is
// selected, once read and once written; a selection with gaps moves more than that, whole cache lines. The
// copies run by run with the iterator show what the nests of loops in zbmemcpy gain. n is 32 for the caches,
// 256 for the memory.

namespace
{

struct Selection {
    const char* name;
    int elementBytes;
    std::array<int, 3> starts;     // in elements
    std::array<int, 3> skips;      // strides in elements
    std::array<int, 3> fractions;  // of the n elements of each axis: n / skip / fraction are selected
    bool isTarget;                 // dense memory is copied into it instead of out of it
};

const Selection selections[] = {
    {"inner box of bytes", 1, {3, 3, 3}, {1, 1, 1}, {2, 2, 2}, false},
    {"narrow box of 8 bytes a row", 1, {3, 3, 3}, {1, 1, 1}, {32, 1, 1}, false},
    {"every 2nd byte", 1, {0, 0, 0}, {2, 1, 1}, {1, 1, 1}, false},
    {"every 2nd float of every 2nd row", 4, {0, 0, 0}, {2, 2, 1}, {1, 1, 1}, false},
    {"1 of 3 bytes", 1, {1, 0, 0}, {3, 1, 1}, {1, 1, 1}, false},
    {"into 1 of 3 bytes", 1, {1, 0, 0}, {3, 1, 1}, {1, 1, 1}, true},
    {"every 4th pixel of 3 bytes", 3, {0, 0, 0}, {4, 1, 1}, {1, 1, 1}, false},
    {"every 5th double", 8, {0, 0, 0}, {5, 1, 1}, {1, 1, 1}, false},
    {"mirrored floats", 4, {-1, 0, 0}, {-1, 1, 1}, {1, 1, 1}, false},
    {"mirrored bytes", 1, {-1, 0, 0}, {-1, 1, 1}, {1, 1, 1}, false},
    {"slice of floats across x", 4, {5, 0, 0}, {1, 1, 1}, {1 << 20, 1, 1}, false},
};

struct Job {
    std::vector<unsigned char> block;
    std::vector<unsigned char> dense;
    ZbBytePattern blockPattern;
    ZbBytePattern densePattern;
    long blockStart;  // bytes

    Job(const Selection& selection, long n) : block(size_t(n * n * n) * size_t(selection.elementBytes), 1)
    {
        long counts[4] = {selection.elementBytes}, strides[4] = {1};
        long stride = selection.elementBytes;
        blockStart = 0;
        for (size_t axis = 0; axis < 3; ++axis, stride *= n) {
            counts[axis + 1] = std::max(1L, n / std::abs(selection.skips[axis]) / selection.fractions[axis]);
            strides[axis + 1] = selection.skips[axis] * stride;
            blockStart += (selection.starts[axis] < 0 ? n - 1 : selection.starts[axis]) * stride;
        }
        blockPattern.init(4, counts, strides);
        densePattern = ZbBytePattern::CreateContigousBlock(blockPattern.byteCount());
        dense.assign(size_t(blockPattern.byteCount()), 2);
    }
};

void copyPlain(void* target, const ZbBytePattern& targetPattern, const void* source,
               const ZbBytePattern& sourcePattern)
{
    ZbBytePattern::Iterator to(targetPattern);
    ZbBytePattern::Iterator from(sourcePattern);
    while (to.more() && from.more()) {
        const long n = std::min(to.contiguous(), from.contiguous());
        std::memcpy(static_cast<char*>(target) + to.offset(),
                    static_cast<const char*>(source) + from.offset(), size_t(n));
        to.forward(n);
        from.forward(n);
    }
}

template <typename Copy>
void copySelection(benchmark::State& state, Copy copy)
{
    const Selection& selection = selections[state.range(0)];
    Job job(selection, state.range(1));
    void* const inBlock = job.block.data() + job.blockStart;
    for (auto _ : state) {
        if (selection.isTarget)
            copy(inBlock, job.blockPattern, job.dense.data(), job.densePattern);
        else
            copy(job.dense.data(), job.densePattern, inBlock, job.blockPattern);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(2 * state.iterations() * int64_t(job.dense.size()));
    state.SetLabel(selection.name);
}

void withZbmemcpy(benchmark::State& state)
{
    copySelection(state, [](auto&&... arguments) { zbmemcpy(arguments...); });
}

void runByRun(benchmark::State& state)
{
    copySelection(state, [](auto&&... arguments) { copyPlain(arguments...); });
}

void denseMemcpy(benchmark::State& state)
{
    const std::vector<char> source(size_t(state.range(0)), 1);
    std::vector<char> target(source.size());
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), source.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(2 * state.iterations() * state.range(0));
}

void denseZbmemcpy(benchmark::State& state)
{
    const std::vector<char> source(size_t(state.range(0)), 1);
    std::vector<char> target(source.size());
    const ZbBytePattern pattern = ZbBytePattern::CreateContigousBlock(state.range(0));
    for (auto _ : state) {
        zbmemcpy(target.data(), pattern, source.data(), pattern);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(2 * state.iterations() * state.range(0));
}

const auto allSelections = benchmark::CreateDenseRange(0, int(std::size(selections)) - 1, 1);

BENCHMARK(denseMemcpy)->Arg(64)->Arg(1 << 15)->Arg(1 << 26);
BENCHMARK(denseZbmemcpy)->Arg(64)->Arg(1 << 15)->Arg(1 << 26);
BENCHMARK(withZbmemcpy)->ArgsProduct({allSelections, {32, 256}});
BENCHMARK(runByRun)->ArgsProduct({allSelections, {32, 256}});

}  // namespace

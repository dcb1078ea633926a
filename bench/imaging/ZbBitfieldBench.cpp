#include <bench/support/ZbStreaming.h>
#include <zblib/imaging/ZbBitfield.h>

#include <algorithm>
#include <random>
#include <vector>

// Bytes per second, read and written ones together, beside those of streams: zbStreamingRead is the limit of
// what counts, searches and compares, zbStreamingCopy that of what writes. Of labels also items per second.

namespace
{

using Policy = ZbBitfield::InsertPolicy;

ZbBitfield randomField(const benchmark::State& state, unsigned int seed)
{
    const auto bytes = (unsigned long)(state.range(0));
    ZbBitfield field(8 * bytes, ZbBitfield::INIT_NONE);
    std::generate_n(field.dataPtr(), bytes / 4, std::mt19937(seed));
    return field;
}

/// 0 and 7 in runs of about 20, like a row of a label field.
std::vector<unsigned char> randomLabels(const benchmark::State& state)
{
    std::mt19937 generator(1);
    std::vector<unsigned char> labels(size_t(state.range(0)));
    for (size_t i = 1; i < labels.size(); ++i)
        labels[i] = generator() % 20 == 0 ? (unsigned char)(7 - labels[i - 1]) : labels[i - 1];
    return labels;
}

/// Times action, which touches streams bytes for each byte of the argument.
template <typename Action>
void measure(benchmark::State& state, double streams, Action action)
{
    for (auto _ : state) {
        action();
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(double(state.iterations() * state.range(0)) * streams));
}

void nSetBits(benchmark::State& state)
{
    const ZbBitfield field = randomField(state, 1);
    measure(state, 1, [&] { benchmark::DoNotOptimize(field.nSetBits()); });
}

void nthSetBit(benchmark::State& state)
{
    const ZbBitfield field = randomField(state, 1);
    measure(state, 1, [&, last = field.nSetBits()] { benchmark::DoNotOptimize(field.nthSetBit(last)); });
}

void firstSetBit(benchmark::State& state)
{
    const ZbBitfield field(8 * (unsigned long)(state.range(0)), ZbBitfield::INIT_UNSET);
    measure(state, 1, [&] { benchmark::DoNotOptimize(field.firstSetBit()); });
}

void equal(benchmark::State& state)
{
    const ZbBitfield a = randomField(state, 1), b = a;
    measure(state, 2, [&] { benchmark::DoNotOptimize(a == b); });
}

void isSuperset(benchmark::State& state)
{
    const ZbBitfield a = randomField(state, 1), b = a;
    measure(state, 2, [&] { benchmark::DoNotOptimize(a.isSuperset(b)); });
}

void toggleAll(benchmark::State& state)
{
    ZbBitfield field = randomField(state, 1);
    measure(state, 2, [&] { field.toggleAll(); });
}

template <ZbBitfield& (ZbBitfield::*combine)(const ZbBitfield&) noexcept>
void combineWith(benchmark::State& state)
{
    ZbBitfield a = randomField(state, 1);
    const ZbBitfield b = randomField(state, 2);
    measure(state, 3, [&] { (a.*combine)(b); });
}

// Removes the first bit and appends one, so that the size stays.
void removeFirstBit(benchmark::State& state)
{
    ZbBitfield field = randomField(state, 1);
    measure(state, 2, [&] {
        field.remove(0);
        field.resize(field.nBits() + 1, ZbBitfield::INIT_NONE);
    });
}

void fromLabels(benchmark::State& state)
{
    const std::vector<unsigned char> labels = randomLabels(state);
    ZbBitfield field;
    measure(state, 9. / 8, [&] { field.fromLabels(labels.size(), labels.data(), 7); });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <Policy policy>
void toLabels(benchmark::State& state)
{
    std::vector<unsigned char> labels = randomLabels(state);
    ZbBitfield field;
    field.fromLabels(labels.size(), labels.data(), 7);
    std::rotate(labels.begin(), labels.begin() + 10, labels.end());
    measure(state, policy == Policy::INSERT_REPLACE ? 9. / 8 : 17. / 8,
            [&] { field.toLabels(labels.size(), labels.data(), 7, policy); });
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// In the first-level cache, in the second, in none.
void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(1 << 14)->Arg(1 << 18)->Arg(1 << 26);
}

BENCHMARK(zbStreamingRead)->Apply(sizes);
BENCHMARK(nSetBits)->Apply(sizes);
BENCHMARK(nthSetBit)->Apply(sizes);
BENCHMARK(firstSetBit)->Apply(sizes);
BENCHMARK(equal)->Apply(sizes);
BENCHMARK(isSuperset)->Apply(sizes);
BENCHMARK(zbStreamingCopy)->Apply(sizes);
BENCHMARK(toggleAll)->Apply(sizes);
BENCHMARK(combineWith < &ZbBitfield::operator&=>)->Name("andWith")->Apply(sizes);
BENCHMARK(combineWith < &ZbBitfield::operator|=>)->Name("orWith")->Apply(sizes);
BENCHMARK(combineWith < &ZbBitfield::operator^=>)->Name("xorWith")->Apply(sizes);
BENCHMARK(removeFirstBit)->Apply(sizes);
BENCHMARK(fromLabels)->Apply(sizes);
BENCHMARK(toLabels<Policy::INSERT_SET>)->Name("toLabelsSet")->Apply(sizes);
BENCHMARK(toLabels<Policy::INSERT_IF_EMPTY>)->Name("toLabelsIfEmpty")->Apply(sizes);
BENCHMARK(toLabels<Policy::INSERT_REPLACE>)->Name("toLabelsReplace")->Apply(sizes);
BENCHMARK(toLabels<Policy::INSERT_OWN>)->Name("toLabelsOwn")->Apply(sizes);

}  // namespace

#include <zblib/imaging/ZbBitfield.h>

#include <QBitArray>

#include <boost/dynamic_bitset.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

// ZbBitfield beside boost::dynamic_bitset and QBitArray, on the same bits: 256 KiB of them stay in the second-level
// cache, 64 MiB in none.

namespace
{

using DynamicBitset = boost::dynamic_bitset<unsigned long>;

template <typename Bits>
Bits randomBits(const benchmark::State& state, unsigned int seed)
{
    std::vector<unsigned int> words(size_t(state.range(0)) / 4);
    std::generate(words.begin(), words.end(), std::mt19937(seed));
    if constexpr (std::is_same_v<Bits, ZbBitfield>) {
        ZbBitfield field(32 * words.size(), ZbBitfield::INIT_NONE);
        std::copy(words.begin(), words.end(), field.dataPtr());
        return field;
    } else if constexpr (std::is_same_v<Bits, DynamicBitset>) {
        DynamicBitset bits;
        bits.reserve(32 * words.size());
        for (size_t i = 0; i < words.size(); i += 2)
            bits.append(words[i] | (unsigned long)(words[i + 1]) << 32);
        return bits;
    } else {
        return QBitArray::fromBits(reinterpret_cast<const char*>(words.data()), 32 * qsizetype(words.size()));
    }
}

unsigned long count(const ZbBitfield& bits)
{
    return bits.nSetBits();
}
unsigned long count(const DynamicBitset& bits)
{
    return bits.count();
}
unsigned long count(const QBitArray& bits)
{
    return (unsigned long)(bits.count(true));
}

void invert(ZbBitfield& bits)
{
    bits.toggleAll();
}
void invert(DynamicBitset& bits)
{
    bits.flip();
}
void invert(QBitArray& bits)
{
    bits = ~bits;
}

bool contains(const ZbBitfield& a, const ZbBitfield& b)
{
    return a.isSuperset(b);
}
bool contains(const DynamicBitset& a, const DynamicBitset& b)
{
    return b.is_subset_of(a);
}

template <typename Bits>
void count(benchmark::State& state)
{
    const Bits bits = randomBits<Bits>(state, 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(count(bits));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <typename Bits>
void andWith(benchmark::State& state)
{
    Bits a = randomBits<Bits>(state, 1);
    const Bits b = randomBits<Bits>(state, 2);
    for (auto _ : state) {
        a &= b;
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(3 * state.iterations() * state.range(0));
}

template <typename Bits>
void invert(benchmark::State& state)
{
    Bits bits = randomBits<Bits>(state, 1);
    for (auto _ : state) {
        invert(bits);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(2 * state.iterations() * state.range(0));
}

template <typename Bits>
void contains(benchmark::State& state)
{
    const Bits a = randomBits<Bits>(state, 1), b = a;
    for (auto _ : state)
        benchmark::DoNotOptimize(contains(a, b));
    state.SetBytesProcessed(2 * state.iterations() * state.range(0));
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(1 << 18)->Arg(1 << 26);
}

BENCHMARK(count<ZbBitfield>)->Apply(sizes);
BENCHMARK(count<DynamicBitset>)->Apply(sizes);
BENCHMARK(count<QBitArray>)->Apply(sizes);
BENCHMARK(andWith<ZbBitfield>)->Apply(sizes);
BENCHMARK(andWith<DynamicBitset>)->Apply(sizes);
BENCHMARK(andWith<QBitArray>)->Apply(sizes);
BENCHMARK(invert<ZbBitfield>)->Apply(sizes);
BENCHMARK(invert<DynamicBitset>)->Apply(sizes);
BENCHMARK(invert<QBitArray>)->Apply(sizes);
BENCHMARK(contains<ZbBitfield>)->Apply(sizes);
BENCHMARK(contains<DynamicBitset>)->Apply(sizes);

}  // namespace

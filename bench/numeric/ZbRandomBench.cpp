#include <zblib/numeric/ZbRandom.h>

#include <benchmark/benchmark.h>

#include <random>

// Beside the standard library's parts of the same kind: a shuffled minimal standard engine, and normal numbers from it.

namespace
{

using ShuffledEngine = std::shuffle_order_engine<std::minstd_rand0, 32>;

template <typename Source, typename Draw>
void draw(benchmark::State& state, Source source, Draw next)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(next(source));
    state.SetItemsProcessed(state.iterations());
}

void uniform(benchmark::State& state)
{
    draw(state, ZbRandom(1), [](ZbRandom& random) { return random.nextUniform(); });
}
BENCHMARK(uniform)->Name("ZbRandom uniform");

void stdUniform(benchmark::State& state)
{
    draw(state, ShuffledEngine(1),
         [](ShuffledEngine& engine) { return std::generate_canonical<double, 31>(engine); });
}
BENCHMARK(stdUniform)->Name("std::shuffle_order_engine uniform");

void stdInteger(benchmark::State& state)
{
    draw(state, ShuffledEngine(1), [](ShuffledEngine& engine) { return engine(); });
}
BENCHMARK(stdInteger)->Name("std::shuffle_order_engine integer");

void normal(benchmark::State& state)
{
    draw(state, ZbRandom(1), [](ZbRandom& random) { return random.nextNormalDistributedNumber(); });
}
BENCHMARK(normal)->Name("ZbRandom normal");

void stdNormal(benchmark::State& state)
{
    draw(state, ShuffledEngine(1),
         [distribution = std::normal_distribution<double>()](ShuffledEngine& engine) mutable {
             return distribution(engine);
         });
}
BENCHMARK(stdNormal)->Name("std::normal_distribution");

}  // namespace

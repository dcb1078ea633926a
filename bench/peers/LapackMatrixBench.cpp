#include "bench/peers/Lapack.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

// The counterparts of ZbDMatrixBench in LAPACK on one thread; copies of what is overwritten are part of the time.

namespace
{

std::vector<float> randomElements(size_t count)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> element(-1, 1);
    std::vector<float> elements(count);
    std::generate(elements.begin(), elements.end(), [&] { return element(generator); });
    return elements;
}

void solve(benchmark::State& state)
{
    ZbBench::useOneThread();
    const int n = int(state.range(0)), one = 1;
    const auto matrix = randomElements(size_t(n) * size_t(n)), side = randomElements(size_t(n));
    std::vector<int> pivots(static_cast<size_t>(n));
    int info = 0;
    for (auto _ : state) {
        auto factors = matrix, solution = side;
        sgesv_(&n, &one, factors.data(), &n, pivots.data(), solution.data(), &n, &info);
        benchmark::DoNotOptimize(solution[0]);
    }
}
BENCHMARK(solve)->Name("LAPACK sgesv")->Arg(100)->Arg(500)->Arg(1000)->Unit(benchmark::kMicrosecond);

template <ZbBench::SvdMethod method>
void singularValues(benchmark::State& state)
{
    ZbBench::useOneThread();
    const int m = int(state.range(0)), n = int(state.range(1));
    const auto matrix = randomElements(size_t(m) * size_t(n));
    std::vector<float> s, u, vt;
    for (auto _ : state) {
        auto a = matrix;
        ZbBench::svd(method, m, n, a, s, u, vt);
        benchmark::DoNotOptimize(s[0]);
    }
}
BENCHMARK(singularValues<ZbBench::SvdMethod::QrSteps>)
    ->Name("LAPACK sgesvd")
    ->Args({200, 200})
    ->Args({500, 100})
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(singularValues<ZbBench::SvdMethod::DivideAndConquer>)
    ->Name("LAPACK sgesdd")
    ->Args({200, 200})
    ->Args({500, 100})
    ->Unit(benchmark::kMicrosecond);

// Items are rows.
void band(benchmark::State& state)
{
    ZbBench::useOneThread();
    constexpr int n = 1000000, below = 2, above = 2, height = 2 * below + above + 1, one = 1;
    const auto matrix = randomElements(size_t(n) * height);
    std::vector<int> pivots(n);
    int info = 0;
    for (auto _ : state) {
        auto factors = matrix;
        std::vector<float> solution(n, 1.f);
        sgbsv_(&n, &below, &above, &one, factors.data(), &height, pivots.data(), solution.data(), &n, &info);
        benchmark::DoNotOptimize(solution[0]);
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(band)->Name("LAPACK sgbsv 2 + 2")->Unit(benchmark::kMillisecond);

}  // namespace

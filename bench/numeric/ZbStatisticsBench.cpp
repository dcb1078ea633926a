#include <zblib/numeric/ZbStatistics.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

// Items are elements. The order of additions is fixed, so the latency of one addition is the limit of a single sum: a loop
// of nothing else stands beside.

namespace
{

template <typename T, typename Function>
void onArrays(benchmark::State& state, Function function)
{
    std::mt19937 generator(1);
    std::normal_distribution<T> element;
    std::vector<T> x(10000), y(10000);
    for (size_t i = 0; i < x.size(); ++i) {
        x[i] = element(generator);
        y[i] = x[i] + element(generator);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(function(x.data(), y.data(), long(x.size())));
    state.SetItemsProcessed(state.iterations() * int64_t(x.size()));
}

template <typename T>
void chain(benchmark::State& state)
{
    onArrays<T>(state, [](const T* x, const T*, long n) {
        T sum = 0;
        for (long i = n - 1; i >= 0; --i)
            sum += x[i];
        return sum;
    });
}
BENCHMARK(chain<float>)->Name("additions in one order float");
BENCHMARK(chain<double>)->Name("additions in one order double");

template <typename T>
void mean(benchmark::State& state)
{
    onArrays<T>(state, [](const T* x, const T*, long n) { return ZbStatistics::computeMean(x, n); });
}
BENCHMARK(mean<float>)->Name("ZbStatistics computeMean float");
BENCHMARK(mean<double>)->Name("ZbStatistics computeMean double");

template <typename T>
void variance(benchmark::State& state)
{
    onArrays<T>(state, [](const T* x, const T*, long n) { return ZbStatistics::computeVariance(x, n); });
}
BENCHMARK(variance<float>)->Name("ZbStatistics computeVariance float");
BENCHMARK(variance<double>)->Name("ZbStatistics computeVariance double");

template <typename T>
void correlation(benchmark::State& state)
{
    onArrays<T>(state,
                [](const T* x, const T* y, long n) { return ZbStatistics::computeCorrelation(x, y, n); });
}
BENCHMARK(correlation<float>)->Name("ZbStatistics computeCorrelation float");
BENCHMARK(correlation<double>)->Name("ZbStatistics computeCorrelation double");

}  // namespace

#include <gsl/gsl_statistics_double.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

// The counterparts of ZbStatisticsBench in GSL.

namespace
{

template <typename Function>
void onArrays(benchmark::State& state, Function function)
{
    std::mt19937 generator(1);
    std::normal_distribution<double> element;
    std::vector<double> x(10000), y(10000);
    for (size_t i = 0; i < x.size(); ++i) {
        x[i] = element(generator);
        y[i] = x[i] + element(generator);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(function(x.data(), y.data(), x.size()));
    state.SetItemsProcessed(state.iterations() * int64_t(x.size()));
}

void mean(benchmark::State& state)
{
    onArrays(state, [](const double* x, const double*, size_t n) { return gsl_stats_mean(x, 1, n); });
}
BENCHMARK(mean)->Name("GSL mean double");

void variance(benchmark::State& state)
{
    onArrays(state, [](const double* x, const double*, size_t n) { return gsl_stats_variance(x, 1, n); });
}
BENCHMARK(variance)->Name("GSL variance double");

void correlation(benchmark::State& state)
{
    onArrays(state,
             [](const double* x, const double* y, size_t n) { return gsl_stats_correlation(x, 1, y, 1, n); });
}
BENCHMARK(correlation)->Name("GSL correlation double");

}  // namespace

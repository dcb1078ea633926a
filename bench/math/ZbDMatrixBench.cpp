#include <zblib/math/ZbBandMatrix.h>
#include <zblib/math/ZbDMatrix.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

namespace
{

ZbDMatrix<float> randomMatrix(int n, int m)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> element(-1, 1);
    ZbDMatrix<float> matrix(n, m);
    std::generate(matrix.row(0), matrix.row(0) + long(n) * m, [&] { return element(generator); });
    return matrix;
}

// One right side, refinement included.
void solve(benchmark::State& state)
{
    const int n = int(state.range(0));
    const ZbDMatrix<float> matrix = randomMatrix(n, n), side = randomMatrix(1, n);
    ZbDMatrix<float> factors(n, n), solution = side;
    std::vector<float*> rows;
    for (int i = 0; i < n; ++i)
        rows.push_back(factors.row(i));
    float* right[] = {solution.row(0)};
    for (auto _ : state) {
        float det;
        std::copy(side.row(0), side.row(0) + n, solution.row(0));
        benchmark::DoNotOptimize(matrix.solveLRdecomp(rows.data(), right, 1, det));
    }
}
BENCHMARK(solve)
    ->Name("ZbDMatrix solveLRdecomp")
    ->Arg(100)
    ->Arg(500)
    ->Arg(1000)
    ->Unit(benchmark::kMicrosecond);

void singularValues(benchmark::State& state)
{
    const ZbDMatrix<float> matrix = randomMatrix(int(state.range(0)), int(state.range(1)));
    for (auto _ : state) {
        ZbDMatrix<float> u, v;
        ZbDVector<float> w;
        benchmark::DoNotOptimize(matrix.SVD(u, w, v));
    }
}
BENCHMARK(singularValues)
    ->Name("ZbDMatrix SVD")
    ->Args({200, 200})
    ->Args({500, 100})
    ->Unit(benchmark::kMicrosecond);

// Items are rows. The factors replace the matrix, so a copy is part of the time.
void band(benchmark::State& state)
{
    constexpr int n = 1000000;
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> element(-1, 1);
    ZbBandMatrix<float> matrix(n, 2, 2);
    ZbDArray<float> row(5);
    for (int i = 0; i < n; ++i) {
        std::generate(row.begin(), row.end(), [&] { return element(generator); });
        matrix.setRow(i, row);
    }
    ZbDVector<float> right(n), x;
    right.fill(1);
    for (auto _ : state) {
        ZbBandMatrix<float> factors = matrix;
        factors.decompose();
        factors.solve(right, x);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(band)->Name("ZbBandMatrix 2 + 2")->Unit(benchmark::kMillisecond);

}  // namespace

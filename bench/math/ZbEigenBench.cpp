#include <zblib/math/ZbMat3f.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

// Eigenvalues and eigenvectors of 1024 random 3 x 3 matrices.

namespace
{

std::vector<ZbMat3f> randomMatrices(bool areSymmetric)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> element(-1, 1);
    std::vector<ZbMat3f> matrices(1024);
    for (ZbMat3f& m : matrices) {
        for (int i = 0; i < 9; ++i)
            m[i / 3][i % 3] = element(generator);
        if (areSymmetric)
            m += ZbMat3f(m).transpose();
    }
    return matrices;
}

void jacobi(benchmark::State& state)
{
    const std::vector<ZbMat3f> matrices = randomMatrices(true);
    for (auto _ : state) {
        for (const ZbMat3f& m : matrices) {
            float values[3];
            ZbVec3f vectors[3];
            int rotations;
            m.jacobi(values, vectors, rotations);
            benchmark::DoNotOptimize(vectors);
        }
    }
    state.SetItemsProcessed(state.iterations() * 1024);
}
BENCHMARK(jacobi)->Name("ZbMat3f jacobi");

void closedForm(benchmark::State& state)
{
    const std::vector<ZbMat3f> matrices = randomMatrices(state.range(0) != 0);
    for (auto _ : state) {
        for (const ZbMat3f& m : matrices) {
            float values[3];
            ZbVec3f vectors[3];
            benchmark::DoNotOptimize(m.solveEigenSystem(values, vectors));
            benchmark::DoNotOptimize(vectors);
        }
    }
    state.SetItemsProcessed(state.iterations() * 1024);
}
BENCHMARK(closedForm)->Name("ZbMat3f solveEigenSystem")->ArgName("symmetric")->Arg(0)->Arg(1);

}  // namespace

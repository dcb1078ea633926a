#include <zblib/math/ZbMat4f.h>
#include <zblib/math/ZbRotf.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

// Operations on 1024 values each, which stay in the cache; arrays of 10^6 points beside a copy of the same bytes.

namespace
{

constexpr size_t valueCount = 1024;

ZbMat4f randomMatrix(std::mt19937& generator, bool isAffine)
{
    std::uniform_real_distribution<float> element(-1, 1);
    ZbMat4f m;
    for (int i = 0; i < 4; ++i)
        std::generate(m[i], m[i] + 4, [&] { return element(generator); });
    if (isAffine) {
        for (int i = 0; i < 4; ++i)
            m[i][3] = i == 3 ? 1.f : 0.f;
    }
    return m;
}

std::vector<ZbMat4f> randomMatrices(bool isAffine = false)
{
    std::mt19937 generator(1);
    std::vector<ZbMat4f> matrices(valueCount);
    std::generate(matrices.begin(), matrices.end(), [&] { return randomMatrix(generator, isAffine); });
    return matrices;
}

std::vector<ZbRotf> randomRotations()
{
    std::mt19937 generator(2);
    std::uniform_real_distribution<float> element(-1, 1);
    std::vector<ZbRotf> rotations(valueCount);
    for (ZbRotf& r : rotations) {
        r.setValue(element(generator), element(generator), element(generator), element(generator));
        r.normalize();
    }
    return rotations;
}

template <typename Value, typename Function>
void each(benchmark::State& state, const std::vector<Value>& values, Function function)
{
    std::vector<decltype(function(values[0], values[0]))> results(values.size());
    for (auto _ : state) {
        for (size_t i = 0; i + 1 < values.size(); ++i)
            results[i] = function(values[i], values[i + 1]);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(values.size() - 1));
}

void product(benchmark::State& state)
{
    each(state, randomMatrices(), [](const ZbMat4f& a, const ZbMat4f& b) { return a * b; });
}
BENCHMARK(product)->Name("ZbMat4f product");

void inverse(benchmark::State& state)
{
    each(state, randomMatrices(state.range(0) != 0),
         [](const ZbMat4f& a, const ZbMat4f&) { return a.inverse(); });
}
BENCHMARK(inverse)->Name("ZbMat4f inverse")->ArgName("affine")->Arg(0)->Arg(1);

void decompose(benchmark::State& state)
{
    each(state, randomMatrices(true), [](const ZbMat4f& a, const ZbMat4f&) {
        ZbVec3f t, s;
        ZbRotf r, so;
        a.getTransform(t, r, s, so);
        return r;
    });
}
BENCHMARK(decompose)->Name("ZbMat4f getTransform");

void rotationProduct(benchmark::State& state)
{
    each(state, randomRotations(), [](const ZbRotf& a, const ZbRotf& b) { return a * b; });
}
BENCHMARK(rotationProduct)->Name("ZbRotf product");

void slerp(benchmark::State& state)
{
    each(state, randomRotations(),
         [](const ZbRotf& a, const ZbRotf& b) { return ZbRotf::slerp(a, b, 0.3f); });
}
BENCHMARK(slerp)->Name("ZbRotf slerp");

void rotationMatrix(benchmark::State& state)
{
    each(state, randomRotations(), [](const ZbRotf& a, const ZbRotf&) {
        ZbMat3f m;
        a.getValue(m);
        return m;
    });
}
BENCHMARK(rotationMatrix)->Name("ZbRotf to matrix");

void rotateVector(benchmark::State& state)
{
    each(state, randomRotations(), [](const ZbRotf& a, const ZbRotf& b) {
        ZbVec3f v(b.getValue());
        a.multVec(v, v);
        return v;
    });
}
BENCHMARK(rotateVector)->Name("ZbRotf vector");

enum Points { Copy, One, Many, Directions };

template <Points form>
void points(benchmark::State& state)
{
    const size_t count = size_t(state.range(0));
    const std::vector<ZbVec3f> source(count, ZbVec3f(1, 2, 3));
    std::vector<ZbVec3f> target(count);
    const ZbMat4f m = randomMatrices()[0];
    for (auto _ : state) {
        if constexpr (form == Copy) {
            std::memcpy(static_cast<void*>(target.data()), source.data(), count * sizeof source[0]);
        } else if constexpr (form == One) {
            for (size_t i = 0; i < count; ++i)
                m.multVecMatrix(source[i], target[i]);
        } else if constexpr (form == Many) {
            m.multVecMatrix(source.data(), target.data(), long(count));
        } else {
            m.multDirMatrix(source.data(), target.data(), long(count));
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(count));
}
BENCHMARK(points<Copy>)->Name("points copied")->Arg(1000)->Arg(1000000);
BENCHMARK(points<One>)->Name("points one by one")->Arg(1000)->Arg(1000000);
BENCHMARK(points<Many>)->Name("points as an array")->Arg(1000)->Arg(1000000);
BENCHMARK(points<Directions>)->Name("directions as an array")->Arg(1000)->Arg(1000000);

}  // namespace

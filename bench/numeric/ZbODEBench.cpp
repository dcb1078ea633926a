#include <zblib/math/ZbVec2d.h>
#include <zblib/numeric/ZbODE.h>

#include <benchmark/benchmark.h>

namespace
{

// Items are steps, rejected ones included, on a field of two dimensions, not normalised, with tolerance 1e-5; or samples
// between the steps.
bool vanDerPol(const ZbVec2d& x, ZbVec2d& dx, void*)
{
    dx = ZbVec2d(x.y, (1 - x.x * x.x) * x.y - x.x);
    return false;
}

bool countedVanDerPol(const ZbVec2d& x, ZbVec2d& dx, void* evaluations)
{
    ++*static_cast<long*>(evaluations);
    return vanDerPol(x, dx, nullptr);
}

double run(int method, ZbODE<ZbVec2d>::RightHandSide field, long& evaluations)
{
    ZbODE<ZbVec2d> ode;
    ode.setRightHandSide(field, &evaluations);
    ode.setNormalization(0);
    ode.setMethod(method);
    ode.setTolerance(1e-5f);
    ode.setHMinMax(0, 10);
    ode.setHSampling(100);
    ode.init(ZbVec2d(2, 0), 0);
    ZbVec2d x;
    ode.next(x, 0);
    return x.x;
}

void steps(benchmark::State& state)
{
    const int method = int(state.range(0));
    const int evaluationsOfStep[] = {2, 3, 4, 6, 6};  // with that at its end
    long evaluations = 0;
    run(method, countedVanDerPol, evaluations);
    for (auto _ : state)
        benchmark::DoNotOptimize(run(method, vanDerPol, evaluations));
    state.SetItemsProcessed(state.iterations() * (evaluations / evaluationsOfStep[method]));
}
BENCHMARK(steps)->Name("ZbODE step")->ArgName("method")->DenseRange(0, 4);

void samples(benchmark::State& state)
{
    ZbODE<ZbVec2d> ode;
    ode.setHMinMax(0.1f, 1);
    ode.setHSampling(1e-4f);
    ode.init(ZbVec2d(1, 0), 1);
    ZbVec2d x;
    for (auto _ : state)
        benchmark::DoNotOptimize(ode.next(x, 0));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(samples)->Name("ZbODE sample");

}  // namespace

#include <boost/numeric/odeint.hpp>

#include <benchmark/benchmark.h>

#include <array>

// The field, tolerance and length of ZbODEBench with the controlled steppers of Boost.odeint.

namespace
{

namespace odeint = boost::numeric::odeint;
using State = std::array<double, 2>;

template <typename Stepper>
void steps(benchmark::State& state)
{
    long count = 0;
    for (auto _ : state) {
        State x = {2, 0};
        const auto field = [](const State& at, State& derivative, double) {
            derivative = {at[1], (1 - at[0] * at[0]) * at[1] - at[0]};
        };
        count += long(odeint::integrate_adaptive(odeint::make_controlled(1e-5, 0.0, Stepper()), field, x, 0.0,
                                                 100.0, 0.05));
        benchmark::DoNotOptimize(x);
    }
    state.SetItemsProcessed(count);
}
BENCHMARK(steps<odeint::runge_kutta_cash_karp54<State>>)->Name("odeint Cash-Karp");
BENCHMARK(steps<odeint::runge_kutta_dopri5<State>>)->Name("odeint Dormand-Prince");

}  // namespace

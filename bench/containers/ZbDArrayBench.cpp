#include <zblib/containers/ZbDArray.h>

#include <benchmark/benchmark.h>

#include <QString>

#include <vector>

namespace
{

template <typename T>
T makeItem(int i)
{
    if constexpr (std::is_same_v<T, QString>)
        return QString(8, QChar('a' + i % 26));
    else
        return T(i);
}

template <typename T>
void appendToZbDArray(benchmark::State& state)
{
    const int n = int(state.range(0));
    const T item = makeItem<T>(1);
    for (auto _ : state) {
        ZbDArray<T> array;
        for (int i = 0; i < n; ++i) {
            if constexpr (std::is_same_v<T, int>)
                array.append(i);
            else
                array.append(item);
        }
        benchmark::DoNotOptimize(array.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

template <typename T>
void appendToStdVector(benchmark::State& state)
{
    const int n = int(state.range(0));
    const T item = makeItem<T>(1);
    for (auto _ : state) {
        std::vector<T> array;
        for (int i = 0; i < n; ++i) {
            if constexpr (std::is_same_v<T, int>)
                array.push_back(i);
            else
                array.push_back(item);
        }
        benchmark::DoNotOptimize(array.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}

}  // namespace

// In L1, and far beyond the caches, where first touch and copies between blocks decide.
BENCHMARK(appendToZbDArray<int>)->Arg(1000)->Arg(10000000);
BENCHMARK(appendToStdVector<int>)->Arg(1000)->Arg(10000000);
// Elements that std::vector moves one by one.
BENCHMARK(appendToZbDArray<QString>)->Arg(1000)->Arg(1000000);
BENCHMARK(appendToStdVector<QString>)->Arg(1000)->Arg(1000000);

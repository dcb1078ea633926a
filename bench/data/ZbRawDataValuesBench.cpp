#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbHistogram.h>
#include <zblib/data/ZbRawData.h>

#include <algorithm>
#include <limits>
#include <omp.h>
#include <random>
#include <type_traits>
#include <vector>

// Ranges, histograms and conversions of raw data in memory: 2^26 bytes of values, or the conversion of 2^24
// values. The argument is the number of threads. Bytes per second are those read and written; items are values.

namespace
{

constexpr size_t blockBytes = size_t(1) << 26;
constexpr size_t conversionCount = size_t(1) << 24;

// Noise around the middle of the range of a type, as in an image; it repeats itself after a prime number of values.
template <typename T>
std::vector<T> image(size_t count)
{
    const double top = std::is_floating_point_v<T> ? 1.0 : double(std::numeric_limits<T>::max());
    std::mt19937 generator(1);
    std::normal_distribution<double> noise(0.5 * top, 0.1 * top);
    std::vector<T> values(count);
    for (size_t i = 0; i < count; ++i)
        values[i] = i < 65521 ? T(std::clamp(noise(generator), 0.0, top)) : values[i - 65521];
    return values;
}

template <typename Run>
void measure(benchmark::State& state, size_t values, size_t bytes, Run run)
{
    omp_set_num_threads(int(state.range(0)));
    for (auto _ : state) {
        run();
        benchmark::ClobberMemory();
    }
    omp_set_num_threads(omp_get_num_procs());
    state.SetItemsProcessed(state.iterations() * int64_t(values));
    state.SetBytesProcessed(state.iterations() * int64_t(bytes));
}

template <typename T>
void getRange(benchmark::State& state)
{
    const std::vector<T> values = image<T>(blockBytes / sizeof(T));
    const ZbTypedPointer data(const_cast<T*>(values.data()));
    float low, high;
    measure(state, values.size(), blockBytes,
            [&] { ZbRawData::getRange(data, values.size(), low, high, false, 0.0); });
}

template <typename T, int bins>
void getHistogram(benchmark::State& state)
{
    const std::vector<T> values = image<T>(blockBytes / sizeof(T));
    const ZbTypedPointer data(const_cast<T*>(values.data()));
    ZbHistogram histogram(0.0, std::is_floating_point_v<T> ? 1.0 : double(std::numeric_limits<T>::max()),
                          bins);
    measure(state, values.size(), blockBytes,
            [&] { ZbRawData::getHistogram(data, values.size(), histogram, false, 0.0); });
}

// What a loop in four tables does, with the same division.
void fourTables(benchmark::State& state)
{
    const std::vector<float> values = image<float>(blockBytes / sizeof(float));
    std::vector<unsigned> tables(4 * 256);
    const double min = 0, width = 1.0 / 256;
    measure(state, values.size(), blockBytes, [&] {
        for (size_t i = 0; i < values.size(); ++i) {
            const double bin = (double(values[i]) - min) / width;
            ++tables[i % 4 * 256 + size_t(bin < 0 ? 0 : bin > 255 ? 255 : int(bin))];
        }
    });
}

template <typename To, typename From>
void mapLinear(benchmark::State& state)
{
    const std::vector<From> source = image<From>(conversionCount);
    std::vector<To> target(conversionCount);
    measure(state, conversionCount, conversionCount * (sizeof(From) + sizeof(To)), [&] {
        ZbRawData::mapLinear(ZbTypedPointer(target.data()), ZbTypedPointer(const_cast<From*>(source.data())),
                             conversionCount, 0.01, std::is_same_v<From, float> ? 240.3 : 1.1);
    });
}

BENCHMARK(zbStreamingRead)->Arg(blockBytes);
BENCHMARK(getRange<unsigned char>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(getRange<float>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(getRange<double>)->Arg(1)->UseRealTime();
BENCHMARK(getHistogram<unsigned char, 256>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(getHistogram<unsigned short, 65536>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(getHistogram<float, 256>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(getHistogram<float, 65536>)->Arg(1)->UseRealTime();
BENCHMARK(getHistogram<double, 256>)->Arg(1)->UseRealTime();
BENCHMARK(getHistogram<int, 256>)->Arg(1)->UseRealTime();
BENCHMARK(fourTables)->Arg(1)->UseRealTime();
BENCHMARK(zbStreamingCopy)->Arg(blockBytes);
BENCHMARK(mapLinear<unsigned char, float>)->Arg(1)->UseRealTime();
BENCHMARK(mapLinear<float, short>)->Arg(1)->UseRealTime();
BENCHMARK(mapLinear<float, unsigned char>)->Arg(1)->UseRealTime();
BENCHMARK(mapLinear<unsigned char, unsigned short>)->Arg(1)->UseRealTime();

}  // namespace

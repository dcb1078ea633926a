#include <zblib/data/ZbHistogram.h>
#include <zblib/data/ZbRawData.h>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <limits>
#include <omp.h>
#include <type_traits>
#include <vector>

// Extremes, histograms and conversions of images of 4096 x 4096 pixels, one thread, each beside the function of
// OpenCV for the job. Items are pixels. OpenCV rounds where mapLinear truncates.

namespace
{

constexpr int size = 4096;
constexpr size_t pixels = size_t(size) * size;

template <typename T>
constexpr int matType = CV_MAKETYPE(cv::DataType<T>::depth, 1);

template <typename T>
constexpr double top = std::is_floating_point_v<T> ? 1.0 : double(std::numeric_limits<T>::max());

template <typename T>
cv::Mat noise()
{
    cv::setNumThreads(1);
    omp_set_num_threads(1);
    cv::Mat image(size, size, matType<T>);
    cv::theRNG().state = 1;
    cv::randn(image, 0.5 * top<T>, 0.1 * top<T>);
    return image;
}

template <typename Run>
void measure(benchmark::State& state, Run run)
{
    for (auto _ : state) {
        run();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * int64_t(pixels));
}

template <typename T>
void rangeZb(benchmark::State& state)
{
    cv::Mat image = noise<T>();
    float low, high;
    measure(state, [&] { ZbRawData::getRange(ZbTypedPointer(image.ptr<T>()), pixels, low, high); });
}

template <typename T>
void rangeOpenCv(benchmark::State& state)
{
    const cv::Mat image = noise<T>();
    double low, high;
    measure(state, [&] { cv::minMaxLoc(image, &low, &high); });
}

template <typename T, int bins>
void histogramZb(benchmark::State& state)
{
    cv::Mat image = noise<T>();
    ZbHistogram histogram(0.0, top<T>, bins);
    measure(state, [&] { ZbRawData::getHistogram(ZbTypedPointer(image.ptr<T>()), pixels, histogram); });
}

template <typename T, int bins>
void histogramOpenCv(benchmark::State& state)
{
    const cv::Mat image = noise<T>();
    const int channel = 0;
    const int binCount = bins;
    const float limits[] = {0, float(top<T>) + (std::is_integral_v<T> ? 1.0F : 0.0F)};
    const float* ranges = limits;
    cv::Mat counts;
    measure(state, [&] { cv::calcHist(&image, 1, &channel, cv::Mat(), counts, 1, &binCount, &ranges); });
}

template <typename To, typename From>
void convertZb(benchmark::State& state)
{
    cv::Mat source = noise<From>();
    std::vector<To> target(pixels);
    measure(state, [&] {
        ZbRawData::mapLinear(ZbTypedPointer(target.data()), ZbTypedPointer(source.ptr<From>()), pixels, 0.01,
                             std::is_same_v<From, float> ? 240.3 : 1.1);
    });
}

template <typename To, typename From>
void convertOpenCv(benchmark::State& state)
{
    const cv::Mat source = noise<From>();
    cv::Mat target(size, size, matType<To>);
    measure(state,
            [&] { source.convertTo(target, matType<To>, std::is_same_v<From, float> ? 240.3 : 1.1, 0.01); });
}

BENCHMARK(rangeZb<uchar>);
BENCHMARK(rangeOpenCv<uchar>);
BENCHMARK(rangeZb<float>);
BENCHMARK(rangeOpenCv<float>);
BENCHMARK(histogramZb<uchar, 256>);
BENCHMARK(histogramOpenCv<uchar, 256>);
BENCHMARK(histogramZb<ushort, 65536>);
BENCHMARK(histogramOpenCv<ushort, 65536>);
BENCHMARK(histogramZb<float, 256>);
BENCHMARK(histogramOpenCv<float, 256>);
BENCHMARK(convertZb<uchar, float>);
BENCHMARK(convertOpenCv<uchar, float>);
BENCHMARK(convertZb<float, short>);
BENCHMARK(convertOpenCv<float, short>);

}  // namespace

#include <bench/support/ZbStreaming.h>
#include <zblib/data/ZbMemcpy.h>
#include <zblib/data/ZbMemorySelection.h>

#include <opencv2/core.hpp>

#include <vector>

// Copies of selections and linear mappings of images of 4096 x 4096 pixels, one thread, each beside the
// function of OpenCV for the job. Items are the pixels, or values, that are copied. OpenCV rounds where
// zbmapLinear truncates.

namespace
{

constexpr int size = 4096;

void selectOneThread()
{
    cv::setNumThreads(1);
}

cv::Mat image(int type)
{
    selectOneThread();
    return cv::Mat(size, size, type, cv::Scalar::all(100));
}

template <typename Run>
void measure(benchmark::State& state, int64_t items, Run run)
{
    for (auto _ : state) {
        run();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * items);
}

// What a selection of an image holds, copied to dense memory.
void copyOut(benchmark::State& state, const ZbDataPointer& pixels, const ZbDataSpace& space)
{
    const ZbMemorySelection selection(pixels, space);
    std::vector<char> target(size_t(selection.selectionElemCount() * selection.elementSize()));
    measure(state, selection.selectionElemCount(),
            [&] { selection.get(0, selection.selectionElemCount(), target.data()); });
}

template <int width>
void cropZb(benchmark::State& state)
{
    const cv::Mat source = image(CV_8UC1);
    ZbDataSpace space(size, size);
    space.setSelection(0, 5, width, 1);
    copyOut(state, ZbDataPointer(source.data), space);
}

template <int width>
void cropOpenCv(benchmark::State& state)
{
    const cv::Mat source = image(CV_8UC1);
    cv::Mat target(size, width, CV_8UC1);
    measure(state, int64_t(size) * width, [&] { source(cv::Rect(5, 0, width, size)).copyTo(target); });
}

template <typename T, int components>
void componentZb(benchmark::State& state)
{
    const cv::Mat source = image(CV_MAKETYPE(cv::DataType<T>::depth, components));
    ZbDataSpace space(size * components, size);
    space.setSelection(0, 1, size, components);
    copyOut(state, ZbDataPointer(source.ptr<T>()), space);
}

template <typename T, int components>
void componentOpenCv(benchmark::State& state)
{
    const cv::Mat source = image(CV_MAKETYPE(cv::DataType<T>::depth, components));
    cv::Mat target(size, size, CV_MAKETYPE(cv::DataType<T>::depth, 1));
    measure(state, int64_t(size) * size, [&] { cv::extractChannel(source, target, 1); });
}

template <typename T>
void mirrorZb(benchmark::State& state)
{
    const cv::Mat source = image(CV_MAKETYPE(cv::DataType<T>::depth, 1));
    ZbDataSpace space(size, size);
    space.setSelection(0, size - 1, size, -1);
    copyOut(state, ZbDataPointer(source.ptr<T>()), space);
}

template <typename T>
void mirrorOpenCv(benchmark::State& state)
{
    const cv::Mat source = image(CV_MAKETYPE(cv::DataType<T>::depth, 1));
    cv::Mat target(size, size, source.type());
    measure(state, int64_t(size) * size, [&] { cv::flip(source, target, 1); });
}

template <typename Target, typename Source>
void mapZb(benchmark::State& state)
{
    const cv::Mat source = image(CV_MAKETYPE(cv::DataType<Source>::depth, 1));
    std::vector<Target> target(size_t(size) * size);
    const ZbBytePattern out = ZbBytePattern::CreateContigousBlock(long(target.size() * sizeof(Target)));
    const ZbBytePattern in = ZbBytePattern::CreateContigousBlock(long(target.size() * sizeof(Source)));
    measure(state, int64_t(target.size()), [&] {
        zbmapLinear(ZbDataPointer(target.data()), out, ZbDataPointer(source.ptr<Source>()), in, 0.5, 1.1);
    });
}

template <typename Target, typename Source>
void mapOpenCv(benchmark::State& state)
{
    const cv::Mat source = image(CV_MAKETYPE(cv::DataType<Source>::depth, 1));
    cv::Mat target(size, size, CV_MAKETYPE(cv::DataType<Target>::depth, 1));
    measure(state, int64_t(size) * size, [&] { source.convertTo(target, target.type(), 1.1, 0.55); });
}

BENCHMARK(cropZb<2048>);
BENCHMARK(cropOpenCv<2048>);
BENCHMARK(cropZb<8>);
BENCHMARK(cropOpenCv<8>);
BENCHMARK(componentZb<uchar, 3>);
BENCHMARK(componentOpenCv<uchar, 3>);
BENCHMARK(componentZb<float, 2>);
BENCHMARK(componentOpenCv<float, 2>);
BENCHMARK(mirrorZb<uchar>);
BENCHMARK(mirrorOpenCv<uchar>);
BENCHMARK(mirrorZb<float>);
BENCHMARK(mirrorOpenCv<float>);
BENCHMARK(mapZb<uchar, float>);
BENCHMARK(mapOpenCv<uchar, float>);
BENCHMARK(mapZb<float, short>);
BENCHMARK(mapOpenCv<float, short>);
BENCHMARK(mapZb<uchar, short>);
BENCHMARK(mapOpenCv<uchar, short>);

}  // namespace

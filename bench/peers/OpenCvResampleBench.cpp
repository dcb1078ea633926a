#include <bench/support/ZbStreaming.h>
#include <zblib/containers/ZbString.h>
#include <zblib/data/ZbTypedData3D.h>
#include <zblib/imaging/ZbResampler.h>

#include <opencv2/imgproc.hpp>

#include <numeric>
#include <vector>

// Resampling of 256^3 floats, all threads. OpenCV resizes images: first the slices, then, along z, the slices
// across them. Items are voxels of the result; the argument is its size. OpenCV's cubic and Lanczos filters have
// four and eight taps, and none is stretched when shrinking; its area filter is a box that is.

namespace
{

constexpr int size = 256;

std::vector<float> volume(int n)
{
    std::vector<float> values(size_t(n) * size_t(n) * size_t(n));
    std::iota(values.begin(), values.end(), 0.0f);
    return values;
}

template <ZbResampler::Kernel kernel, int support>
void resampleZb(benchmark::State& state)
{
    const int n = int(state.range(0));
    auto from = volume(size), to = volume(n);
    const ZbTypedData3D source(size, size, size, ZbPrimType::FLOAT, 1, from.data());
    ZbTypedData3D target(n, n, n, ZbPrimType::FLOAT, 1, to.data());
    ZbString error;
    for (auto _ : state)
        if (!ZbResampler::resample(source, target, nullptr, 0, 1, kernel, support, ZbResampler::FILTER_VALUES,
                                   error))
            state.SkipWithError(error);
    state.SetItemsProcessed(state.iterations() * int64_t(to.size()));
}

template <int interpolation>
void resampleOpenCv(benchmark::State& state)
{
    const int n = int(state.range(0));
    auto from = volume(size), to = volume(n);
    std::vector<float> between(size_t(n) * size_t(n) * size);
    const size_t rowBytes = size_t(n) * sizeof(float), planeBytes = size_t(n) * rowBytes;
    const auto resize = [=](cv::Mat in, cv::Mat out) {
        cv::resize(in, out, out.size(), 0, 0, interpolation);
    };
    for (auto _ : state) {
        cv::parallel_for_(cv::Range(0, size), [&](const cv::Range& range) {
            for (int z = range.start; z < range.end; ++z)
                resize(cv::Mat(size, size, CV_32F, from.data() + size_t(z) * size * size),
                       cv::Mat(n, n, CV_32F, between.data() + size_t(z) * size_t(n) * size_t(n)));
        });
        cv::parallel_for_(cv::Range(0, n), [&](const cv::Range& range) {
            for (int y = range.start; y < range.end; ++y)
                resize(cv::Mat(size, n, CV_32F, between.data() + size_t(y) * size_t(n), planeBytes),
                       cv::Mat(n, n, CV_32F, to.data() + size_t(y) * size_t(n), planeBytes));
        });
    }
    state.SetItemsProcessed(state.iterations() * int64_t(to.size()));
}

BENCHMARK(resampleZb<ZbResampler::triangle_filter, 1>)->Arg(384)->Arg(128)->UseRealTime();
BENCHMARK(resampleOpenCv<cv::INTER_LINEAR>)->Arg(384)->UseRealTime();
BENCHMARK(resampleOpenCv<cv::INTER_AREA>)->Arg(128)->UseRealTime();
BENCHMARK(resampleZb<ZbResampler::Mitchell_filter, 2>)->Arg(384)->UseRealTime();
BENCHMARK(resampleOpenCv<cv::INTER_CUBIC>)->Arg(384)->UseRealTime();
BENCHMARK(resampleZb<ZbResampler::Lanczos3_filter, 3>)->Arg(384)->Arg(128)->UseRealTime();
BENCHMARK(resampleOpenCv<cv::INTER_LANCZOS4>)->Arg(384)->UseRealTime();

}  // namespace

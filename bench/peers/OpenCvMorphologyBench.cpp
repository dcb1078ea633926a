#include <zblib/imaging/ZbMorphology.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <benchmark/benchmark.h>

#include <random>

// Erosion and dilation of the same image of 8192^2 pixels on one thread: bits here, bytes there.

namespace
{

constexpr int size = 8192;

cv::Mat blobs()
{
    std::mt19937 random(1);
    cv::Mat image(size, size, CV_8U);
    unsigned char value = 0;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            image.at<unsigned char>(y, x) = random() % 20 == 0 ? value = (unsigned char)(255 - value) : value;
    return image;
}

template <void (*operation)(const ZbBitfield&, ZbBitfield&, const ZbVec2i&)>
void ours(benchmark::State& state)
{
    cv::Mat image = blobs();
    ZbBitfield src, dst;
    src.fromLabels((unsigned long)(size)*size, image.data, 255);
    operation(src, dst, ZbVec2i(size, size));
    for (auto _ : state) {
        operation(src, dst, ZbVec2i(size, size));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * size * size);
}

void peer(benchmark::State& state, bool erodes, int shape)
{
    cv::setNumThreads(1);
    const cv::Mat image = blobs(), element = cv::getStructuringElement(shape, cv::Size(3, 3));
    cv::Mat out(size, size, CV_8U);
    for (auto _ : state) {
        if (erodes)
            cv::erode(image, out, element);
        else
            cv::dilate(image, out, element);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * size * size);
}

BENCHMARK(ours<ZbMorphology::erosion2D_4>)->Name("erosion2D_4");
BENCHMARK_CAPTURE(peer, cross, true, cv::MORPH_CROSS)->Name("OpenCV erode, cross");
BENCHMARK(ours<ZbMorphology::dilation2D_4>)->Name("dilation2D_4");
BENCHMARK_CAPTURE(peer, cross, false, cv::MORPH_CROSS)->Name("OpenCV dilate, cross");
BENCHMARK(ours<ZbMorphology::erosion2D_8>)->Name("erosion2D_8");
BENCHMARK_CAPTURE(peer, square, true, cv::MORPH_RECT)->Name("OpenCV erode, square");
BENCHMARK(ours<ZbMorphology::dilation2D_8>)->Name("dilation2D_8");
BENCHMARK_CAPTURE(peer, square, false, cv::MORPH_RECT)->Name("OpenCV dilate, square");

}  // namespace

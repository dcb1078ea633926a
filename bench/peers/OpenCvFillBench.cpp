#include "bench/numeric/Polygons.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

// The polygons of ZbScanConvertBench, filled by OpenCV on one thread.

namespace
{

void fillPolygon(benchmark::State& state)
{
    cv::setNumThreads(1);
    std::vector<cv::Point> polygon;
    for (const ZbVec2f& p : ZbBench::polygon(state.range(0)))
        polygon.emplace_back(int(std::lround(p.x)), int(std::lround(p.y)));
    cv::Mat image(ZbBench::imageSize, ZbBench::imageSize, CV_8U);
    for (auto _ : state) {
        cv::fillPoly(image, std::vector<std::vector<cv::Point>>{polygon}, cv::Scalar(255));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(fillPolygon)->Name("OpenCV fillPoly")->Apply(ZbBench::polygons);

}  // namespace

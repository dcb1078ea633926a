#include <bench/support/ZbLabelVolumes.h>
#include <zblib/imaging/ZbConnectedComponents.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

// Regions of an image of 4096 x 4096 pixels with sizes, centres and boxes, one thread. The voxels are those
// of the volumes, laid out in a plane. Items are pixels.

namespace
{

void planes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"noise", "nb"})
        ->ArgsProduct({{ZbBlobs, ZbNoise}, {4, 8}})
        ->Unit(benchmark::kMillisecond);
}

constexpr int dims[3] = {4096, 4096, 1};

void labelOpenCv(benchmark::State& state)
{
    cv::setNumThreads(1);
    auto volume = zbMakeLabelVolume(int(state.range(0)));
    const cv::Mat mask = cv::Mat(dims[1], dims[0], CV_8UC1, volume.data()) >= int(zbLabelThreshold);
    cv::Mat labels, table, centers;
    double regions = 0;
    for (auto _ : state)
        regions =
            cv::connectedComponentsWithStats(mask, labels, table, centers, int(state.range(1)), CV_32S) - 1;
    state.counters["regions"] = regions;
    state.SetItemsProcessed(state.iterations() * zbLabelVoxels);
}

void labelRegionsZb(benchmark::State& state)
{
    auto volume = zbMakeLabelVolume(int(state.range(0)));
    std::vector<int> labels(volume.size());
    ZbDArray<ZbConnectedComponents::Region> table;
    double regions = 0;
    for (auto _ : state)
        regions = double(ZbConnectedComponents::labelRegions(
            volume.data(), dims, int(state.range(1)), labels.data(), zbLabelThreshold, 200, false, table));
    state.counters["regions"] = regions;
    state.SetItemsProcessed(state.iterations() * zbLabelVoxels);
}

BENCHMARK(labelRegionsZb)->Apply(planes);
BENCHMARK(labelOpenCv)->Apply(planes);

}  // namespace

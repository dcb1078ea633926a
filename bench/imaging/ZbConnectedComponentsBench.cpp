#include <bench/support/ZbLabelVolumes.h>
#include <bench/support/ZbStreaming.h>
#include <zblib/imaging/ZbConnectedComponents.h>

// Items are voxels. The limit is that of a stream that reads the volume and writes its labels once.

namespace
{

using Cc = ZbConnectedComponents;

const int dims[3] = {zbLabelSize, zbLabelSize, zbLabelSize};

template <typename D>
std::vector<D> volumeOf(const benchmark::State& state)
{
    const auto volume = zbMakeLabelVolume(int(state.range(0)));
    return {volume.begin(), volume.end()};
}

template <typename D, typename L>
void labelRegions(benchmark::State& state)
{
    std::vector<D> volume = volumeOf<D>(state);
    std::vector<L> labels(volume.size());
    ZbDArray<Cc::Region> regions;
    long count = 0;
    for (auto _ : state)
        count = Cc::labelRegions(volume.data(), dims, int(state.range(1)), labels.data(), zbLabelThreshold,
                                 200, false, regions);
    state.counters["regions"] = double(count);
    state.SetItemsProcessed(state.iterations() * zbLabelVoxels);
}

template <typename D, typename L>
void doLabel(benchmark::State& state)
{
    std::vector<D> volume = volumeOf<D>(state);
    std::vector<L> labels(volume.size());
    ZbDArray<Cc::Component> comps;
    long count = 0;
    for (auto _ : state)
        count = Cc::do_label(volume.data(), labels.data(), comps, zbLabelThreshold, 200, dims,
                             int(state.range(1)), 0);
    state.counters["regions"] = double(count);
    state.SetItemsProcessed(state.iterations() * zbLabelVoxels);
}

// By value, on a label field with eight values.
template <typename Label>
void byValue(benchmark::State& state, Label label)
{
    std::vector<unsigned char> volume = volumeOf<unsigned char>(state);
    for (unsigned char& value : volume)
        value /= 32;
    std::vector<int> labels(volume.size());
    for (auto _ : state)
        label(volume, labels);
    state.SetItemsProcessed(state.iterations() * zbLabelVoxels);
}

void labelRegionsByValue(benchmark::State& state)
{
    ZbDArray<Cc::Region> regions;
    byValue(state, [&](std::vector<unsigned char>& volume, std::vector<int>& labels) {
        Cc::labelRegions(volume.data(), dims, int(state.range(1)), labels.data(), 0, 0, true, regions);
    });
}

void labelLabelsHuge(benchmark::State& state)
{
    ZbDArray<Cc::Component> comps;
    byValue(state, [&](std::vector<unsigned char>& volume, std::vector<int>& labels) {
        Cc::labelLabelsHuge(volume.data(), dims, int(state.range(1)), labels.data(), 0, 0, comps, nullptr);
    });
}

BENCHMARK(zbStreamingCopy)->Arg(1 << 26);
BENCHMARK(labelRegions<unsigned char, int>)->Apply(zbLabelVolumes);
BENCHMARK(labelRegions<float, float>)->Apply(zbLabelVolumes);
BENCHMARK(doLabel<unsigned char, int>)->Apply(zbLabelVolumes);
BENCHMARK(doLabel<float, float>)->Apply(zbLabelVolumes);
BENCHMARK(labelRegionsByValue)->Apply(zbLabelVolumes);
BENCHMARK(labelLabelsHuge)->Apply(zbLabelVolumes);

}  // namespace

#include <bench/support/ZbLabelVolumes.h>

#include <vigra/accumulator.hxx>
#include <vigra/multi_array.hxx>
#include <vigra/multi_labeling.hxx>

// Regions with sizes, centres and boxes by VIGRA, whose arguments are those of the benchmarks beside ITK.
// Items are voxels.

namespace
{

using Shape = vigra::Shape3;

void labelVigra(benchmark::State& state)
{
    using namespace vigra::acc;
    auto volume = zbMakeLabelVolume(int(state.range(0)));
    std::transform(volume.begin(), volume.end(), volume.begin(),
                   [](unsigned char value) { return (unsigned char)(value >= zbLabelThreshold); });
    const Shape shape(zbLabelSize, zbLabelSize, zbLabelSize);
    const vigra::MultiArrayView<3, unsigned char> mask(shape, volume.data());
    vigra::MultiArray<3, unsigned int> labels(shape);
    double regions = 0;
    for (auto _ : state) {
        regions = labelMultiArrayWithBackground(
            mask, labels, state.range(1) == 26 ? vigra::IndirectNeighborhood : vigra::DirectNeighborhood,
            (unsigned char)(0));
        using Wanted = Select<LabelArg<1>, Count, Coord<Mean>, Coord<Minimum>, Coord<Maximum>>;
        AccumulatorChainArray<vigra::CoupledArrays<3, unsigned int>, Wanted> table;
        table.ignoreLabel(0);
        extractFeatures(labels, table);
        benchmark::DoNotOptimize(table);
    }
    state.counters["regions"] = regions;
    state.SetItemsProcessed(state.iterations() * zbLabelVoxels);
}

BENCHMARK(labelVigra)->Apply(zbLabelVolumes);

}  // namespace

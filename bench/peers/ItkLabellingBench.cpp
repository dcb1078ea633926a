#include <bench/support/ZbLabelVolumes.h>
#include <zblib/imaging/ZbConnectedComponents.h>

#include <itkBinaryImageToShapeLabelMapFilter.h>
#include <itkConnectedComponentImageFilter.h>
#include <itkImage.h>
#include <itkLabelImageToShapeLabelMapFilter.h>
#include <itkMultiThreaderBase.h>

// Regions with sizes, centres and boxes, one thread. The filters get the volume as a mask, so that their
// threshold filter does not count. Items are voxels.

namespace
{

using Mask = itk::Image<unsigned char, 3>;
using Labels = itk::Image<unsigned int, 3>;

Mask::Pointer makeMask(const benchmark::State& state)
{
    itk::MultiThreaderBase::SetGlobalMaximumNumberOfThreads(1);
    const auto volume = zbMakeLabelVolume(int(state.range(0)));
    auto mask = Mask::New();
    mask->SetRegions(Mask::SizeType{{zbLabelSize, zbLabelSize, zbLabelSize}});
    mask->Allocate();
    std::transform(volume.begin(), volume.end(), mask->GetBufferPointer(),
                   [](unsigned char value) { return (unsigned char)(value >= zbLabelThreshold); });
    return mask;
}

void finish(benchmark::State& state, double regions)
{
    state.counters["regions"] = regions;
    state.SetItemsProcessed(state.iterations() * zbLabelVoxels);
}

void connectedComponentsItk(benchmark::State& state)
{
    const auto mask = makeMask(state);
    double regions = 0;
    for (auto _ : state) {
        auto filter = itk::ConnectedComponentImageFilter<Mask, Labels>::New();
        filter->SetInput(mask);
        filter->SetFullyConnected(state.range(1) == 26);
        auto shapes = itk::LabelImageToShapeLabelMapFilter<Labels>::New();
        shapes->SetInput(filter->GetOutput());
        shapes->ComputePerimeterOff();
        shapes->Update();
        regions = double(filter->GetObjectCount());
    }
    finish(state, regions);
}

// Makes no label image, only the table.
void shapeLabelMapItk(benchmark::State& state)
{
    const auto mask = makeMask(state);
    double regions = 0;
    for (auto _ : state) {
        auto filter = itk::BinaryImageToShapeLabelMapFilter<Mask>::New();
        filter->SetInput(mask);
        filter->SetInputForegroundValue(1);
        filter->SetFullyConnected(state.range(1) == 26);
        filter->ComputePerimeterOff();
        filter->Update();
        regions = double(filter->GetOutput()->GetNumberOfLabelObjects());
    }
    finish(state, regions);
}

template <typename Label>
void labelZb(benchmark::State& state, Label label)
{
    auto volume = zbMakeLabelVolume(int(state.range(0)));
    std::vector<int> labels(volume.size());
    double regions = 0;
    for (auto _ : state)
        regions = double(label(volume.data(), labels.data(), int(state.range(1))));
    finish(state, regions);
}

const int dims[3] = {zbLabelSize, zbLabelSize, zbLabelSize};

void labelRegionsZb(benchmark::State& state)
{
    ZbDArray<ZbConnectedComponents::Region> regions;
    labelZb(state, [&](unsigned char* volume, int* labels, int nb) {
        return ZbConnectedComponents::labelRegions(volume, dims, nb, labels, zbLabelThreshold, 200, false,
                                                   regions);
    });
}

void doLabelZb(benchmark::State& state)
{
    ZbDArray<ZbConnectedComponents::Component> comps;
    labelZb(state, [&](unsigned char* volume, int* labels, int nb) {
        return ZbConnectedComponents::do_label(volume, labels, comps, zbLabelThreshold, 200, dims, nb, 0);
    });
}

BENCHMARK(labelRegionsZb)->Apply(zbLabelVolumes);
BENCHMARK(doLabelZb)->Apply(zbLabelVolumes);
BENCHMARK(connectedComponentsItk)->Apply(zbLabelVolumes);
BENCHMARK(shapeLabelMapItk)->Apply(zbLabelVolumes);

}  // namespace

#include "ObjectCount.h"

#include "Failure.h"

#include <zblib/data/ZbRawData.h>
#include <zblib/foundation/ZbProgressInterface.h>
#include <zblib/imaging/ZbConnectedComponents.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <future>
#include <limits>
#include <memory>
#include <numeric>
#include <thread>

namespace zbvolume
{

namespace
{

using Components = ZbConnectedComponents;

void widen(Volume& volume, ZbPrimType type)
{
    VoxelBlock wide =
        allocateVoxels(volume.path, std::uint64_t(volume.voxelCount()) * std::uint64_t(type.size()));
    ZbRawData::memcpy(ZbTypedPointer(wide.get(), type), volume.voxels(), volume.voxelCount());
    volume.block = std::move(wide);
    volume.type = type;
}

// Whether value, or for integers the next whole number, is one that voxels of the type can reach. Values
// below all that they can reach are as good as the smallest.
bool canReach(ZbPrimType type, double value)
{
    bool can = true;
    zbVisitPrimType<unsigned char, short, unsigned short, int, unsigned int, float>(type, [&](auto tag) {
        using Value = typename decltype(tag)::Type;
        can = value <= double(std::numeric_limits<Value>::max()) &&
              (type.isInteger() || value >= -double(std::numeric_limits<Value>::max()));
    });
    return can;
}

// What the labelling made of the volume, by label; object 0 is the background.
struct Regions {
    std::vector<Object> byLabel;
    VoxelBlock labels;
};

Regions labelTrueRegions(const Volume& volume, const ObjectRule& rule, double low, double high,
                         VoxelBlock labels, ZbProgressInterface& progress)
{
    ZbDArray<Components::Region> regions;
    const long count = Components::labelRegions(volume.voxels(), volume.dims.data(), rule.neighbours,
                                                ZbTypedPointer(labels.get(), ZbPrimType::INT), low, high,
                                                rule.byValue, regions, &progress);
    if (progress.wasInterrupted(true))
        throw Interrupted();
    if (count < 0)
        throw Failure(volume.path, "cannot be labelled");
    Regions result{{}, std::move(labels)};
    for (const Components::Region& region : regions)
        result.byLabel.push_back({region.size, region.strong, region.value, std::to_array(region.center),
                                  std::to_array(region.boxMin), std::to_array(region.boxMax)});
    return result;
}

// Keeps the line that the raster pass prints from standard error, where the tool's own line says more.
class QuietStandardError
{
public:
    QuietStandardError() : m_saved(dup(STDERR_FILENO))
    {
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_saved >= 0 && null >= 0)
            dup2(null, STDERR_FILENO);
        if (null >= 0)
            close(null);
    }
    ~QuietStandardError()
    {
        if (m_saved < 0)
            return;
        std::fflush(stderr);
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;

private:
    int m_saved;
};

// What the raster pass works on. It belongs to the pass as long as that runs.
struct RasterPass {
    ZbPrimType type;
    std::array<int, 3> dims{};
    VoxelBlock voxels;
    VoxelBlock labels;
    ZbDArray<Components::Component> components;

    int run(const ObjectRule& rule, double low, double high)
    {
        int count = -1;
        zbVisitPrimType<unsigned char, short, unsigned short, int, unsigned int, float, double>(
            type, [&](auto tag) {
                using Value = typename decltype(tag)::Type;
                // The thresholds fit the type, or lie below its range.
                const auto threshold = [](double value) {
                    return Value(std::max(value, double(std::numeric_limits<Value>::lowest())));
                };
                count = Components::labelConnectedComponents(
                    static_cast<Value*>(voxels.get()), ZbTypedPointer(labels.get(), ZbPrimType::INT),
                    components, threshold(low), threshold(high), dims.data(), rule.neighbours, rule.byValue);
            });
        return count;
    }
};

// The pass cannot be stopped. After Ctrl-C it is left alone with what it works on, until the process ends.
Regions labelRasterPass(Volume& volume, const ObjectRule& rule, double low, double high, VoxelBlock labels,
                        ZbProgressInterface& progress)
{
    const auto pass = std::make_shared<RasterPass>();
    pass->type = volume.type;
    pass->dims = volume.dims;
    pass->voxels = std::move(volume.block);
    pass->labels = std::move(labels);
    const QuietStandardError quiet;
    progress.startWorking("Labelling");
    std::packaged_task<int()> task([pass, rule, low, high] { return pass->run(rule, low, high); });
    std::future<int> done = task.get_future();
    std::thread thread(std::move(task));
    while (done.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready)
        if (progress.wasInterrupted(true)) {
            thread.detach();
            throw Interrupted();
        }
    thread.join();
    progress.stopWorking();
    volume.block = std::move(pass->voxels);
    if (done.get() < 0)
        throw Failure(volume.path, "has too many objects for the raster pass");
    Regions result{{}, std::move(pass->labels)};
    for (const Components::Component& component : pass->components) {
        Object object{component.size, component.value, double(component.value), {}, {}, {}};
        for (std::size_t i = 0; i < 3; i++)
            object.centre[i] = component.size > 0 ? double(component.center[i]) / component.size : 0;
        result.byLabel.push_back(object);
    }
    return result;
}

}  // namespace

ObjectCount countObjects(Volume& volume, const ObjectRule& rule, bool wantLabels,
                         ZbProgressInterface& progress)
{
    double low = rule.threshold;
    double high = rule.strong.value_or(rule.threshold);
    if (volume.type.isInteger()) {
        // The labelling rounds thresholds of integers to the nearest one.
        low = std::ceil(low);
        high = std::ceil(high);
    }
    if (volume.type == ZbPrimType::SBYTE)
        widen(volume, ZbPrimType::SHORT);
    if (!canReach(volume.type, low) || !canReach(volume.type, high))
        widen(volume, ZbPrimType::DOUBLE);

    VoxelBlock labels;
    if (wantLabels || rule.rasterPass)
        labels = allocateVoxels(volume.path, std::uint64_t(volume.voxelCount()) * sizeof(int));
    Regions regions = rule.rasterPass
                          ? labelRasterPass(volume, rule, low, high, std::move(labels), progress)
                          : labelTrueRegions(volume, rule, low, high, std::move(labels), progress);

    ObjectCount result;
    std::vector<int> kept;
    for (int label = 1; label < int(regions.byLabel.size()); label++) {
        const Object& object = regions.byLabel[std::size_t(label)];
        if (object.size < rule.minSize)
            result.tooSmall++;
        else if (rule.strong && object.strong == 0)
            result.tooWeak++;
        else
            kept.push_back(label);
    }
    std::stable_sort(kept.begin(), kept.end(), [&](int a, int b) {
        return regions.byLabel[std::size_t(a)].size > regions.byLabel[std::size_t(b)].size;
    });
    result.ranks.resize(regions.byLabel.size());
    for (std::size_t i = 0; i < kept.size(); i++) {
        result.ranks[std::size_t(kept[i])] = int(i) + 1;
        result.objects.push_back(regions.byLabel[std::size_t(kept[i])]);
    }
    if (wantLabels)
        result.labels = std::move(regions.labels);
    return result;
}

}  // namespace zbvolume

#include <zblib/imaging/ZbResampler.h>

#include <zblib/containers/ZbString.h>
#include <zblib/data/ZbBlockBytes.h>
#include <zblib/data/ZbRawData.h>
#include <zblib/data/ZbTypedData3D.h>
#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/foundation/ZbLargeBlock.h>
#include <zblib/foundation/ZbProgressScope.h>
#include <zblib/imaging/ZbResamplePasses.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <QCoreApplication>

#include <climits>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace
{

using ZbDetail::ResampleAxis;

// All types that are numbers. False for others.
template <typename Visit>
bool visitNumbers(ZbPrimType type, Visit visit)
{
    return zbVisitPrimType<unsigned char, signed char, short, unsigned short, int, unsigned int, long long,
                           unsigned long long, float, double>(type, visit);
}

// The input of the passes along one axis, in samples of the block that they read.
struct AxisGeometry {
    int newSize, oldSize;
    float scale, shift;
};

/// One call of ZbResampler::resample() whose arguments are good.
class Resampling
{
public:
    const ZbTypedData3D& source;
    ZbTypedData3D& target;
    const float* shifts;
    ZbPrimType targetType;
    unsigned int shrinkFactor;
    float factor;
    ZbResampler::Kernel kernel;
    float support;
    ZbResampler::FilterType filterType;
    ZbProgressInterface* progress;

    /// False when progress was interrupted. Throws ZbMemoryException when intermediate blocks do not fit.
    bool run(void* targetData)
    {
        const void* sourceData = source.dataPtr();
        AxisGeometry geometry[3];
        for (int k = 0; k < 3; ++k)
            geometry[k] = {target.getDims()[k], source.getDims()[k],
                           float(target.getDims()[k]) / float(source.getDims()[k]),
                           shifts ? shifts[k] : 0.0f};
        const ZbDetail::OwnedBlock reduced = reduce(geometry);
        if (reduced)
            sourceData = reduced.get();
        const auto axis = [&](int k) {
            return ResampleAxis(geometry[k].newSize, geometry[k].oldSize, geometry[k].scale,
                                geometry[k].shift, kernel, support);
        };
        const ResampleAxis axes[3] = {axis(0), axis(1), axis(2)};
        return filterType == ZbResampler::FILTER_LABELS ? runLabels(axes, sourceData, targetData)
                                                        : runMeans(axes, sourceData, targetData);
    }

private:
    // The block with the axes reduced that shrink by much, and the geometry of the passes over it; null where
    // none does.
    ZbDetail::OwnedBlock reduce(AxisGeometry* geometry) const
    {
        const bool labels = filterType == ZbResampler::FILTER_LABELS;
        if (shrinkFactor == 0 || (labels && (!source.primType().isInteger() || source.numComponents() > 1)))
            return nullptr;
        int factors[3], sizes[3];
        bool any = false;
        for (int k = 0; k < 3; ++k) {
            const AxisGeometry& axis = geometry[k];
            const int ratio = axis.oldSize / axis.newSize;
            factors[k] = ratio >= 2 && (unsigned int)(ratio) >= shrinkFactor ? ratio : 1;
            sizes[k] = (axis.oldSize - 1) / factors[k] + 1;
            any = any || factors[k] > 1;
        }
        if (!any)
            return nullptr;
        ZbDetail::OwnedBlock reduced = ZbDetail::allocateBlock(
            ZbDetail::blockBytes({sizes[0], sizes[1], sizes[2], source.getElemSize()}));
        const ZbPrimType type = source.primType();
        const ZbTypedPointer from(const_cast<void*>(source.dataPtr()), type), to(reduced.get(), type);
        if (labels)
            (void)ZbRawData::downSampleLabels3D(from, source.getDims(), factors, to);
        else
            (void)ZbRawData::downSample3D(from, source.getDims(), source.numComponents(), factors, to);
        for (int k = 0; k < 3; ++k) {
            AxisGeometry& axis = geometry[k];
            const double oldReduced = double(axis.oldSize) / factors[k];
            axis.scale = float(axis.newSize / oldReduced);
            // The last of the reduced samples may stand for fewer than the others, so that their grid reaches
            // beyond the block, and its centre is not that of the block.
            axis.shift -= float((sizes[k] - oldReduced) * 0.5 * (axis.newSize / oldReduced));
            axis.oldSize = sizes[k];
        }
        return reduced;
    }

    template <typename Rule>
    bool runPasses(const Rule& rule, const ResampleAxis* axes, const void* from, void* to) const
    {
        return ZbDetail::resampleBlock(rule, axes, source.numComponents(), from, source.primType().size(), to,
                                       targetType.size(), progress);
    }

    bool runMeans(const ResampleAxis* axes, const void* from, void* to) const
    {
        ZbDetail::ResampleMeans::Load load = nullptr;
        ZbDetail::ResampleMeans::Finish finish = nullptr;
        visitNumbers(source.primType(), [&](auto tag) {
            using T = typename decltype(tag)::Type;
            if constexpr (!std::is_same_v<T, float>)
                load = &ZbDetail::loadFloats<T>;
        });
        visitNumbers(targetType, [&](auto tag) {
            using T = typename decltype(tag)::Type;
            if (!std::is_same_v<T, float> || factor != 1.0f)
                finish = &ZbDetail::finishMeans<T>;
        });
        const long entries = axes[0].longest() + axes[1].longest() + axes[2].longest();
        const ZbDetail::MeanConversion conversion{factor, (6.0 + double(entries) / 8) * 0x1p-23};
        const ZbDetail::ResampleMeans rule(load, source.primType().size(), finish, targetType.size(),
                                           conversion);
        return runPasses(rule, axes, from, to);
    }

    bool runLabels(const ResampleAxis* axes, const void* from, void* to) const
    {
        bool finished = false;
        visitNumbers(source.primType(), [&](auto tag) {
            using Label = typename decltype(tag)::Type;
            typename ZbDetail::ResampleLabels<Label>::Finish finish = nullptr;
            visitNumbers(targetType, [&](auto targetTag) {
                finish = &ZbDetail::finishLabels<typename decltype(targetTag)::Type, Label>;
            });
            const ZbDetail::ResampleLabels<Label> rule(finish, targetType.size(), factor);
            finished = runPasses(rule, axes, from, to);
        });
        return finished;
    }
};

bool isSupported(ZbPrimType type)
{
    const bool known = visitNumbers(type, [](auto) {});
    if (!known)
        ZbDetail::reportUnsupportedType(type, "ZbResampler::resample()");
    return known;
}

bool fail(ZbString& error, const char* text)
{
    error = text;
    return false;
}

void setMemoryError(ZbString& error, unsigned long bytes)
{
    error.printf("could not allocate %lu MB", bytes >> 20);
}

}  // namespace

void ZbResampler::resample(int newSize, float scale, float* target, int oldSize, const float* source,
                           float shift)
{
    if (newSize < 1)
        return;
    const float ratio = scale == 0.0f ? float(newSize) / float(oldSize) : scale;
    const ResampleAxis axis(newSize, oldSize, ratio, shift, &Lanczos3_filter, 3.0f);
    for (long i = 0; i < newSize; ++i) {
        float sum = 0.0f;
        for (long k = 0; k < axis.count(i); ++k)
            sum += axis.weights(i)[k] * source[axis.begin(i) + k];
        target[i] = sum;
    }
}

bool ZbResampler::resample(const ZbTypedData3D& source, ZbTypedData3D& target, const float* shifts,
                           const ZbPrimType& targetType, unsigned int shrinkFactor, float factor,
                           Kernel kernel, float support, FilterType filterType, ZbString& error,
                           ZbProgressInterface* progress)
{
    error.clear();
    const ZbPrimType type = targetType;  // may be that of target, which is set below
    if (!isSupported(source.primType()) || !isSupported(type))
        return fail(error, "unsupported data type");
    if (!kernel)
        return fail(error, "no filter kernel");
    const int nx = target.sizeX(), ny = target.sizeY(), nz = target.sizeZ();
    if (nx < 0 || ny < 0 || nz < 0 || source.sizeX() < 0 || source.sizeY() < 0 || source.sizeZ() < 0)
        return fail(error, "a size is negative");
    const bool isEmpty = source.sizeX() == 0 || source.sizeY() == 0 || source.sizeZ() == 0;
    if (!source.dataPtr() && !isEmpty)
        return fail(error, "no data to resample");
    const bool allocates = !target.dataPtr();
    if (!allocates && (target.primType() != type || target.numComponents() != source.numComponents()))
        return fail(error, "the target has another data type or number of components");

    unsigned long targetBytes = 0;
    ZbDetail::OwnedBlock ownTarget;
    try {
        const int elementBytes = ZbDetail::elementBytes(type.size(), source.numComponents());
        targetBytes = ZbDetail::blockBytes({nx, ny, nz, elementBytes});
        if (allocates)
            ownTarget = ZbDetail::allocateBlock(targetBytes);
    } catch (const ZbMemoryException& exception) {
        setMemoryError(error, exception.getNumBytes());
        return false;
    }
    void* targetData = allocates ? ownTarget.get() : target.dataPtr();

    const ZbDetail::ProgressScope working(progress,
                                          QCoreApplication::translate("ZbResampler", "Resampling ..."));
    bool finished = false;
    try {
        if (targetBytes == 0) {
            finished = true;
        } else if (isEmpty) {
            std::memset(targetData, 0, targetBytes);  // no input anywhere
            finished = true;
        } else {
            Resampling resampling{source, target, shifts,  type,       shrinkFactor,
                                  factor, kernel, support, filterType, progress};
            finished = resampling.run(targetData);
        }
    } catch (const ZbMemoryException& exception) {
        std::fputs("No enough memory available to resample the dataset.\n", stderr);
        if (exception.getNumBytes() > 0)
            setMemoryError(error, exception.getNumBytes());
        else  // one of many small blocks
            error = "No enough memory available to resample the dataset.";
    }
    if (finished && allocates)
        target.commit(nx, ny, nz, type, source.numComponents(), ownTarget.release());
    return finished;
}

bool ZbResampler::resample(const ZbTypedData3D& source, ZbTypedData3D& target, const float* shifts,
                           unsigned int shrinkFactor, float factor, Kernel kernel, float support,
                           FilterType filterType, ZbString& error, ZbProgressInterface* progress)
{
    return resample(source, target, shifts, source.primType(), shrinkFactor, factor, kernel, support,
                    filterType, error, progress);
}

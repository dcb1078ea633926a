#include <zblib/data/ZbMemorySelection.h>

#include <zblib/data/ZbBytePattern.h>
#include <zblib/data/ZbCheckedArithmetic.h>
#include <zblib/data/ZbMemcpy.h>
#include <zblib/data/ZbStridedCopy.h>

#include <algorithm>

using ZbDetail::checkedProduct;
using ZbDetail::checkedSum;

ZbMemorySelection::ZbMemorySelection() noexcept
{
    std::fill_n(m_sizes, maxDims, 1);
    std::fill_n(m_strides, maxDims, 0);
}

ZbMemorySelection::ZbMemorySelection(const ZbDataPointer& data, int numDims, const int* sizes,
                                     const long* strides)
    : ZbDataPointer(data)
{
    init(numDims, sizes, strides);
}

ZbMemorySelection::ZbMemorySelection(const ZbDataPointer& data, const ZbDataSpace& space)
    : ZbDataPointer(data)
{
    long strides[maxDims];
    long elementsBelow = 1;
    for (int dim = 0; dim < space.numDims(); ++dim) {
        if (dim > 0)
            elementsBelow = checkedProduct(elementsBelow, space.dims(dim - 1));
        strides[dim] = checkedProduct(space.selectionStride(dim), elementsBelow);
    }
    init(space.numDims(), space.selectionSizes(), strides);
    advance(space.calcOffset(space.selectionStarts()));
}

ZbMemorySelection::ZbMemorySelection(const ZbDataSpace& sub, const ZbDataSpace& space,
                                     const ZbMemorySelection& memory)
    : ZbDataPointer(memory)
{
    long strides[maxDims];
    long offset = 0;
    for (int dim = 0; dim < sub.numDims(); ++dim) {
        // A stride of 0 selects one index, so sub is there as well and needs no step.
        const long stride = space.selectionStride(dim);
        const long distance = long(sub.selectionStart(dim)) - space.selectionStart(dim);
        const long steps = stride != 0 ? distance / stride : 0;
        const long stepsPerStride = stride != 0 ? sub.selectionStride(dim) / stride : 0;
        offset = checkedSum(offset, checkedProduct(steps, memory.m_strides[dim]));
        strides[dim] = checkedProduct(memory.m_strides[dim], stepsPerStride);
    }
    init(sub.numDims(), sub.selectionSizes(), strides);
    advance(offset);
}

void ZbMemorySelection::init(int numDims, const int* sizes, const long* strides)
{
    ZbDetail::requireNumDims(numDims);
    long dense[maxDims];
    if (!strides) {
        for (int dim = 0; dim < numDims; ++dim)
            dense[dim] = dim > 0 ? checkedProduct(dense[dim - 1], sizes[dim - 1]) : 1;
        strides = dense;
    }
    m_numDims = numDims;
    std::fill(std::copy_n(sizes, numDims, m_sizes), m_sizes + maxDims, 1);
    std::fill(std::copy_n(strides, numDims, m_strides), m_strides + maxDims, 0L);
}

void ZbMemorySelection::advance(long numElements)
{
    const long bytes = checkedProduct(numElements, elementSize());
    if (m_data)
        m_data = charPtr() + bytes;
}

long ZbMemorySelection::selectionElemCount() const
{
    long count = m_numDims > 0 ? 1 : 0;
    for (int dim = 0; dim < m_numDims; ++dim)
        count = checkedProduct(count, std::max(m_sizes[dim], 0));
    return count;
}

namespace
{

// The bytes of a range of elements, cut at the end of the selection.
struct ByteRange {
    long first = 0;
    long count = 0;
};

ByteRange cutRange(const ZbMemorySelection& selection, long long start, long long count)
{
    const long available = selection.selectionElemCount();
    if (start < 0 || start >= available || count <= 0)
        return {};
    const long elementSize = selection.elementSize();
    return {long(start) * elementSize, std::min(long(count), available - long(start)) * elementSize};
}

}  // namespace

long long ZbMemorySelection::get(long long start, long long count, void* buffer) const
{
    const ZbBytePattern pattern(*this);
    const ByteRange bytes = cutRange(*this, start, count);
    if (bytes.count == 0)
        return 0;
    ZbDetail::gather(buffer, m_data, pattern, 1, bytes.first, bytes.count);
    return bytes.count / elementSize();
}

long long ZbMemorySelection::put(long long start, long long count, const void* buffer) const
{
    const ZbBytePattern pattern(*this);
    const ByteRange bytes = cutRange(*this, start, count);
    if (bytes.count == 0)
        return 0;
    ZbDetail::scatter(m_data, pattern, 1, bytes.first, bytes.count, buffer);
    return bytes.count / elementSize();
}

void ZbMemorySelection::copyFrom(const ZbMemorySelection& other) const
{
    if (selectionElemCount() > 0 && other.selectionElemCount() > 0)
        zbmemcpy(m_data, ZbBytePattern(*this), other.m_data, ZbBytePattern(other));
}

#include <zblib/data/ZbBytePattern.h>
#include <zblib/data/ZbCheckedArithmetic.h>
#include <zblib/data/ZbMemorySelection.h>
#include <zblib/foundation/ZbException.h>

#include <algorithm>

using ZbDetail::checkedDifference;
using ZbDetail::checkedProduct;
using ZbDetail::checkedSum;

ZbBytePattern::ZbBytePattern(const ZbMemorySelection& selection)
{
    long counts[1 + ZbDataSpace::maxDims];
    long strides[1 + ZbDataSpace::maxDims];
    const long elementSize = selection.elementSize();
    counts[0] = elementSize;
    strides[0] = 1;
    for (int dim = 0; dim < selection.numDims(); ++dim) {
        counts[1 + dim] = selection.selectionSize(dim);
        strides[1 + dim] = checkedProduct(selection.selectionStride(dim), elementSize);
    }
    init(1 + selection.numDims(), counts, strides);
}

ZbBytePattern ZbBytePattern::CreateContigousBlock(long n)
{
    const long stride = 1;
    return ZbBytePattern(1, &n, &stride);
}

void ZbBytePattern::init(int numLevels, const long* counts, const long* strides)
{
    ZbBytePattern merged;
    long units = 1;   // product of the counts, those below 1 taken as 1
    long extent = 0;  // no offset or step of an iterator exceeds it
    for (int level = 0; level < numLevels; ++level) {
        const long count = std::max(counts[level], 0L);
        const long stride = strides[level];
        units = checkedProduct(units, std::max(count, 1L));
        const int last = merged.m_nesting - 1;
        if (last >= 0 && merged.m_counts[last] * merged.m_strides[last] == stride) {
            merged.m_counts[last] *= count;
        } else {
            if (merged.m_nesting == maxNesting)
                throw ZbException(QStringLiteral("A byte pattern holds at most %1 levels").arg(maxNesting));
            merged.m_counts[merged.m_nesting] = count;
            merged.m_strides[merged.m_nesting] = stride;
            ++merged.m_nesting;
        }
        // One step more than the count: the iterator goes there and back.
        const long magnitude = stride < 0 ? checkedDifference(0, stride) : stride;
        extent = checkedSum(extent, checkedProduct(magnitude, checkedSum(std::max(count, 1L), 1)));
    }
    // Strides of elements are turned into bytes again.
    checkedProduct(extent, sizeof(double));
    *this = merged;
}

long ZbBytePattern::byteCount() const noexcept
{
    long units = 1;
    for (int level = 0; level < m_nesting; ++level)
        units *= m_counts[level];
    return units;
}

long ZbBytePattern::minMemRequirement() const noexcept
{
    long bytes = 1;
    for (int level = 0; level < m_nesting; ++level)
        bytes += (m_counts[level] - 1) * m_strides[level];
    return bytes;
}

void ZbBytePattern::changeElemSize(int elemSize) noexcept
{
    if (elemSize < 1)
        return;
    m_counts[0] /= elemSize;
    for (int level = 1; level < m_nesting; ++level)
        m_strides[level] /= elemSize;
}

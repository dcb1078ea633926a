#include <zblib/data/ZbDataSpace.h>

#include <zblib/containers/ZbDArray.h>
#include <zblib/data/ZbCheckedArithmetic.h>
#include <zblib/foundation/ZbException.h>

#include <algorithm>

using ZbDetail::checkedProduct;
using ZbDetail::checkedSum;

void ZbDetail::throwExtentTooLarge()
{
    throw ZbException(QStringLiteral("The extent of the selection does not fit 64 bits"));
}

void ZbDetail::requireNumDims(long numDims)
{
    if (numDims < 0 || numDims > ZbDataSpace::maxDims)
        throw ZbException(QStringLiteral("A data space has 0 to %1 dimensions, not %2")
                              .arg(ZbDataSpace::maxDims)
                              .arg(numDims));
}

ZbDataSpace::ZbDataSpace() noexcept
{
    init(nullptr, 0);
}

ZbDataSpace::ZbDataSpace(int nx, int ny) noexcept
{
    const int dims[] = {nx, ny};
    init(dims, 2);
}

ZbDataSpace::ZbDataSpace(int nx, int ny, int nz) noexcept
{
    const int dims[] = {nx, ny, nz};
    init(dims, 3);
}

ZbDataSpace::ZbDataSpace(int nx, int ny, int nz, int nt) noexcept
{
    const int dims[] = {nx, ny, nz, nt};
    init(dims, 4);
}

ZbDataSpace::ZbDataSpace(const ZbDArray<int>& extents)
{
    ZbDetail::requireNumDims(extents.size());
    init(extents.data(), int(extents.size()));
}

void ZbDataSpace::init(const int* dims, int numDims) noexcept
{
    m_numDims = numDims;
    std::fill(std::copy_n(dims, numDims, m_dims), std::end(m_dims), 1);
    selectAll();
}

void ZbDataSpace::selectAll() noexcept
{
    std::copy_n(m_dims, maxDims, m_sizes);
    std::fill_n(m_starts, maxDims, 0);
    std::fill_n(m_strides, maxDims, 1);
}

void ZbDataSpace::selectHyperslab(const int* starts, const int* sizes, const int* strides) noexcept
{
    for (int dim = 0; dim < m_numDims; ++dim) {
        m_starts[dim] = starts[dim];
        m_sizes[dim] = sizes[dim];
        m_strides[dim] = strides ? strides[dim] : 1;
    }
}

void ZbDataSpace::setSelection(int dim, int start, int size, int stride)
{
    if (dim < 0 || dim >= m_numDims)
        throw ZbException(
            QStringLiteral("Dimension %1 is none of the %2 of the data space").arg(dim).arg(m_numDims));
    m_starts[dim] = start;
    m_sizes[dim] = size;
    m_strides[dim] = stride;
}

void ZbDataSpace::snapToStrides() noexcept
{
    for (int dim = 0; dim < m_numDims; ++dim)
        if (m_strides[dim] != 0)
            m_starts[dim] = int(long(m_starts[dim]) - long(m_starts[dim]) % m_strides[dim]);
}

long ZbDataSpace::selectionElemCount() const
{
    long count = 1;
    for (int dim = 0; dim < m_numDims; ++dim)
        count = checkedProduct(count, std::max(m_sizes[dim], 0));
    return count;
}

long ZbDataSpace::calcOffset(const int* index) const
{
    long offset = 0;
    for (int dim = m_numDims - 1; dim >= 0; --dim)
        offset = checkedSum(index[dim], checkedProduct(m_dims[dim], offset));
    return offset;
}

bool ZbDataSpace::isSameSpace(const ZbDataSpace& other) const noexcept
{
    return m_numDims == other.m_numDims && std::equal(m_dims, m_dims + m_numDims, other.m_dims);
}

bool ZbDataSpace::includesSelection(const ZbDataSpace& other) const noexcept
{
    if (m_numDims != other.m_numDims)
        return false;
    for (int dim = 0; dim < m_numDims; ++dim) {
        const long distance = long(other.m_starts[dim]) - m_starts[dim];
        const long stride = m_strides[dim];
        const long otherStride = other.m_strides[dim];
        const long otherSteps = long(other.m_sizes[dim]) - 1;
        if (stride == 0) {  // one index, which other may only repeat
            if (distance != 0 || otherStride != 0 || m_sizes[dim] < 1)
                return false;
            continue;
        }
        if (distance % stride != 0 || otherStride % stride != 0)
            return false;
        const long first = distance / stride;
        const long last = first + otherStride / stride * otherSteps;
        if (first < 0 || first >= m_sizes[dim] || last >= m_sizes[dim] || (otherSteps > 0 && last < 0))
            return false;
    }
    return true;
}

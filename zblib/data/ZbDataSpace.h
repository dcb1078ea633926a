#pragma once

#include <zblib/foundation/ZbExport.h>

template <typename T>
class ZbDArray;

/// An index space of up to ten dimensions, and a hyperslab selected in it: a start, a size and a stride per
/// dimension.
///
/// A plain value, which threads may read at once. It knows nothing of data; ZbMemorySelection binds it to
/// memory. Dimension 0 varies fastest there. Dimensions from numDims() up to maxDims have extent 1, start 0,
/// size 1 and stride 1. Nothing holds a selection inside of the space, so that callers can shift and clip it
/// step by step.
class ZB_API ZbDataSpace
{
public:
    static constexpr int maxDims = 10;

    /// No dimensions: nothing to select.
    ZbDataSpace() noexcept;
    /// Two, three or four dimensions of the given extents, all selected.
    ZbDataSpace(int nx, int ny) noexcept;
    ZbDataSpace(int nx, int ny, int nz) noexcept;
    ZbDataSpace(int nx, int ny, int nz, int nt) noexcept;
    /// One dimension for each extent, all selected. Throws ZbException for more than maxDims.
    explicit ZbDataSpace(const ZbDArray<int>& extents);

    /// Selects the whole space.
    void selectAll() noexcept;
    /// Copies numDims() starts, sizes and strides. Null strides are 1 everywhere.
    void selectHyperslab(const int* starts, const int* sizes, const int* strides = nullptr) noexcept;
    /// Selects in one dimension. Throws ZbException when dim is not in [0, numDims()).
    void setSelection(int dim, int start, int size, int stride);
    /// Moves each start toward zero to the next multiple of its stride. Strides of 0 leave it alone.
    void snapToStrides() noexcept;

    int numDims() const noexcept { return m_numDims; }
    /// The extent of dimension dim of the space; dim is in [0, maxDims), here and below.
    int dims(int dim) const noexcept { return m_dims[dim]; }

    /// Arrays of maxDims.
    const int* selectionStarts() const noexcept { return m_starts; }
    const int* selectionSizes() const noexcept { return m_sizes; }
    const int* selectionStrides() const noexcept { return m_strides; }
    int selectionStart(int dim) const noexcept { return m_starts[dim]; }
    int selectionSize(int dim) const noexcept { return m_sizes[dim]; }
    int selectionStride(int dim) const noexcept { return m_strides[dim]; }
    /// The last selected index.
    long selectionEnd(int dim) const noexcept
    {
        return m_starts[dim] + (long(m_sizes[dim]) - 1) * m_strides[dim];
    }
    /// The product of the selection's sizes, 1 without dimensions. Throws ZbException when it does not fit.
    long selectionElemCount() const;

    /// The position of an index, numDims() values, in a dense block of the whole space:
    /// index[0] + dims[0] * (index[1] + dims[1] * (index[2] + ...)). Throws ZbException when it does not fit.
    long calcOffset(const int* index) const;

    /// Equal extents and selections.
    bool operator==(const ZbDataSpace& other) const noexcept = default;
    /// Equal extents, whatever is selected.
    bool isSameSpace(const ZbDataSpace& other) const noexcept;
    /// True when this selects every element that other selects: in each dimension other starts on an index
    /// selected here, its stride is a multiple of the stride here, and it ends inside. The strides count for
    /// sizes of 1 too. False when the numbers of dimensions differ.
    bool includesSelection(const ZbDataSpace& other) const noexcept;

private:
    void init(const int* dims, int numDims) noexcept;

    int m_numDims = 0;  // in [0, maxDims]
    int m_dims[maxDims];
    int m_starts[maxDims];
    int m_sizes[maxDims];
    int m_strides[maxDims];
};

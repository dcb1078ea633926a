#pragma once

#include <zblib/data/ZbDataPointer.h>
#include <zblib/data/ZbDataSpace.h>

/// A selection of elements in memory: a pointer to the first, and a size and a stride for each of up to ten
/// dimensions.
///
/// A plain value that does not own the data; threads may work on parts that do not overlap. Take it to read or
/// write a part of a volume, element by element in order (get(), put()) or against another part (copyFrom());
/// dimension 0 runs fastest. Selections without dimensions, or with a size below 1, are empty. Selections are
/// const like pointers are, and no operation looks at isReadOnly().
///
///     const ZbDataSpace space(nx, ny, nz);
///     ZbDataSpace slice = space;
///     slice.setSelection(2, z, 1, 1);
///     ZbMemorySelection(voxels, slice).get(0, long(nx) * ny, image);
class ZB_API ZbMemorySelection : public ZbDataPointer
{
public:
    static constexpr int maxDims = ZbDataSpace::maxDims;

    /// Empty, on a default ZbDataPointer.
    ZbMemorySelection() noexcept;
    /// What space selects of the dense block of the whole space whose element with index 0 is at data.
    /// Throws ZbException when offsets do not fit 64 bits, here and below.
    ZbMemorySelection(const ZbDataPointer& data, const ZbDataSpace& space);
    /// What sub selects of the index space of space, where memory holds what space selects.
    ///
    /// space includes sub (ZbDataSpace::includesSelection()) and has the dimensions of memory.
    ZbMemorySelection(const ZbDataSpace& sub, const ZbDataSpace& space, const ZbMemorySelection& memory);
    /// data is the first element; sizes and strides as for init().
    ZbMemorySelection(const ZbDataPointer& data, int numDims, const int* sizes,
                      const long* strides = nullptr);

    /// Takes numDims sizes and strides (in elements). Null strides make the selection dense: each is the
    /// product of the sizes below. Throws ZbException for more than maxDims.
    void init(int numDims, const int* sizes, const long* strides = nullptr);

    int numDims() const noexcept { return m_numDims; }
    /// dim is in [0, maxDims); dimensions from numDims() on have size 1 and stride 0.
    int selectionSize(int dim) const noexcept { return m_sizes[dim]; }
    /// In elements.
    long selectionStride(int dim) const noexcept { return m_strides[dim]; }
    /// The product of the sizes, 0 without dimensions. Throws ZbException when it does not fit 64 bits.
    long selectionElemCount() const;

    /// Reads count selected elements from number start on, in order, into buffer, densely.
    ///
    /// Stops at the end of the selection; a negative start or count reads nothing. Returns the number of
    /// elements read. The buffer may not overlap the data. Throws ZbException when the selection has too many
    /// levels for a ZbBytePattern, as put() and copyFrom() do.
    long long get(long long start, long long count, void* buffer) const;
    /// Writes count elements from buffer to the selected ones from number start on: the reverse of get().
    long long put(long long start, long long count, const void* buffer) const;

    /// Copies the elements that other selects to those selected here, in order, until either side ends.
    ///
    /// The elements of both sides have the same number of bytes. Both may be parts of the same memory: the
    /// result is as if all were read first.
    void copyFrom(const ZbMemorySelection& other) const;

private:
    void advance(long numElements);

    int m_numDims = 0;
    int m_sizes[maxDims];
    long m_strides[maxDims];
};

#pragma once

#include <zblib/foundation/ZbExport.h>

class ZbRawData2D;

/// A volume of elements of any size: dense, x varying fastest; with memory of its own, or a view of foreign
/// memory.
///
/// Element (x, y, z) lies at data + getOffset(x, y, z) * element size. Owned memory comes from zbmalloc(),
/// which throws ZbMemoryException; the block is empty then. Sizes whose product does not fit throw too, and
/// leave the block as it is. Sizes are at least 0; coordinates are not checked. A value: copies of an owner are
/// deep, and where there is no memory for one, nothing has changed; copies of a view are views of the same
/// memory. Different threads may use different blocks.
class ZB_API ZbRawData3D
{
public:
    /// The axis that stays fixed in a slice: YZ fixes x, XZ fixes y, XY fixes z.
    enum Orientation : int { YZ = 0, XZ = 1, XY = 2 };

    ZbRawData3D() noexcept = default;
    /// Each constructor does what init() with the same arguments does.
    ZbRawData3D(int nx, int ny, int nz, int elementSize) { init(nx, ny, nz, elementSize); }
    ZbRawData3D(int nx, int ny, int nz, int elementSize, void* data) { init(nx, ny, nz, elementSize, data); }
    ZbRawData3D(const ZbRawData3D& other);
    ZbRawData3D& operator=(const ZbRawData3D& other);
    ZbRawData3D(ZbRawData3D&& other) noexcept { swap(other); }
    ZbRawData3D& operator=(ZbRawData3D&& other) noexcept;
    ~ZbRawData3D();
    void swap(ZbRawData3D& other) noexcept;

    /// Owned memory, uninitialised.
    void init(int nx, int ny, int nz, int elementSize);
    /// A view of data.
    void init(int nx, int ny, int nz, int elementSize, void* data);
    /// Takes over data, which comes from zbmalloc().
    void commit(int nx, int ny, int nz, int elementSize, void* data);
    /// Owned memory of other sizes and the same element size. The contents are not kept.
    void resize(int nx, int ny, int nz);
    /// Frees owned memory; the block is empty afterwards.
    void cleanup();
    /// Exchanges the data with that of the caller, of the same size. A block that owns its memory owns the
    /// new one afterwards, and the caller the old one; both come from zbmalloc() then.
    void swapDataPtr(void*& data) noexcept;

    int sizeX() const noexcept { return m_dims[0]; }
    int sizeY() const noexcept { return m_dims[1]; }
    int sizeZ() const noexcept { return m_dims[2]; }
    /// The three sizes.
    const int* getDims() const noexcept { return m_dims; }
    int getElemSize() const noexcept { return m_elementSize; }
    long getNumElems() const noexcept { return static_cast<long>(m_dims[0]) * m_dims[1] * m_dims[2]; }
    /// True if the block owns its memory.
    bool isLocal() const noexcept { return m_owned != nullptr; }

    void* dataPtr() noexcept { return m_data; }
    const void* dataPtr() const noexcept { return m_data; }
    void* address(int x, int y, int z) noexcept
    {
        return static_cast<char*>(m_data) + getOffset(x, y, z) * m_elementSize;
    }
    const void* address(int x, int y, int z) const noexcept
    {
        return static_cast<const char*>(m_data) + getOffset(x, y, z) * m_elementSize;
    }
    /// In elements, from the first one.
    long getOffset(int x, int y, int z) const noexcept
    {
        return (static_cast<long>(z) * m_dims[1] + y) * m_dims[0] + x;
    }

    // ---- slices

    /// The offset of pixel (i, j) of slice k.
    ///
    /// The exact rule is ny * k + j lines and i for XY; for XZ it is (k + ny * j) lines and i; for YZ it is
    /// i + ny * j lines and k. A line is nx elements.
    long getOffset(int i, int j, int k, Orientation orientation) const noexcept;
    /// The two sizes of a slice, and the number of slices.
    void getDims(Orientation orientation, int& sizeI, int& sizeJ, int& numSlices) const noexcept;
    void getDims(int* dims, Orientation orientation) const noexcept;

    /// Where slice index lies: its first element, and the bytes from one pixel and one line to the next.
    void accessSlice(Orientation orientation, int index, void*& first, int& pixelStep,
                     unsigned long long& lineStep) noexcept;
    /// Makes out a view of slice index; or, with copy, copies the slice into the dense buffer of out, which
    /// has the size of the slice. A view lives no longer than the memory of this block. Of YZ slices of lines of
    /// 2 GiB and more there are only copies: a view of one is empty.
    void getSlice(Orientation orientation, int index, ZbRawData2D& out, bool copy = false);
    /// Writes a slice, of any steps, back. Nothing happens unless it has the size of the slices there.
    void putSlice(Orientation orientation, int index, const ZbRawData2D& slice);

    /// Copies sub into this block, its first element to (x0, y0, z0).
    ///
    /// 1 on success, 0 when sub reaches beyond this block, -1 when the element sizes differ; only on success
    /// anything is copied.
    int replaceSubvolume(int x0, int y0, int z0, const ZbRawData3D& sub);

    /// Zeroes the data.
    void clear();

private:
    bool isStepAnInt(Orientation orientation) const noexcept;
    unsigned long numBytes() const noexcept;

    int m_dims[3] = {0, 0, 0};
    int m_elementSize = 0;
    void* m_data = nullptr;
    void* m_owned = nullptr;  // m_data, or null for a view
};

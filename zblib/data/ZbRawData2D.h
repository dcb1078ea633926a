#pragma once

#include <zblib/foundation/ZbExport.h>

/// An image of elements of any size: a dense buffer of its own, or a view of foreign memory with any steps
/// between its pixels, such as a slice of a volume.
///
/// Pixel (x, y) lies at data + y * bytes per line + x * bytes per pixel. An owned buffer comes from malloc();
/// where there is no memory for one, the data pointer is null. Sizes whose product does not fit throw
/// ZbMemoryException and leave the block as it is. Sizes are at least 0; coordinates are not
/// checked. A value: copies of an owner are deep, copies of a view are views of the same memory. Different
/// threads may use different blocks.
class ZB_API ZbRawData2D
{
public:
    ZbRawData2D() noexcept = default;
    /// Each constructor does what init() with the same arguments does.
    ZbRawData2D(int nx, int ny, int elementSize) { init(nx, ny, elementSize); }
    ZbRawData2D(int nx, int ny, int elementSize, void* data) { init(nx, ny, elementSize, data); }
    ZbRawData2D(int nx, int ny, int elementSize, unsigned long long bytesPerLine, void* data)
    {
        init(nx, ny, elementSize, bytesPerLine, data);
    }
    ZbRawData2D(int nx, int ny, int elementSize, int bytesPerPixel, unsigned long long bytesPerLine,
                void* data)
    {
        init(nx, ny, elementSize, bytesPerPixel, bytesPerLine, data);
    }
    ZbRawData2D(const ZbRawData2D& other) { *this = other; }
    ZbRawData2D(ZbRawData2D&& other) noexcept { swap(other); }
    ~ZbRawData2D();

    ZbRawData2D& operator=(const ZbRawData2D& other);
    ZbRawData2D& operator=(ZbRawData2D&& other) noexcept;
    void swap(ZbRawData2D& other) noexcept;

    /// An owned dense buffer, uninitialised.
    void init(int nx, int ny, int elementSize);
    /// A view of dense data.
    void init(int nx, int ny, int elementSize, void* data);
    /// A view whose lines start bytesPerLine apart.
    void init(int nx, int ny, int elementSize, unsigned long long bytesPerLine, void* data);
    /// A view whose pixels start bytesPerPixel apart as well.
    void init(int nx, int ny, int elementSize, int bytesPerPixel, unsigned long long bytesPerLine,
              void* data);
    /// Takes over dense data, which comes from malloc().
    void commit(int nx, int ny, int elementSize, void* data);
    /// Frees an owned buffer; the block is empty afterwards.
    void cleanup();

    int sizeX() const noexcept { return m_dims[0]; }
    int sizeY() const noexcept { return m_dims[1]; }
    /// The two sizes.
    const int* dims() const noexcept { return m_dims; }
    int getElemSize() const noexcept { return m_elementSize; }
    int getBytesPerPixel() const noexcept { return m_bytesPerPixel; }
    unsigned long long getBytesPerLine() const noexcept { return m_bytesPerLine; }

    void* dataPtr() noexcept { return m_data; }
    const void* dataPtr() const noexcept { return m_data; }
    void* address(int x, int y) noexcept { return static_cast<char*>(m_data) + offset(x, y); }
    const void* address(int x, int y) const noexcept
    {
        return static_cast<const char*>(m_data) + offset(x, y);
    }

    /// True if the pixels lie one behind the other.
    bool isContiguous() const noexcept;
    /// True if the block owns its memory.
    bool isLocal() const noexcept { return m_owned != nullptr; }

    /// Makes a view an owner of a dense copy. Without memory for it the block is left without data.
    void makeLocal();
    /// Copies the pixels of other into this block's memory, as many rows as both have. False, and nothing is
    /// copied, when row lengths or element sizes differ.
    bool copyData(const ZbRawData2D& other);
    /// Zeroes the pixels.
    void clear();

private:
    bool isEvenlySpaced() const noexcept;
    long offset(int x, int y) const noexcept
    {
        return y * static_cast<long>(m_bytesPerLine) + x * static_cast<long>(m_bytesPerPixel);
    }

    int m_dims[2] = {0, 0};
    int m_elementSize = 0;
    int m_bytesPerPixel = 0;
    unsigned long long m_bytesPerLine = 0;
    void* m_data = nullptr;
    void* m_owned = nullptr;  // m_data, or null for a view
};

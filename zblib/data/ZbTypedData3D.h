#pragma once

#include <zblib/data/ZbRawData3D.h>
#include <zblib/types/ZbTypedPointer.h>

/// A volume whose elements have a primitive type and a number of components, which lie side by side.
///
/// The element size of the block is the size of the type times the number of components. Memory is owned,
/// viewed, copied and moved as by ZbRawData3D. Sizes are at least 0, components at least 1, and the type is one
/// of the twelve. Different threads may use different blocks.
class ZB_API ZbTypedData3D : public ZbRawData3D
{
public:
    /// Empty, of BYTE.
    ZbTypedData3D() noexcept = default;
    /// Each constructor does what init() with the same arguments does.
    ZbTypedData3D(int nx, int ny, int nz, ZbPrimType type, int components = 1)
    {
        init(nx, ny, nz, type, components);
    }
    ZbTypedData3D(int nx, int ny, int nz, ZbPrimType type, int components, void* data)
    {
        init(nx, ny, nz, type, components, data);
    }
    void swap(ZbTypedData3D& other) noexcept;

    /// Owned memory, uninitialised.
    void init(int nx, int ny, int nz, ZbPrimType type, int components = 1);
    /// A view of data. Null is legal: the block has sizes then, and no memory.
    void init(int nx, int ny, int nz, ZbPrimType type, int components, void* data);
    /// Takes over data, which comes from zbmalloc().
    void commit(int nx, int ny, int nz, ZbPrimType type, int components, void* data);

    ZbPrimType primType() const noexcept { return m_type; }
    int numComponents() const noexcept { return m_components; }
    /// The data with its type: getNumElems() * numComponents() values.
    ZbTypedPointer typedPointer() noexcept { return ZbTypedPointer(dataPtr(), m_type); }

private:
    ZbPrimType m_type;
    int m_components = 1;
};

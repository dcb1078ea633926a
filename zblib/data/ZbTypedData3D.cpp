#include <zblib/data/ZbTypedData3D.h>

#include <zblib/data/ZbBlockBytes.h>

#include <utility>

void ZbTypedData3D::swap(ZbTypedData3D& other) noexcept
{
    ZbRawData3D::swap(other);
    std::swap(m_type, other.m_type);
    std::swap(m_components, other.m_components);
}

void ZbTypedData3D::init(int nx, int ny, int nz, ZbPrimType type, int components)
{
    ZbRawData3D::init(nx, ny, nz, ZbDetail::elementBytes(type.size(), components));
    m_type = type;
    m_components = components;
}

void ZbTypedData3D::init(int nx, int ny, int nz, ZbPrimType type, int components, void* data)
{
    ZbRawData3D::init(nx, ny, nz, ZbDetail::elementBytes(type.size(), components), data);
    m_type = type;
    m_components = components;
}

void ZbTypedData3D::commit(int nx, int ny, int nz, ZbPrimType type, int components, void* data)
{
    ZbRawData3D::commit(nx, ny, nz, ZbDetail::elementBytes(type.size(), components), data);
    m_type = type;
    m_components = components;
}

#include <zblib/data/ZbRawData3D.h>

#include <zblib/data/ZbBlockBytes.h>
#include <zblib/data/ZbRawData2D.h>
#include <zblib/foundation/ZbLargeBlock.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

ZbRawData3D::~ZbRawData3D()
{
    zbfree(m_owned);
}

ZbRawData3D::ZbRawData3D(const ZbRawData3D& other)
{
    if (other.isLocal()) {
        init(other.sizeX(), other.sizeY(), other.sizeZ(), other.getElemSize());
        if (const unsigned long bytes = numBytes())
            std::memcpy(m_data, other.m_data, bytes);
    } else {
        init(other.sizeX(), other.sizeY(), other.sizeZ(), other.getElemSize(), other.m_data);
    }
}

ZbRawData3D& ZbRawData3D::operator=(const ZbRawData3D& other)
{
    ZbRawData3D(other).swap(*this);
    return *this;
}

ZbRawData3D& ZbRawData3D::operator=(ZbRawData3D&& other) noexcept
{
    ZbRawData3D(std::move(other)).swap(*this);
    return *this;
}

void ZbRawData3D::swap(ZbRawData3D& other) noexcept
{
    std::swap(m_dims, other.m_dims);
    std::swap(m_elementSize, other.m_elementSize);
    std::swap(m_data, other.m_data);
    std::swap(m_owned, other.m_owned);
}

void ZbRawData3D::init(int nx, int ny, int nz, int elementSize)
{
    const unsigned long bytes = ZbDetail::requireBlockBytes({nx, ny, nz, elementSize});
    cleanup();  // before the new memory is asked for: there may be enough for one of them only
    commit(nx, ny, nz, elementSize, ZbDetail::allocateLarge(bytes));
}

void ZbRawData3D::init(int nx, int ny, int nz, int elementSize, void* data)
{
    cleanup();
    m_dims[0] = nx;
    m_dims[1] = ny;
    m_dims[2] = nz;
    m_elementSize = elementSize;
    m_data = data;
}

void ZbRawData3D::commit(int nx, int ny, int nz, int elementSize, void* data)
{
    if (data == m_owned)  // the same memory, with other sizes
        m_owned = nullptr;
    init(nx, ny, nz, elementSize, data);
    m_owned = data;
}

void ZbRawData3D::resize(int nx, int ny, int nz)
{
    init(nx, ny, nz, m_elementSize);
}

void ZbRawData3D::cleanup()
{
    zbfree(m_owned);
    m_owned = nullptr;
    m_data = nullptr;
    m_dims[0] = m_dims[1] = m_dims[2] = 0;
    m_elementSize = 0;
}

void ZbRawData3D::swapDataPtr(void*& data) noexcept
{
    const bool local = isLocal();
    std::swap(m_data, data);
    m_owned = local ? m_data : nullptr;
}

long ZbRawData3D::getOffset(int i, int j, int k, Orientation orientation) const noexcept
{
    switch (orientation) {
    case YZ:
        return getOffset(k, i, j);
    case XZ:
        return getOffset(i, k, j);
    case XY:
        return getOffset(i, j, k);
    }
    return 0;
}

void ZbRawData3D::getDims(Orientation orientation, int& sizeI, int& sizeJ, int& numSlices) const noexcept
{
    sizeI = orientation == YZ ? m_dims[1] : m_dims[0];
    sizeJ = orientation == XY ? m_dims[1] : m_dims[2];
    numSlices = m_dims[orientation];
}

void ZbRawData3D::getDims(int* dims, Orientation orientation) const noexcept
{
    getDims(orientation, dims[0], dims[1], dims[2]);
}

void ZbRawData3D::accessSlice(Orientation orientation, int index, void*& first, int& pixelStep,
                              unsigned long long& lineStep) noexcept
{
    const unsigned long long line =
        static_cast<unsigned long long>(m_dims[0]) * static_cast<unsigned>(m_elementSize);
    first = static_cast<char*>(m_data) + getOffset(0, 0, index, orientation) * m_elementSize;
    pixelStep = orientation == YZ ? static_cast<int>(line) : m_elementSize;
    lineStep = orientation == XY ? line : line * static_cast<unsigned>(m_dims[1]);
}

// Whether a view can step from pixel to pixel of a slice: those of YZ are a line apart.
bool ZbRawData3D::isStepAnInt(Orientation orientation) const noexcept
{
    return orientation != YZ || ZbDetail::blockBytes({m_dims[0], m_elementSize}) <= INT_MAX;
}

void ZbRawData3D::getSlice(Orientation orientation, int index, ZbRawData2D& out, bool copy)
{
    int sizeI, sizeJ, numSlices, pixelStep;
    void* first;
    unsigned long long lineStep;
    getDims(orientation, sizeI, sizeJ, numSlices);
    accessSlice(orientation, index, first, pixelStep, lineStep);
    if (!isStepAnInt(orientation) && !copy)
        out.init(0, 0, m_elementSize, nullptr);
    else if (!isStepAnInt(orientation) && out.sizeX() == sizeI && out.getElemSize() == m_elementSize)
        for (long pixel = 0; pixel < long(sizeI) * std::min(sizeJ, out.sizeY()); ++pixel) {
            const int i = int(pixel % sizeI), j = int(pixel / sizeI);
            std::memmove(out.address(i, j), address(index, i, j), size_t(m_elementSize));
        }
    else if (copy)
        out.copyData(ZbRawData2D(sizeI, sizeJ, m_elementSize, pixelStep, lineStep, first));
    else
        out.init(sizeI, sizeJ, m_elementSize, pixelStep, lineStep, first);
}

void ZbRawData3D::putSlice(Orientation orientation, int index, const ZbRawData2D& slice)
{
    int sizeI, sizeJ, numSlices, pixelStep;
    void* first;
    unsigned long long lineStep;
    getDims(orientation, sizeI, sizeJ, numSlices);
    if (sizeI != slice.sizeX() || sizeJ != slice.sizeY() || m_elementSize != slice.getElemSize())
        return;
    accessSlice(orientation, index, first, pixelStep, lineStep);
    if (!isStepAnInt(orientation))
        for (long pixel = 0; pixel < long(sizeI) * sizeJ; ++pixel) {
            const int i = int(pixel % sizeI), j = int(pixel / sizeI);
            std::memmove(address(index, i, j), slice.address(i, j), size_t(m_elementSize));
        }
    else
        ZbRawData2D(sizeI, sizeJ, m_elementSize, pixelStep, lineStep, first).copyData(slice);
}

int ZbRawData3D::replaceSubvolume(int x0, int y0, int z0, const ZbRawData3D& sub)
{
    const int corner[3] = {x0, y0, z0};
    for (int k = 0; k < 3; ++k)
        if (corner[k] < 0 || static_cast<long>(corner[k]) + sub.m_dims[k] > m_dims[k])
            return 0;
    if (sub.m_elementSize != m_elementSize)
        return -1;
    if (sub.getNumElems() == 0)
        return 1;
    const unsigned long rowBytes = ZbDetail::blockBytes({sub.m_dims[0], m_elementSize});
    for (int z = 0; z < sub.m_dims[2]; ++z)
        for (int y = 0; y < sub.m_dims[1]; ++y)
            std::memmove(address(x0, y0 + y, z0 + z), sub.address(0, y, z), rowBytes);
    return 1;
}

void ZbRawData3D::clear()
{
    if (m_data)
        std::memset(m_data, 0, numBytes());
}

unsigned long ZbRawData3D::numBytes() const noexcept
{
    return ZbDetail::blockBytes({m_dims[0], m_dims[1], m_dims[2], m_elementSize});
}

#include <zblib/data/ZbRawData2D.h>

#include <zblib/data/ZbBlockBytes.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

namespace
{

constexpr long cacheLine = 64;

// Calls copy(target, source) for each of count pairs of pixels. Places to write that are far apart are asked for
// beforehand: each store would wait for its own. Loads do not gain by that.
template <typename Copy>
void forEachPixel(char* target, long targetStep, const char* source, long sourceStep, long count, Copy&& copy)
{
    constexpr long ahead = 16;
    long x = 0;
    if (targetStep >= cacheLine) {
        for (; x < count - ahead; ++x) {
            __builtin_prefetch(target + (x + ahead) * targetStep, 1);
            copy(target + x * targetStep, source + x * sourceStep);
        }
    }
    for (; x < count; ++x)
        copy(target + x * targetStep, source + x * sourceStep);
}

// memmove: a slice may be written back to where it is a view of.
void copyRow(char* target, long targetStep, const char* source, long sourceStep, long count, int elementSize)
{
    if (targetStep == elementSize && sourceStep == elementSize) {
        std::memmove(target, source, static_cast<size_t>(count * elementSize));
        return;
    }
    const auto copyAll = [&](auto size) {
        forEachPixel(target, targetStep, source, sourceStep, count,
                     [=](char* to, const char* from) { std::memmove(to, from, size); });
    };
    switch (elementSize) {  // sizes that the compiler knows are single moves
    case 1:
        return copyAll(std::integral_constant<size_t, 1>());
    case 2:
        return copyAll(std::integral_constant<size_t, 2>());
    case 4:
        return copyAll(std::integral_constant<size_t, 4>());
    case 8:
        return copyAll(std::integral_constant<size_t, 8>());
    default:
        return copyAll(static_cast<size_t>(elementSize));
    }
}

}  // namespace

ZbRawData2D::~ZbRawData2D()
{
    std::free(m_owned);
}

void ZbRawData2D::swap(ZbRawData2D& other) noexcept
{
    std::swap(m_dims, other.m_dims);
    std::swap(m_elementSize, other.m_elementSize);
    std::swap(m_bytesPerPixel, other.m_bytesPerPixel);
    std::swap(m_bytesPerLine, other.m_bytesPerLine);
    std::swap(m_data, other.m_data);
    std::swap(m_owned, other.m_owned);
}

ZbRawData2D& ZbRawData2D::operator=(const ZbRawData2D& other)
{
    if (this == &other)
        return *this;
    if (other.isLocal()) {
        init(other.sizeX(), other.sizeY(), other.getElemSize());
        if (m_data)
            copyData(other);
    } else {
        init(other.sizeX(), other.sizeY(), other.getElemSize(), other.getBytesPerPixel(),
             other.getBytesPerLine(), other.m_data);
    }
    return *this;
}

ZbRawData2D& ZbRawData2D::operator=(ZbRawData2D&& other) noexcept
{
    ZbRawData2D(std::move(other)).swap(*this);
    return *this;
}

void ZbRawData2D::init(int nx, int ny, int elementSize)
{
    const unsigned long bytes = ZbDetail::requireBlockBytes({nx, ny, elementSize});
    cleanup();  // before the new buffer is asked for: there may be memory for one of them only
    commit(nx, ny, elementSize, bytes == 0 ? nullptr : std::malloc(bytes));
}

void ZbRawData2D::init(int nx, int ny, int elementSize, void* data)
{
    init(nx, ny, elementSize, ZbDetail::blockBytes({nx, elementSize}), data);
}

void ZbRawData2D::init(int nx, int ny, int elementSize, unsigned long long bytesPerLine, void* data)
{
    init(nx, ny, elementSize, elementSize, bytesPerLine, data);
}

void ZbRawData2D::init(int nx, int ny, int elementSize, int bytesPerPixel, unsigned long long bytesPerLine,
                       void* data)
{
    cleanup();
    m_dims[0] = nx;
    m_dims[1] = ny;
    m_elementSize = elementSize;
    m_bytesPerPixel = bytesPerPixel;
    m_bytesPerLine = bytesPerLine;
    m_data = data;
}

void ZbRawData2D::commit(int nx, int ny, int elementSize, void* data)
{
    if (data == m_owned)  // the same memory, with other sizes
        m_owned = nullptr;
    init(nx, ny, elementSize, data);
    m_owned = data;
}

void ZbRawData2D::cleanup()
{
    std::free(m_owned);
    m_owned = nullptr;
    m_data = nullptr;
    m_dims[0] = m_dims[1] = 0;
    m_elementSize = m_bytesPerPixel = 0;
    m_bytesPerLine = 0;
}

// The pixels of all lines are one row. So are those of a slice across the rows of a volume.
bool ZbRawData2D::isEvenlySpaced() const noexcept
{
    return m_bytesPerPixel > 0 && m_bytesPerLine == ZbDetail::blockBytes({m_dims[0], m_bytesPerPixel});
}

bool ZbRawData2D::isContiguous() const noexcept
{
    return m_bytesPerPixel == m_elementSize &&
           m_bytesPerLine == ZbDetail::blockBytes({m_dims[0], m_elementSize});
}

void ZbRawData2D::makeLocal()
{
    if (isLocal())
        return;
    ZbRawData2D dense(m_dims[0], m_dims[1], m_elementSize);
    if (dense.m_data)
        dense.copyData(*this);
    swap(dense);
}

bool ZbRawData2D::copyData(const ZbRawData2D& other)
{
    if (m_dims[0] != other.m_dims[0] || m_elementSize != other.m_elementSize)
        return false;
    const int rows = std::min(m_dims[1], other.m_dims[1]);
    if (m_dims[0] <= 0 || rows <= 0)
        return true;
    if (isContiguous() && other.isContiguous()) {
        std::memmove(m_data, other.m_data, ZbDetail::blockBytes({m_dims[0], rows, m_elementSize}));
        return true;
    }
    if (isEvenlySpaced() && other.isEvenlySpaced()) {
        copyRow(static_cast<char*>(m_data), m_bytesPerPixel, static_cast<const char*>(other.m_data),
                other.m_bytesPerPixel, static_cast<long>(m_dims[0]) * rows, m_elementSize);
        return true;
    }
    // The next rows are on their way while one is copied; the processor cannot know where they are.
    const long ahead = m_bytesPerPixel == m_elementSize && other.m_bytesPerPixel == m_elementSize
                           ? std::min(static_cast<long>(m_dims[0]) * m_elementSize, 2048L)
                           : 0;
    for (int y = 0; y < rows; ++y) {
        for (long byte = 0; byte < ahead && y + 1 < rows; byte += cacheLine) {
            __builtin_prefetch(static_cast<const char*>(other.address(0, y + 1)) + byte);
            __builtin_prefetch(static_cast<char*>(address(0, y + 1)) + byte, 1);
        }
        copyRow(static_cast<char*>(address(0, y)), m_bytesPerPixel,
                static_cast<const char*>(other.address(0, y)), other.m_bytesPerPixel, m_dims[0],
                m_elementSize);
    }
    return true;
}

void ZbRawData2D::clear()
{
    if (!m_data)
        return;
    for (int y = 0; y < m_dims[1]; ++y) {
        if (m_bytesPerPixel == m_elementSize) {
            std::memset(address(0, y), 0, ZbDetail::blockBytes({m_dims[0], m_elementSize}));
        } else {
            for (int x = 0; x < m_dims[0]; ++x)
                std::memset(address(x, y), 0, static_cast<size_t>(m_elementSize));
        }
    }
}

#include <zblib/imaging/ZbMorphologyRules.h>
#include <zblib/system/ZbWatch.h>

#include <algorithm>

namespace ZbDetail
{
namespace
{

/// Calls visit(x, y, z, i) for every voxel, in the order of the bits.
template <typename Visit>
void forEachVoxel(const ZbVec3i& dims, Visit visit)
{
    unsigned long i = 0;
    for (int z = 0; z < dims.z; ++z)
        for (int y = 0; y < dims.y; ++y)
            for (int x = 0; x < dims.x; ++x)
                visit(x, y, z, i++);
}

/// Whether one of the eight neighbours inside the image has this value.
bool hasNeighbour8(const ZbBitfield& src, const ZbVec2i& dims, int x, int y, bool value)
{
    for (int v = std::max(y, 1) - 1; v <= y + 1 && v < dims.y; ++v)
        for (int u = std::max(x, 1) - 1; u <= x + 1 && u < dims.x; ++u)
            if ((u != x || v != y) &&
                (src[(unsigned long)(u) + (unsigned long)(dims.x) * (unsigned long)(v)] != 0) == value)
                return true;
    return false;
}

}  // namespace

void erodeBitfieldSlow(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, bool alongZ, bool alongY,
                       bool alongX, const ZbBitfield* protect)
{
    const ZbWatch watch;
    const auto row = (unsigned long)(dims.x);
    const unsigned long slice = row * (unsigned long)(dims.y);
    forEachVoxel(dims, [&](int x, int y, int z, unsigned long i) {
        const auto touchesClear = [&] {
            return (alongX && ((x > 0 && !src[i - 1]) || (x < dims.x - 1 && !src[i + 1]))) ||
                   (alongY && ((y > 0 && !src[i - row]) || (y < dims.y - 1 && !src[i + row]))) ||
                   (alongZ && ((z > 0 && !src[i - slice]) || (z < dims.z - 1 && !src[i + slice])));
        };
        dst.set(i, src[i] && ((protect && (*protect)[i]) || !touchesClear()));
    });
}

void dilateBitfieldSlow(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims)
{
    const ZbWatch watch;
    const auto row = (unsigned long)(dims.x);
    const unsigned long slice = row * (unsigned long)(dims.y);
    forEachVoxel(dims, [&](int x, int y, int z, unsigned long i) {
        dst.set(i, src[i] || (x > 0 && src[i - 1]) || (x < dims.x - 1 && src[i + 1]) ||
                       (y > 0 && src[i - row]) || (y < dims.y - 1 && src[i + row]) ||
                       (z > 0 && src[i - slice]) || (z < dims.z - 1 && src[i + slice]));
    });
}

void erodeBitfieldSlow2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    const ZbWatch watch;
    forEachVoxel(ZbVec3i(dims.x, dims.y, 1), [&](int x, int y, int, unsigned long i) {
        dst.set(i, src[i] && !hasNeighbour8(src, dims, x, y, false));
    });
}

void dilateBitfieldSlow2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    const ZbWatch watch;
    forEachVoxel(ZbVec3i(dims.x, dims.y, 1), [&](int x, int y, int, unsigned long i) {
        dst.set(i, src[i] || hasNeighbour8(src, dims, x, y, true));
    });
}

}  // namespace ZbDetail

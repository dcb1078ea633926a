#include <zblib/imaging/ZbMorphology.h>

#include <zblib/foundation/ZbAssert.h>
#include <zblib/imaging/ZbGridSize.h>
#include <zblib/imaging/ZbMorphologyRules.h>

#include <oneapi/tbb/parallel_for.h>

#include <atomic>

using namespace ZbDetail;

namespace
{

/// Gives dst the size of the grid and tells whether there are voxels at all.
bool prepare(const ZbBitfield& src, ZbBitfield& dst, const GridSize& size)
{
    const auto n = (unsigned long)(size.numVoxels());
    ZB_REQUIRE(&src != &dst);
    ZB_REQUIRE(src.nBits() == n);
    if (dst.nBits() != n)
        dst.resize(n, ZbBitfield::INIT_UNSET);
    return n > 0;
}

/// Calls make(from, to, steps) until all iterations have been made, with what it has made as its next source. At most
/// atOnce steps a call. The last call writes dst.
template <typename Make>
void iterate(const ZbBitfield& src, ZbBitfield& dst, int iterations, int atOnce, Make make)
{
    if (iterations < 1) {
        dst = src;
        return;
    }
    int numPasses = (iterations - 1) / atOnce + 1;
    ZbBitfield other;
    if (numPasses > 1) {
        other.resize(dst.nBits(), ZbBitfield::INIT_NONE);
        other.dataPtr()[other.memSize() / 4 - 1] = 0;  // what no voxel writes is read in places
    }
    const ZbBitfield* from = &src;
    for (; numPasses > 0; --numPasses) {
        ZbBitfield& to = numPasses % 2 != 0 ? dst : other;
        const int steps = (iterations - 1) / numPasses + 1;
        make(*from, to, steps);
        iterations -= steps;
        from = &to;
    }
}

bool isWholeWords(int nx)
{
    return nx % 32 == 0;
}

ZbVec3i inSpace(const ZbVec2i& dims)
{
    return ZbVec3i(dims.x, dims.y, 1);
}

}  // namespace

void ZbMorphology::erosion3D(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, int iterations,
                             bool alongZ, bool alongY, bool alongX, const ZbBitfield* protect)
{
    ZB_REQUIRE(!protect || (protect != &dst && protect->nBits() == src.nBits()));
    if (!prepare(src, dst, GridSize(dims.x, dims.y, dims.z)))
        return;
    if (dims.x < 32) {
        iterate(src, dst, iterations, 1, [&](const ZbBitfield& from, ZbBitfield& to, int) {
            erodeBitfieldSlow(from, to, dims, alongZ, alongY, alongX, protect);
        });
        return;
    }
    const ZbVec3i grid = asRows(dims);
    if (grid.z != dims.z) {
        alongZ = alongY;
        alongY = false;
    }
    const int atOnce = stepsInOnePass(grid, iterations);
    iterate(src, dst, iterations, atOnce, [&](const ZbBitfield& from, ZbBitfield& to, int steps) {
        // Several steps at once compute some slices around their range as well.
        const auto grain = steps > 1 ? 8ul * (unsigned long)(steps) : 1ul;
        // The loop orders all of this by itself, but within oneTBB, which ThreadSanitizer does not see into.
        std::atomic<int> begun = 0, ended = 0;
        begun.store(1, std::memory_order_release);
        tbb::parallel_for(SliceRange(0, (unsigned long)(grid.z), grain), [&](const SliceRange& slices) {
            begun.load(std::memory_order_acquire);
            if (isWholeWords(grid.x))
                erodeBitfieldRegionFast(from, to, grid, slices, alongZ, alongY, alongX, protect, steps);
            else
                erodeBitfieldRegionFastGeneral(from, to, grid, slices, alongZ, alongY, alongX, protect,
                                               steps);
            ended.fetch_add(1, std::memory_order_release);
        });
        ended.load(std::memory_order_acquire);
    });
}

void ZbMorphology::dilation3D(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, int iterations)
{
    if (!prepare(src, dst, GridSize(dims.x, dims.y, dims.z)))
        return;
    const int atOnce = dims.x < 32 ? 1 : stepsInOnePass(asRows(dims), iterations);
    iterate(src, dst, iterations, atOnce, [&](const ZbBitfield& from, ZbBitfield& to, int steps) {
        if (dims.x < 32)
            dilateBitfieldSlow(from, to, dims);
        else if (isWholeWords(dims.x))
            dilateBitfieldFast(from, to, dims, steps);
        else
            dilateBitfieldFastGeneral(from, to, dims, steps);
    });
}

void ZbMorphology::erosion2D_4(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    if (!prepare(src, dst, GridSize(dims.x, dims.y, 1)))
        return;
    if (dims.x < 32)
        erodeBitfieldSlow(src, dst, inSpace(dims), true, true, true, nullptr);
    else if (isWholeWords(dims.x))
        erodeBitfieldRegionFast(src, dst, inSpace(dims), SliceRange(0, 1), true, true, true);
    else
        erodeBitfieldFastGeneral(src, dst, inSpace(dims), true, true, true, nullptr);
}

void ZbMorphology::dilation2D_4(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    dilation3D(src, dst, inSpace(dims), 1);
}

void ZbMorphology::erosion2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    if (!prepare(src, dst, GridSize(dims.x, dims.y, 1)))
        return;
    if (dims.x < 32)
        erodeBitfieldSlow2D_8(src, dst, dims);
    else if (isWholeWords(dims.x))
        erodeBitfieldFast2D_8(src, dst, dims);
    else
        erodeBitfieldFastGeneral2D_8(src, dst, dims);
}

void ZbMorphology::dilation2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    if (!prepare(src, dst, GridSize(dims.x, dims.y, 1)))
        return;
    if (dims.x < 32)
        dilateBitfieldSlow2D_8(src, dst, dims);
    else if (isWholeWords(dims.x))
        dilateBitfieldFast2D_8(src, dst, dims);
    else
        dilateBitfieldFastGeneral2D_8(src, dst, dims);
}

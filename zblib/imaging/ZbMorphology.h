#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/imaging/ZbBitfield.h>
#include <zblib/math/ZbVec2i.h>
#include <zblib/math/ZbVec3i.h>

/// Erosion and dilation of the masks of grids, one bit a voxel: bit x + nx * (y + ny * z) of a field.
///
/// Erosion clears what touches a clear voxel, dilation sets what touches a set one. Voxels outside of the grid
/// count as set for the one and as clear for the other, so the border of the grid has no effect of its own.
///
/// dims are the sizes of the grid, (nx, ny, nz) or (nx, ny). src, and protect if there is one, have as many bits as
/// the grid has voxels, and are other objects than dst, which becomes a field of that size whatever it was. The bits
/// beyond the last voxel carry no meaning in any of them. A grid without voxels gives an empty field.
///
/// O(iterations * voxels), dozens of voxels at a time where nx is 32 or more, fastest where it is a multiple of 32
/// (otherwise rows are brought to the boundaries of words first), and one by one below 32. Memory: of several
/// iterations as many are made in one pass as there is cache for, a few slices each; where that takes more than one
/// pass, another field of the size of dst. Throws ZbMemoryException where there is not enough of it; dst then has
/// the right size and arbitrary bits.
///
/// Thread-safe as far as the fields are: src and protect are only read. erosion3D() shares its slices among the
/// threads of oneTBB; everything else runs on the calling thread.
class ZB_API ZbMorphology
{
public:
    /// Erodes a volume iterations times; below 1, dst becomes a copy of src.
    ///
    /// A step clears each set voxel that has a clear one among its neighbours x - 1 and x + 1 if alongX, y - 1 and
    /// y + 1 if alongY, z - 1 and z + 1 if alongZ: mind the order of the flags. What is set in both src and protect
    /// stays set throughout; protect sets nothing that src does not. Null: nothing is protected.
    static void erosion3D(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, int iterations,
                          bool alongZ, bool alongY, bool alongX, const ZbBitfield* protect);

    /// Dilates a volume iterations times; below 1, dst becomes a copy of src. A step sets the six neighbours of each
    /// set voxel.
    static void dilation3D(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, int iterations);

    // ---- one step in an image, with the four or the eight neighbours of each pixel

    static void erosion2D_4(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
    static void dilation2D_4(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
    static void erosion2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
    static void dilation2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
};

#pragma once

// Private: the implementations between which ZbMorphology chooses. All of one operation give the same result.
//
// The grid has voxels, src and protect are of its size, dst too, and is another object. Slow: bit by bit, for any
// row length. FastGeneral: rows are brought to the boundaries of words and back, for any row length. Fast: rows that
// are whole words, nx % 32 == 0.

#include <zblib/foundation/ZbExport.h>
#include <zblib/imaging/ZbBitfield.h>
#include <zblib/math/ZbVec2i.h>
#include <zblib/math/ZbVec3i.h>

#include <oneapi/tbb/blocked_range.h>

namespace ZbDetail
{

using SliceRange = tbb::blocked_range<unsigned long>;

// The plain form, which states the rule.

ZB_API void erodeBitfieldSlow(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, bool alongZ,
                              bool alongY, bool alongX, const ZbBitfield* protect);
ZB_API void dilateBitfieldSlow(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims);
ZB_API void erodeBitfieldSlow2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
ZB_API void dilateBitfieldSlow2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);

// Word by word. steps, at least 1, are made in one pass over the memory, with the results of all but the last in a
// few slices of scratch memory.

/// The slices of range, whatever their bits in dst were. Calls for ranges that do not overlap may run at the same
/// time: of a word that slices share, each call changes its own bits alone, atomically.
ZB_API void erodeBitfieldRegionFastGeneral(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims,
                                           const SliceRange& range, bool alongZ, bool alongY, bool alongX,
                                           const ZbBitfield* protect, int steps = 1);
ZB_API void erodeBitfieldRegionFast(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims,
                                    const SliceRange& range, bool alongZ, bool alongY, bool alongX,
                                    const ZbBitfield* protect = nullptr, int steps = 1);

ZB_API void erodeBitfieldFastGeneral(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, bool alongZ,
                                     bool alongY, bool alongX, const ZbBitfield* protect);
ZB_API void dilateBitfieldFastGeneral(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims,
                                      int steps = 1);
ZB_API void dilateBitfieldFast(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, int steps = 1);

ZB_API void erodeBitfieldFastGeneral2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
ZB_API void dilateBitfieldFastGeneral2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
/// Rows that are whole words.
ZB_API void erodeBitfieldFast2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);
ZB_API void dilateBitfieldFast2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims);

/// An image, a grid of one slice, seen as slices of one row each: (nx, 1, ny) instead of (nx, ny, 1), where that is
/// faster. What was along y is then along z. Other grids stay.
ZB_API ZbVec3i asRows(const ZbVec3i& dims);

/// The number of steps, from 1 to wanted, whose scratch memory for one pass stays in a cache.
ZB_API int stepsInOnePass(const ZbVec3i& dims, int wanted);

}  // namespace ZbDetail

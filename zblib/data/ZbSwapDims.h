#pragma once

// Private: the two ways in which ZbRawData::swapDims() moves voxels.

#include <zblib/data/ZbDim3l.h>
#include <zblib/foundation/ZbExport.h>

namespace ZbDetail
{

/// The definition of the permutation, in little memory: rows and voxels move along the cycles of the
/// permutation of their positions, and a bit field tells which have arrived.
///
/// width, the bytes of a voxel, is 1, 2, 4 or 8; permutation is one of the six. False, and nothing has moved,
/// when there is no memory for two rows and a bit for each position.
ZB_API bool swapDimsPlain(void* data, const ZbDim3l& dims, const int* permutation, int width);

/// The same, several times as fast: rows move along cycles only where they are long, and everything else is
/// transposed in pieces that fit a cache, in about two reads and writes of the block for a permutation that
/// moves all three dimensions.
///
/// Takes memory for about twice pieceBytes, and more only where a single row exceeds that. False, and
/// nothing has moved, when that cannot be had.
ZB_API bool swapDimsBlocked(void* data, const ZbDim3l& dims, const int* permutation, int width,
                            long pieceBytes);

}  // namespace ZbDetail

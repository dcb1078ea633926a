#pragma once

#include <zblib/data/ZbBytePattern.h>
#include <zblib/data/ZbDataPointer.h>
#include <zblib/foundation/ZbExport.h>

/// Copies the bytes that sourcePattern selects from source on to those that targetPattern selects from target
/// on, in the order of the patterns, until either side ends.
///
/// Returns true when the source ended first, so that bytes of the target were left as they were; false
/// otherwise. A default pattern selects nothing here. Source and target may overlap: the result is as if all
/// bytes were read first. Bytes that the target pattern selects repeatedly keep the last one written.
///
/// One memmove() when both are dense. Allocates only for memory that overlaps so that no order of copying is
/// right, and throws ZbMemoryException then. Runs on the calling thread.
ZB_API bool zbmemcpy(void* target, const ZbBytePattern& targetPattern, const void* source,
                     const ZbBytePattern& sourcePattern);

/// Writes (value + offset) * scale, computed in double, for every value of the source to the target, in the
/// order of the patterns, until either side ends.
///
/// Both patterns are in bytes; data is aligned for its type. Types are BYTE, SHORT, USHORT, INT, FLOAT and
/// DOUBLE on both sides; with any other nothing happens. Numbers of components do not matter.
///
/// Results are clamped to bounds, both inclusive, then truncated toward zero for integers and rounded to
/// nearest for floats. The bounds are those of the type for BYTE, SHORT, INT and DOUBLE. They are [0, 0] for
/// USHORT, which hence becomes 0, and [1.1754943508222875e-38, 3.4028234663852886e+38], the positive normal
/// values, for FLOAT: 0 and negative values become the smallest of them. Programs rely on these two;
/// ZbRawData::mapLinear() takes the full ranges. A NaN stays one in FLOAT and DOUBLE, becomes -2147483648 in
/// INT, and 0 in the others.
///
/// Source and target may overlap: the result is as if all values were read first. A temporary copy of the
/// source is made for that, unless the target begins where the source does and is laid out alike or tighter.
/// Throws ZbMemoryException then. Runs on the calling thread.
ZB_API void zbmapLinear(ZbDataPointer target, const ZbBytePattern& targetPattern, ZbDataPointer source,
                        const ZbBytePattern& sourcePattern, double offset, double scale);

#pragma once

#include <zblib/data/ZbDim3l.h>
#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbTypedPointer.h>

#include <cstdio>

class ZbHistogram;
class ZbProgressInterface;
class ZbRawData3D;

/// Operations on dense typed arrays in memory: fill, test, copy, convert, scan, re-order, cut, and bulk input
/// and output.
///
/// A block is a ZbTypedPointer and a number of values, or a ZbTypedPointer and dimensions: three ints, x
/// varying fastest, with the components of one voxel side by side where an operation takes components.
/// Complex counts as one value of two floats. Nothing here owns the memory that it works on.
///
/// An operation that does not support a type writes one line with the name of the type to standard error and
/// leaves everything as it is; those for byte order pass over a code that names no type. A null pointer is
/// legal where there are no values. Different threads may work on different blocks at the same time;
/// getRange() and getHistogram() use several threads of their own for large blocks, with results that do not
/// depend on how many.
class ZB_API ZbRawData
{
public:
    // ---- values

    /// Sets count values to value, converted to the type of the data: integers keep the low bits.
    ///
    /// For all types but complex, string and the 64-bit integers. O(count).
    static void memset(ZbTypedPointer data, int value, long count);
    /// The same with a double. For integer data the value is rounded to an integer first, in the current
    /// rounding mode (halves to even by default); one outside [-2147483648, 4294967295], NaNs included,
    /// counts as 0x80000000.
    static void memset(ZbTypedPointer data, double value, long count);

    /// True if count values are all equal; no values are.
    ///
    /// NaNs are passed over, so that values that are equal apart from NaNs are constant, and so are NaNs
    /// alone. Complex data is constant when all its real and imaginary parts are equal to each other. False
    /// for strings and 64-bit integers. O(count), and returns at the first block that differs.
    [[nodiscard]] static bool isConstant(ZbTypedPointer data, unsigned long count);

    /// Copies count values and converts them to the type of the target: clamped to its range, then truncated
    /// toward zero; values of equal type keep every bit.
    ///
    /// Real targets keep infinities. A NaN becomes the low bits of 0x80000000 in an integer: 0 in 8 and 16
    /// bits, the smallest int, 2147483648 in unsigned int. Targets: all types but complex, string and 64-bit
    /// integers; sources: all but complex and string. Blocks of different types must not overlap. O(count).
    static void memcpy(ZbTypedPointer target, ZbTypedPointer source, long count);

    /// target = (offset + source) * scale, computed in double and converted as by memcpy().
    ///
    /// Complex maps to complex, each of its parts for itself. Equal types with offset 0 and scale 1 keep
    /// every bit, of all types. target and source may be the same block if their types are equal, and must
    /// not overlap otherwise. O(count).
    static void mapLinear(ZbTypedPointer target, ZbTypedPointer source, unsigned long count, double offset,
                          double scale);
    /// The same in the arithmetic of int, which wraps around at 32 bits; the result is clamped to the range
    /// of the target, where it exceeds it. Sources wider than an int contribute their low 32 bits,
    /// and those of unsigned int from 2^31 on count as negative. With float
    /// or double on either side, this is the form for doubles.
    static void mapLinear(ZbTypedPointer target, ZbTypedPointer source, unsigned long count, int offset,
                          int scale);

    /// The smallest and the largest of count values, NaNs aside, as floats.
    ///
    /// With ignore set, a value that is equal to ignored when converted to float is passed over. Where no
    /// value is left, minimum is FLT_MAX and maximum -FLT_MAX; these are where the search starts, so that
    /// infinite values alone leave one of them as well. Complex data is searched in all its real and
    /// imaginary parts. Strings and 64-bit integers leave both untouched, without a message. O(count),
    /// parallel.
    static void getRange(ZbTypedPointer data, unsigned long count, float& minimum, float& maximum,
                         bool ignore = false, float ignored = 0);
    /// The same with minimum, maximum and ignored of the data's own type (float for complex).
    ///
    /// The search starts from the largest and the smallest finite value of that type. Here too a value is
    /// converted to float before it is compared with the ignored one: take an ignored value that is a float.
    /// ignored may be null when ignore is not set.
    static void getRange(const ZbPrimType& type, const void* data, unsigned long count, void* minimum,
                         void* maximum, bool ignore = false, const void* ignored = nullptr);

    /// Adds count values to target, in bins as it is set up.
    ///
    /// With ignore set, values that are equal to ignored when converted to double are passed over; NaNs
    /// always are. Complex data counts with all its real and imaginary parts. progress, if given, is told the
    /// fraction done from the calling thread, about every 1,000,000 values that this thread has added.
    /// O(count), parallel: each thread takes memory of the size of the histogram. Not for strings.
    static void getHistogram(ZbTypedPointer data, unsigned long count, ZbHistogram& target,
                             bool ignore = false, const double& ignored = 0.0,
                             ZbProgressInterface* progress = nullptr);
    /// The same with every stride-th value, as for one component of interleaved data. count is the number of
    /// values taken; stride is in values, may be negative, and counts complex values where the data is
    /// complex.
    static void getHistogram(ZbTypedPointer data, unsigned long count, long stride, ZbHistogram& target,
                             bool ignore = false, const double& ignored = 0.0,
                             ZbProgressInterface* progress = nullptr);

    // ---- arrangement of three-dimensional blocks

    /// Permutes the dimensions of a block in place: the new dimension k is the old dimension permutation[k].
    ///
    /// One voxel, components times the size of the type, takes 1, 2, 4 or 8 bytes. On success dims holds the
    /// new sizes and the result is true; false when permutation is none, when voxels have another size, or
    /// when memory is short, and then nothing has changed. Of a constant block, as by isConstant(), only the
    /// sizes are rewritten: NaNs among equal values stay where they are in memory. O(voxels); takes up to
    /// 16 MiB beside the block, and a bit for every 64 bytes of it.
    static bool swapDims(ZbTypedPointer data, int* dims, const int* permutation, int components);

    /// Cuts or enlarges a block of elements of elementSize bytes to the box from boxMinimum to boxMaximum,
    /// both inclusive, in voxels of the old block. Voxels outside the old block become the element at fill,
    /// zeros if that is null.
    ///
    /// data comes from zbmalloc() and is replaced by a new block from there; dims is rewritten. False, and
    /// nothing has changed, when a maximum lies below its minimum or a size would not fit an int. Throws
    /// ZbMemoryException, and nothing has changed either. O(new voxels).
    static bool crop(void*& data, int elementSize, int* dims, const int* boxMinimum, const int* boxMaximum,
                     const void* fill);
    /// The same for a block object, which owns the new memory afterwards, also if it was a view.
    static bool crop(ZbRawData3D& block, const int* boxMinimum, const int* boxMaximum, const void* fill);

    /// Mirrors a block of elements of elementSize bytes along an axis, in place: 0, 1 or 2, nothing happens
    /// for others. O(voxels).
    static void flip(void* data, int elementSize, const ZbDim3l& dims, int axis);

    // ---- byte order

    /// Reverses the bytes of each of count words of two, four or eight bytes.
    static void swapBytesWord2(void* words, unsigned long count);
    static void swapBytesWord4(void* words, unsigned long count);
    static void swapBytesWord8(void* words, unsigned long count);
    /// Reverses the bytes of each of count values; complex is a word of eight bytes here.
    static void swapBytes(ZbTypedPointer data, unsigned long count);
    /// From the byte order of the name to that of the machine.
    static void fromLittleEndian(ZbTypedPointer data, unsigned long count);
    static void fromBigEndian(ZbTypedPointer data, unsigned long count);

    /// Reads or writes count values in a given byte order. The result is the number of whole values that were
    /// read or written; less than count means the end of the file or an error. Writing leaves data as it is.
    static unsigned long readLittleEndian(ZbTypedPointer data, unsigned long count, FILE* stream);
    static unsigned long readBigEndian(ZbTypedPointer data, unsigned long count, FILE* stream);
    static unsigned long writeLittleEndian(ZbTypedPointer data, unsigned long count, FILE* stream);
    static unsigned long writeBigEndian(ZbTypedPointer data, unsigned long count, FILE* stream);

    // ---- input and output with progress

    /// Writes count items of itemSize bytes in pieces of 1 MiB. After each full piece progress is asked
    /// whether to stop, and told the fraction written.
    ///
    /// The result is the number of whole items written; after an interruption it is the number of bytes.
    static unsigned long fwrite(const void* buffer, unsigned long itemSize, unsigned long count, FILE* stream,
                                ZbProgressInterface* progress = nullptr);
    /// The same for reading.
    static unsigned long fread(void* buffer, unsigned long itemSize, unsigned long count, FILE* stream,
                               ZbProgressInterface* progress = nullptr);
    /// Reads up to count bytes from a file descriptor in pieces of at most 4 MiB, until the end of the file,
    /// an error or an interruption. The result is the number of bytes read.
    static long long read(int descriptor, void* buffer, long long count,
                          ZbProgressInterface* progress = nullptr);

    // ---- down-sampling of three-dimensional blocks

    /// Reduces a block by whole factors, three of at least 1: each voxel of target is the mean of the box of
    /// voxels of source that it covers, per component.
    ///
    /// target has the type of source and ceil(dims[k] / factors[k]) voxels along axis k; the last ones cover
    /// what is left. The blocks must not overlap. Sums of integers are exact, their mean is rounded to the
    /// nearest integer, halves away from zero. Sums of real values are doubles: first along z, y fastest, for
    /// each x, then along x. Complex values count as two components.
    ///
    /// True on success; false, and nothing is written, for an unsupported type (strings), a factor or a
    /// number of components below 1, or a size below 0. Takes memory for a row of sums. O(voxels).
    static bool downSample3D(ZbTypedPointer source, const int* dims, int components, const int* factors,
                             ZbTypedPointer target);
    /// The same with the voxel nearest to the centre of the box, the one with the smaller index of two. For
    /// all types.
    static bool downSample3DN(ZbTypedPointer source, const int* dims, int components, const int* factors,
                              ZbTypedPointer target);
    /// The same for labels, one component a voxel: the most frequent one of the box, the smaller one on a
    /// tie. For integer types. Takes memory for a box; O(voxels * log(voxels of a box)) at worst.
    static bool downSampleLabels3D(ZbTypedPointer source, const int* dims, const int* factors,
                                   ZbTypedPointer target);
    /// The same with the maximum of the box, per component. NaNs are passed over, unless the box has nothing
    /// else. Not for complex.
    static bool downSampleMaxFilterComponents3DN(ZbTypedPointer source, const int* dims, int components,
                                                 const int* factors, ZbTypedPointer target);
};

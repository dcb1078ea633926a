#pragma once

// Private: the rows of a grid and of its labels as the labellers see them, whatever the element types.
//
// The labellers work on bits and indices. Only what is here is compiled for each of the element types, so
// that there are seven and seven bodies and not one for each of 49 pairs.

#include <zblib/foundation/ZbMemory.h>
#include <zblib/imaging/ZbGridSize.h>
#include <zblib/imaging/ZbRowBits.h>
#include <zblib/types/ZbTypedPointer.h>

#include <memory>

namespace ZbDetail
{

/// Whether type is one of those of ZbLabelType.
bool isLabelType(ZbPrimType type);

/// Compares the values of a grid with thresholds and with each other, a row at a time, into bits.
class GridRows : public ZbAllocated
{
public:
    /// Null for a type other than those of ZbLabelType. The thresholds become values of that type.
    ///
    /// With keepsRows, values that out overlaps are kept aside for as many rows as equalsEarlier() may look
    /// back, so that a row's labels may be written once the row has been entered.
    static std::unique_ptr<GridRows> create(const ZbTypedPointer& in, const GridSize& size, double low,
                                            double high, const ZbTypedPointer& out, bool keepsRows);
    virtual ~GridRows() = default;

    const GridSize& size() const noexcept { return m_size; }

    /// Makes row the current one, which the others are about. Rows are entered in increasing order.
    virtual void enter(long row) = 0;

    // These write every word of the row.

    /// Not below the lower threshold.
    virtual void foreground(RowWord* bits) const = 0;
    /// At or above the upper threshold.
    virtual void strong(RowWord* bits) const = 0;
    /// Unlike the voxel before, as the first voxel of a row always is.
    virtual void changes(RowWord* bits) const = 0;
    /// Equal to voxel x + dx of the row that was entered rowsBack rows earlier, at most ny + 1, and 1 if
    /// there is only one slice. Not beyond the ends of the row. dx is -1, 0 or 1.
    virtual void equalsEarlier(long rowsBack, int dx, RowWord* bits) const = 0;

    virtual double value(long x) const = 0;

protected:
    explicit GridRows(const GridSize& size) : m_size(size) {}

    const GridSize m_size;
};

/// The voxels [begin, end) of a row.
struct LabelRun {
    int begin, end;
    unsigned label;
};

/// Reads and writes labels as indices.
class LabelRows : public ZbAllocated
{
public:
    /// Null for a type other than those of ZbLabelType.
    static std::unique_ptr<LabelRows> create(const ZbTypedPointer& out);
    virtual ~LabelRows() = default;

    /// Up to this one, all labels are held exactly.
    virtual unsigned largestLabel() const = 0;

    /// Writes the labels of a row of nx voxels that starts at voxel first: those of the runs, which are in
    /// order, and 0 between them.
    virtual void storeRuns(long first, long nx, const LabelRun* runs, long numRuns) = 0;

    // Bytes hold an index modulo 256, and shorts are read as unsigned.

    /// The bits of an index that load() finds again after store().
    virtual int indexMask() const = 0;
    virtual void store(long first, long n, const int* indices) = 0;
    /// Of labels that store() wrote.
    virtual void load(long first, long n, int* indices) const = 0;
    /// Replaces each of the first n labels by its entry of map, which has numEntries; others stay.
    virtual void remap(long n, const int* map, long numEntries) = 0;
    /// The number of records that a component must not be added to any more.
    virtual int recordLimit() const = 0;
};

}  // namespace ZbDetail

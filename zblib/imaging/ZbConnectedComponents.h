#pragma once

#include <zblib/containers/ZbDArray.h>
#include <zblib/foundation/ZbExport.h>
#include <zblib/types/ZbTypedPointer.h>

#include <concepts>
#include <type_traits>

class ZbProgressInterface;

/// The element types that can be labelled, and that labels can have.
template <typename T>
concept ZbLabelType = std::same_as<T, unsigned char> || std::same_as<T, short> ||
    std::same_as<T, unsigned short> || std::same_as<T, int> || std::same_as<T, unsigned int> ||
    std::same_as<T, float> || std::same_as<T, double>;

/// Labels the connected regions of a grid of scalar values (x fastest, then y, then z).
///
/// Two labellers stand side by side:
///
/// - labelRegions() finds the true regions, with sizes, centres and boxes that hold for all of their voxels.
///   New code calls this one. It is also the faster one.
/// - labelConnectedComponents() and its relatives make one pass in raster order that looks a neighbour's
///   label up through one level of indirection only. Where long chains of merged components meet, that pass
///   may leave one region under two labels, and voxels that were counted into a merged component are missing
///   from the sizes. Programs depend on its numbering, so it stays as it is.
///
/// Both work in two modes. In threshold mode the foreground is every voxel that is not below `low`, and
/// adjacent foreground voxels are connected. In label mode ("by value") they are connected only if their
/// values are equal too. A NaN is not below any threshold, hence foreground, and equals nothing, not even
/// another NaN.
///
/// Common to all operations:
/// - dims: nx, ny, nz. A size of 0 or less makes an empty grid.
/// - nb, the neighbourhood: 4 and 8 within the slice, 6, 18 and 26 in space, 10 the 8 of the slice and the
///   voxels straight above and below. With any other number nothing is connected: each foreground voxel is a
///   region.
/// - low and high: for integer input rounded with floor(x + 0.5), and clamped to the range of the type. Float
///   input is compared in float.
/// - in and out may be the same block if their elements have the same size; otherwise they do not overlap.
/// - Element types other than those of ZbLabelType are refused with one line on standard error and -1.
///
/// All operations run on the calling thread, in time linear in the number of voxels, and are reentrant but
/// for the three counters: of two passes that run at once, each may disturb the other's counts, nothing else.
class ZB_API ZbConnectedComponents
{
public:
    /// What the raster pass knows of a component. Record 0 is the background, all of its fields are zero.
    struct Component {
        int id;           ///< Record that stands for this region; a root stands for itself.
        int size;         ///< Voxels counted into this record.
        int value;        ///< Threshold mode: voxels at or above high. Label mode: the value of the region.
        float center[3];  ///< Sums of the grid indices x, y, z; divided by size they are the centre.
    };

    /// What labelRegions() knows of a region.
    struct Region {
        long size;         ///< Voxels.
        long strong;       ///< Voxels at or above high.
        double value;      ///< By value: the value of the region, that of its first voxel; else 0.
        double center[3];  ///< Mean grid indices x, y, z.
        int boxMin[3];     ///< Smallest grid indices.
        int boxMax[3];     ///< Largest grid indices, inclusive.
    };

    /// Labels the true regions and returns their number, without the background.
    ///
    /// Labels are 1, 2, 3, ... in raster order of each region's first voxel, 0 is the background;
    /// regions[label] describes a region, regions[0] the background (value 0; without voxels its centre is 0
    /// and its box runs from 0 to -1). The pointer of out may be null if only the table is wanted. Sums of
    /// indices are integers, so centres are rounded once.
    ///
    /// Returns -1 with one line on standard error if the type of out cannot hold the labels: bytes hold 255
    /// regions, shorts 32767, floats 2^24. Nothing is written then. Calls startWorking and stopWorking of
    /// progress, reports to it and can be interrupted through it; returns -1 then, and what is in out and
    /// regions is undefined.
    ///
    /// Runs along x are joined by union-find and written in a second sweep. Beside the result it takes the
    /// runs of one slice and four bytes a provisional region, which is a run that touches no earlier one.
    static long labelRegions(const ZbTypedPointer& in, const int* dims, int nb, const ZbTypedPointer& out,
                             double low, double high, bool byValue, ZbDArray<Region>& regions,
                             ZbProgressInterface* progress = nullptr);

    /// The raster pass in label mode. Returns the number of components, without the background, or -1.
    /// Without comps the records are dropped.
    static int labelConnectedComponents(const ZbTypedPointer& in, const int* dims, int nb,
                                        const ZbTypedPointer& out, double low, double high,
                                        ZbDArray<Component>* comps = nullptr);

    /// The raster pass with labels of the type that out has. labelMode is 0 for threshold mode.
    template <ZbLabelType T>
    static int labelConnectedComponents(T* in, const ZbTypedPointer& out, ZbDArray<Component>& comps,
                                        std::type_identity_t<T> low, std::type_identity_t<T> high,
                                        const int* dims, int nb, int labelMode)
    {
        return label(ZbTypedPointer(in), out, comps, double(low), double(high), dims, nb, labelMode);
    }

    /// The raster pass in threshold mode with unsigned short labels. If out is null it is allocated with
    /// zbmalloc; the caller frees it with zbfree, also after a failure. The three numbers without a name and
    /// progress are ignored; comps may be null.
    static int labelCC(ZbTypedPointer in, const int* dims, int nb, unsigned short*& out, int, double low,
                       double high, int, int, ZbDArray<Component>* comps, ZbProgressInterface* progress);

    /// The raster pass in label mode on a field of byte labels. The areas of value 0 are labelled too. Calls
    /// startWorkingNoStop and stopWorking of progress.
    static int labelLabels(unsigned char* in, const int* dims, int nb, unsigned short* out, int, int,
                           ZbDArray<Component>& comps, ZbProgressInterface* progress);
    /// labelLabels() for many regions.
    static int labelLabelsHuge(unsigned char* in, const int* dims, int nb, int* out, int, int,
                               ZbDArray<Component>& comps, ZbProgressInterface* progress);

    /// Orders records by size: -1, 0 or 1.
    static int compareComponents(const Component& a, const Component& b);

    /// The raster pass: labels in, writes one label a voxel to out and one record a component to comps.
    ///
    /// Components are numbered in the order of their first voxel, as far as the pass recognises them. Returns
    /// their number, or -1 with one line on standard error when there are too many records (see
    /// addNewComponent()); the labels of the voxels visited so far are written then. Byte labels store
    /// the number modulo 256, unchecked; what the pass then reads back is the wrapped number.
    template <ZbLabelType D, ZbLabelType L>
    static int do_label(D* in, L* out, ZbDArray<Component>& comps, std::type_identity_t<D> low,
                        std::type_identity_t<D> high, const int* dims, int nb, int labelMode)
    {
        return label(ZbTypedPointer(in), ZbTypedPointer(out), comps, double(low), double(high), dims, nb,
                     labelMode);
    }

    /// Drops merged records and those that are too small, closes the gaps, and rewrites the first n labels to
    /// match.
    ///
    /// A root is dropped, and its label becomes 0, if minSize > 0 and its size is less, or minValue > 0 and
    /// its value is less. The others keep their order. If no record is dropped nothing is changed. Labels
    /// that are no index into comps stay. Returns the number of records, the background included.
    template <ZbLabelType L>
    static int cleanup_components(ZbDArray<Component>& comps, L* labels, unsigned long n, int minSize,
                                  int minValue)
    {
        return cleanup(comps, ZbTypedPointer(labels), n, minSize, minValue);
    }

    /// Appends a record and returns its index.
    ///
    /// When comps holds more than 64998 records (9999998 for labels of type int; the other wide types keep
    /// the limit of 16 bits, which is meant), merged ones are cleaned up first, rewriting the first n labels.
    /// If that does not help, writes one line to standard error and returns -1.
    template <ZbLabelType L>
    static int addNewComponent(ZbDArray<Component>& comps, L* labels, unsigned long n)
    {
        return addNew(comps, ZbTypedPointer(labels), n);
    }

    static int dbg_add;    ///< Calls of addNewComponent() in the latest raster pass.
    static int dbg_merge;  ///< Always 0: merges are not counted.
    static int dbg_clean;  ///< Clean-ups in the latest raster pass.

private:
    static int label(const ZbTypedPointer& in, const ZbTypedPointer& out, ZbDArray<Component>& comps,
                     double low, double high, const int* dims, int nb, bool labelMode);
    static int cleanup(ZbDArray<Component>& comps, const ZbTypedPointer& labels, unsigned long n, int minSize,
                       int minValue);
    static int addNew(ZbDArray<Component>& comps, const ZbTypedPointer& labels, unsigned long n);
};

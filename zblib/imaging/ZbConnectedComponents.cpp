#include <zblib/imaging/ZbConnectedComponents.h>

#include <zblib/data/ZbClampTo.h>
#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/foundation/ZbProgressScope.h>
#include <zblib/imaging/ZbLabelGrid.h>
#include <zblib/imaging/ZbPreviousNeighbours.h>

#include <QCoreApplication>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <utility>

int ZbConnectedComponents::dbg_add = 0;
int ZbConnectedComponents::dbg_merge = 0;
int ZbConnectedComponents::dbg_clean = 0;

namespace
{

using namespace ZbDetail;
using Component = ZbConnectedComponents::Component;

// Passes may run at once; a count that gets lost is no harm.
void setCounter(int& counter, int value)
{
    std::atomic_ref(counter).store(value, std::memory_order_relaxed);
}

void increment(int& counter)
{
    setCounter(counter, std::atomic_ref(counter).load(std::memory_order_relaxed) + 1);
}

// Counts are 32 bits wide by their definition and wrap.
void add(int& sum, long count)
{
    sum = int(unsigned(sum) + unsigned(count));
}

int cleanupRecords(ZbDArray<Component>& comps, LabelRows& labels, long n, int minSize, int minValue)
{
    increment(ZbConnectedComponents::dbg_clean);
    const int count = int(comps.size());
    ZbDArray<int> map(count);
    map.fill(0);
    int kept = std::min(count, 1);
    for (int index = 1; index < count; ++index) {
        const Component& component = comps[index];
        if (component.id != index) {
            // An id is smaller than its index, so it is mapped already and chains resolve in one pass.
            if (component.id >= 0 && component.id < index)
                map[index] = map[component.id];
        } else if (!(minSize > 0 && component.size < minSize) &&
                   !(minValue > 0 && component.value < minValue)) {
            map[index] = kept;
            comps[kept] = component;
            comps[kept].id = kept;
            ++kept;
        }
    }
    if (kept != count) {
        comps.resize(kept);
        labels.remap(n, map.data(), count);
    }
    return kept;
}

int addRecord(ZbDArray<Component>& comps, LabelRows& labels, long n)
{
    increment(ZbConnectedComponents::dbg_add);
    const int limit = labels.recordLimit();
    if (comps.size() > limit && cleanupRecords(comps, labels, n, -1, -1) > limit) {
        std::fputs("ERROR: too many components\n", stderr);
        return -1;
    }
    return int(comps.append(Component{.id = int(comps.size()), .size = 0, .value = 0, .center = {}}));
}

/// The raster pass: one visit of the voxels in raster order, with one level of indirection from label to
/// component.
///
/// What happens to a voxel is in visitVoxel() and depends on the labels around it only. Once a visit has
/// found a single component there, whose record is a root and whose label reads back unchanged, visits of the
/// following voxels would find the same and merge nothing until another label comes into reach on the right.
/// So these voxels are only counted. Where labels come into reach is known for a whole row at once, see
/// findArrivals().
class ComponentPass
{
public:
    ComponentPass(GridRows& grid, LabelRows& labels, ZbDArray<Component>& comps, int nb, bool labelMode);

    /// False if there are too many components.
    bool run();

private:
    // The rows with neighbours: three of the previous slice and two of this one.
    enum RowName { AcrossBefore, Across, AcrossAfter, Before, Current, NumRows };

    struct LabelledRow {
        int* labels;          // as read back; voxels -1 and nx, outside of the grid, are 0
        RowWord* news;        // labelled, and not like the voxel before
        long rowNumber = -1;  // -1 for a row outside of the grid: no voxel is labelled
    };

    // A neighbour in an earlier row.
    struct Neighbour {
        RowName row;
        int dx;
        RowWord* equal;  // label mode: the voxels of the current row whose value it has
    };

    static RowName rowName(const PreviousNeighbour& n) { return n.dz < 0 ? RowName(n.dy + 1) : Before; }

    RowWord* takeBits();
    void loadRow(RowName name, long rowNumber);
    void clearRow(RowName name);
    void enterRow(long y, long z);
    void findNews(const LabelledRow& row) const;
    void findArrivals();
    bool labelRow();
    bool visitVoxel(long x, bool hasLeft);
    void merge(const int* ids, int count, int survivor);
    int addComponent(long x);
    void countVoxels(Component& component, long begin, long end) const;

    GridRows& m_grid;
    LabelRows& m_labels;
    ZbDArray<Component>& m_comps;
    const long m_nx, m_ny, m_nz;
    const int m_indexMask;
    const bool m_labelMode;
    const bool m_connects;   // some neighbourhoods are empty
    const bool m_usesSlice;  // the neighbourhood reaches into the previous slice

    ZbDArray<int> m_labelMemory;
    ZbDArray<RowWord> m_bitMemory;
    long m_bitsTaken = 0;
    LabelledRow m_rows[NumRows];
    Neighbour m_neighbours[12];
    int m_numNeighbours = 0;
    RowWord* m_equal[NumRows][3] = {};  // of the neighbour at dx in the middle + 1; null where there is none
    RowWord* m_foreground;
    RowWord* m_continues;  // connected to the voxel before
    RowWord* m_strong;
    RowWord* m_arrivals;

    long m_y = 0, m_z = 0;
    int m_label = 0;         // of the voxel visited last
    bool m_settled = false;  // the next voxel gets the same label unless something arrives
};

ComponentPass::ComponentPass(GridRows& grid, LabelRows& labels, ZbDArray<Component>& comps, int nb,
                             bool labelMode)
    : m_grid(grid)
    , m_labels(labels)
    , m_comps(comps)
    , m_nx(grid.size().nx)
    , m_ny(grid.size().ny)
    , m_nz(grid.size().nz)
    , m_indexMask(labels.indexMask())
    , m_labelMode(labelMode)
    , m_connects(!PreviousNeighbours(nb).isEmpty())
    , m_usesSlice(PreviousNeighbours(nb).contains(0, 0, -1))
    , m_labelMemory(NumRows * (m_nx + 2))
    , m_bitMemory((NumRows + long(std::size(m_neighbours)) + 4) * (numRowWords(m_nx) + 2))
{
    m_labelMemory.fill(0);
    m_bitMemory.fill(0);
    for (int row = 0; row < NumRows; ++row)
        m_rows[row] = {m_labelMemory.data() + row * (m_nx + 2) + 1, takeBits()};
    for (const PreviousNeighbour& n : PreviousNeighbours(nb)) {
        if (n.dy == 0 && n.dz == 0)
            continue;
        RowWord* equal = takeBits();
        m_equal[rowName(n)][n.dx + 1] = equal;
        m_neighbours[m_numNeighbours++] = {rowName(n), n.dx, equal};
    }
    m_foreground = takeBits();
    m_continues = takeBits();
    m_strong = takeBits();
    m_arrivals = takeBits();
}

// The bits of a row, with a word of zeros on either side.
RowWord* ComponentPass::takeBits()
{
    const long stride = numRowWords(m_nx) + 2;
    m_bitsTaken += stride;
    return m_bitMemory.data() + m_bitsTaken - stride + 1;
}

bool ComponentPass::run()
{
    for (long z = 0; z < m_nz; ++z) {
        for (long y = 0; y < m_ny; ++y) {
            const bool done = zbMultiversion([this, y, z] {
                enterRow(y, z);
                return labelRow();
            });
            if (!done)
                return false;
        }
    }
    return true;
}

void ComponentPass::loadRow(RowName name, long rowNumber)
{
    LabelledRow& row = m_rows[name];
    row.rowNumber = rowNumber;
    m_labels.load(rowNumber * m_nx, m_nx, row.labels);
    findNews(row);
}

void ComponentPass::clearRow(RowName name)
{
    LabelledRow& row = m_rows[name];
    row.rowNumber = -1;
    std::fill_n(row.labels, m_nx, 0);
    std::fill_n(row.news, numRowWords(m_nx), 0);
}

void ComponentPass::enterRow(long y, long z)
{
    m_y = y;
    m_z = z;
    const long rowNumber = y + m_ny * z;
    m_grid.enter(rowNumber);

    std::swap(m_rows[Before], m_rows[Current]);
    if (y == 0)
        clearRow(Before);
    clearRow(Current);
    m_rows[Current].rowNumber = rowNumber;
    if (m_usesSlice && z > 0) {
        std::rotate(m_rows + AcrossBefore, m_rows + Across, m_rows + AcrossAfter + 1);
        if (y == 0) {
            clearRow(AcrossBefore);
            loadRow(Across, rowNumber - m_ny);
        }
        if (y + 1 < m_ny)
            loadRow(AcrossAfter, rowNumber - m_ny + 1);
        else
            clearRow(AcrossAfter);
    }

    const long numWords = numRowWords(m_nx);
    m_grid.foreground(m_foreground);
    if (m_labelMode)
        m_grid.changes(m_continues);
    else
        m_grid.strong(m_strong);
    for (long w = 0; w < numWords; ++w) {
        const RowWord changes = m_labelMode ? m_continues[w] : 0;
        m_continues[w] = m_connects ? m_foreground[w] & bitsOfPrevious(m_foreground, w) & ~changes : 0;
    }
    if (m_labelMode)
        for (int i = 0; i < m_numNeighbours; ++i)
            if (const Neighbour& n = m_neighbours[i]; m_rows[n.row].rowNumber >= 0)
                m_grid.equalsEarlier(rowNumber - m_rows[n.row].rowNumber, n.dx, n.equal);
    findArrivals();
}

void ComponentPass::findNews(const LabelledRow& row) const
{
    setRowBits(m_nx, row.news,
               [labels = row.labels](long x) { return (labels[x] != 0) & (labels[x] != labels[x - 1]); });
}

// The voxels where, compared with the voxel before, a neighbour on the right is another one. There may be too
// many of them, never too few.
void ComponentPass::findArrivals()
{
    const long numWords = numRowWords(m_nx);
    std::fill_n(m_arrivals, numWords, 0);
    for (int name = AcrossBefore; name <= Before; ++name) {
        const RowWord* news = m_rows[name].news;
        const RowWord* straight = m_equal[name][1];
        const RowWord* right = m_equal[name][2];
        if (m_rows[name].rowNumber < 0 || !straight)
            continue;
        for (long w = 0; w < numWords; ++w) {
            // In label mode the same label may be stored on for another value, and the other way round.
            if (right) {
                const RowWord arrived = bitsOfNext(news, w);
                m_arrivals[w] |= m_labelMode ? right[w] & (~straight[w] | arrived) : arrived;
            } else {
                m_arrivals[w] |=
                    m_labelMode ? straight[w] & (~bitsOfPrevious(straight, w) | news[w]) : news[w];
            }
        }
    }
}

bool ComponentPass::labelRow()
{
    const LabelledRow& row = m_rows[Current];
    for (long x = nextSetRowBit(m_foreground, 0, m_nx); x < m_nx; x = nextSetRowBit(m_foreground, x, m_nx)) {
        const long begin = x;
        const long end = nextClearRowBit(m_continues, begin + 1, m_nx);
        while (x < end) {
            if (!visitVoxel(x, x > begin))
                return false;
            ++x;
            if (!m_settled)
                continue;
            const long stop = nextSetRowBit(m_arrivals, x, end);
            std::fill(row.labels + x, row.labels + stop, m_label);
            countVoxels(m_comps.data()[m_label], x, stop);
            x = stop;
        }
    }
    m_labels.store(row.rowNumber * m_nx, m_nx, row.labels);
    findNews(row);
    return true;
}

bool ComponentPass::visitVoxel(long x, bool hasLeft)
{
    // The component of each neighbour. The record of the background, label 0, has the id 0, which no other
    // has.
    int ids[13];
    int count = 0;
    const Component* records = m_comps.data();
    for (int i = 0; i < m_numNeighbours; ++i) {
        const Neighbour& n = m_neighbours[i];
        int label = m_rows[n.row].labels[x + n.dx];
        if (m_labelMode)
            label &= -int(n.equal[x / rowWordBits] >> (x % rowWordBits) & 1);
        ids[count++] = records[label].id;
    }
    int* labels = m_rows[Current].labels;
    if (hasLeft)
        ids[count++] = records[labels[x - 1]].id;

    unsigned smallest = ~0u;  // of the positive ids, less 1
    int largest = 0;
    for (int i = 0; i < count; ++i) {
        smallest = std::min(smallest, unsigned(ids[i]) - 1);
        largest = std::max(largest, ids[i]);
    }
    m_settled = true;
    if (largest == 0) {
        m_label = addComponent(x);
        if (m_label < 0)
            return false;
    } else {
        m_label = int(smallest + 1);
        if (m_label != largest) {
            merge(ids, count, m_label);
            m_settled = false;
        }
    }
    Component& component = m_comps.data()[m_label];
    labels[x] = m_label & m_indexMask;
    // The index of a record that was merged away before is a label like any other, and what is counted under
    // it is lost in the end. That is meant: numbering and sizes of this pass are what programs know.
    m_settled = m_settled && component.id == m_label && labels[x] == m_label;
    countVoxels(component, x, x + 1);
    return true;
}

// Adds the records in ids, of which 0 stands for none, to that of the survivor. One that comes twice adds
// nothing.
void ComponentPass::merge(const int* ids, int count, int survivor)
{
    Component* records = m_comps.data();
    Component& sum = records[survivor];
    for (int i = 0; i < count; ++i) {
        if (ids[i] == 0 || ids[i] == survivor)
            continue;
        Component& merged = records[ids[i]];
        add(sum.size, merged.size);
        if (!m_labelMode)
            add(sum.value, merged.value);
        for (int axis = 0; axis < 3; ++axis)
            sum.center[axis] += merged.center[axis];
        // The id of the survivor's record, not its index: the survivor may have been merged away itself.
        merged = {.id = sum.id, .size = 0, .value = 0, .center = {}};
    }
}

int ComponentPass::addComponent(long x)
{
    const long first = m_rows[Current].rowNumber * m_nx;
    const bool mayCleanUp = m_comps.size() > m_labels.recordLimit();
    if (mayCleanUp)
        m_labels.store(first, x, m_rows[Current].labels);
    const int index = addRecord(m_comps, m_labels, first + x);
    if (index < 0)
        return -1;
    if (mayCleanUp) {
        // The bits of news stay: mapping labels makes none of them differ that were equal.
        for (int name = AcrossBefore; name <= Before; ++name)
            if (m_rows[name].rowNumber >= 0)
                m_labels.load(m_rows[name].rowNumber * m_nx, m_nx, m_rows[name].labels);
        m_labels.load(first, x, m_rows[Current].labels);
    }
    if (m_labelMode)
        m_comps[index].value = clampTo<int>(m_grid.value(x));
    return index;
}

void ComponentPass::countVoxels(Component& component, long begin, long end) const
{
    add(component.size, end - begin);
    if (!m_labelMode)
        add(component.value, countRowBits(m_strong, begin, end));
    // One voxel after the other: where the sums are large, they are rounded at each.
    const float y = float(m_y);
    const float z = float(m_z);
    float sumX = component.center[0];
    float sumY = component.center[1];
    float sumZ = component.center[2];
    for (long x = begin; x < end; ++x) {
        sumX += float(x);
        sumY += y;
        sumZ += z;
    }
    component.center[0] = sumX;
    component.center[1] = sumY;
    component.center[2] = sumZ;
}

int labelByteField(const ZbTypedPointer& in, const int* dims, int nb, const ZbTypedPointer& out,
                   ZbDArray<Component>& comps, ZbProgressInterface* progress)
{
    const ZbDetail::ProgressScope working(
        progress, QCoreApplication::translate("ZbConnectedComponents", "Identifiying Regions"),
        ZbDetail::ProgressScope::NoStop);
    return ZbConnectedComponents::labelConnectedComponents(in, dims, nb, out, 0.0, 0.0, &comps);
}

}  // namespace

int ZbConnectedComponents::labelConnectedComponents(const ZbTypedPointer& in, const int* dims, int nb,
                                                    const ZbTypedPointer& out, double low, double high,
                                                    ZbDArray<Component>* comps)
{
    ZbDArray<Component> dropped;
    return label(in, out, comps ? *comps : dropped, low, high, dims, nb, true);
}

int ZbConnectedComponents::labelCC(ZbTypedPointer in, const int* dims, int nb, unsigned short*& out, int,
                                   double low, double high, int, int, ZbDArray<Component>* comps,
                                   ZbProgressInterface*)
{
    const GridSize size(dims);
    if (!out && size.isPossible && isLabelType(in.getPrimType()))
        out = static_cast<unsigned short*>(
            zbmalloc(sizeof(unsigned short) * (unsigned long)(size.numVoxels())));
    ZbDArray<Component> dropped;
    return label(in, ZbTypedPointer(out), comps ? *comps : dropped, low, high, dims, nb, false);
}

int ZbConnectedComponents::labelLabels(unsigned char* in, const int* dims, int nb, unsigned short* out, int,
                                       int, ZbDArray<Component>& comps, ZbProgressInterface* progress)
{
    return labelByteField(in, dims, nb, out, comps, progress);
}

int ZbConnectedComponents::labelLabelsHuge(unsigned char* in, const int* dims, int nb, int* out, int, int,
                                           ZbDArray<Component>& comps, ZbProgressInterface* progress)
{
    return labelByteField(in, dims, nb, out, comps, progress);
}

int ZbConnectedComponents::compareComponents(const Component& a, const Component& b)
{
    return a.size < b.size ? -1 : a.size > b.size ? 1 : 0;
}

int ZbConnectedComponents::label(const ZbTypedPointer& in, const ZbTypedPointer& out,
                                 ZbDArray<Component>& comps, double low, double high, const int* dims, int nb,
                                 bool labelMode)
{
    const GridSize size(dims);
    const auto grid = GridRows::create(in, size, low, high, out, labelMode);
    const auto labels = LabelRows::create(out);
    if (!grid || !labels) {
        const ZbPrimType unsupported = grid ? out.getPrimType() : in.getPrimType();
        ZbDetail::reportUnsupportedType(unsupported, "ZbRawData()");
        return -1;
    }
    if (!size.isPossible) {
        std::fputs("ERROR: too many voxels\n", stderr);
        return -1;
    }
    setCounter(dbg_add, 0);
    setCounter(dbg_merge, 0);
    setCounter(dbg_clean, 0);
    comps.resize(1);
    comps[0] = {};
    if (!ComponentPass(*grid, *labels, comps, nb, labelMode).run())
        return -1;
    return cleanupRecords(comps, *labels, size.numVoxels(), -1, -1) - 1;
}

int ZbConnectedComponents::cleanup(ZbDArray<Component>& comps, const ZbTypedPointer& labels, unsigned long n,
                                   int minSize, int minValue)
{
    return cleanupRecords(comps, *LabelRows::create(labels), long(n), minSize, minValue);
}

int ZbConnectedComponents::addNew(ZbDArray<Component>& comps, const ZbTypedPointer& labels, unsigned long n)
{
    return addRecord(comps, *LabelRows::create(labels), long(n));
}

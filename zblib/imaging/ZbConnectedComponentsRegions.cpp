#include <zblib/imaging/ZbConnectedComponents.h>

#include <zblib/data/ZbUnsupportedType.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/foundation/ZbProgressScope.h>
#include <zblib/imaging/ZbLabelGrid.h>
#include <zblib/imaging/ZbPreviousNeighbours.h>

#include <QCoreApplication>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <span>
#include <utility>

namespace
{

using namespace ZbDetail;
using Region = ZbConnectedComponents::Region;

/// The runs of a row: its longest stretches of foreground voxels, of one value where values count.
struct RunRow {
    // Bits, with a word of zeros on either side.
    RowWord* foreground;
    RowWord* starts;         // the first voxel of each run
    unsigned* startsBefore;  // by word, the number of runs that start in front of it
    unsigned* labels;        // by run; 0 for none yet

    // The number of the run that voxel x lies in.
    long runOf(long x) const
    {
        const long w = x / rowWordBits;
        return long(startsBefore[w]) + std::popcount(starts[w] & bitsUpTo(x)) - 1;
    }
};

/// Finds the runs of each row and which of them touch runs of earlier rows.
///
/// All on bits, 64 voxels at a time. It remembers the runs of as many rows as the neighbourhood reaches back.
class RunSweep
{
public:
    RunSweep(GridRows& grid, int nb, bool byValue);

    /// Makes a row the current one, in raster order. Its runs have no labels yet.
    void enterRow(long y, long z);

    const RunRow& row() const { return m_row; }
    const RowWord* ends() const { return m_ends; }  // the last voxel of each run
    long numRuns() const { return m_numRuns; }

    /// Calls meet(earlier, own) for runs of earlier rows that touch a run of the current one, with the label
    /// of the former and a reference to that of the latter.
    ///
    /// A pair of runs is left out only if both touch a third run, and those pairs have been reported, by this call
    /// or for the earlier row. So each run that touches any is reported at least once.
    template <typename Meet>
    void meetEarlierRows(Meet meet) const;

private:
    // The voxels of the current row that touch the voxel at x - 1, x, x + 1 of an earlier one.
    struct Contact {
        RowWord left = 0, straight = 0, right = 0;
    };

    // An earlier row with neighbours.
    struct Link {
        int dy = 0, dz = 0;
        bool diagonal = false;   // x - 1 and x + 1 are neighbours as well
        RowWord* equal[3] = {};  // by value: the words of Contact
        bool exists = false;     // the current row has it
        RunRow row = {};
    };

    std::span<Link> links() { return {m_links, m_numLinks}; }
    std::span<const Link> links() const { return {m_links, m_numLinks}; }
    Contact contact(const Link& link, long w) const;

    GridRows& m_grid;
    const long m_nx, m_ny, m_nz;
    const bool m_byValue;
    const bool m_connects;      // the neighbourhood is not empty
    const bool m_covers;        // the rows before and across touch the other rows at the same place
    const bool m_coversWidely;  // and at the places next to it
    Link m_links[4];
    std::size_t m_numLinks = 0;

    // Rows are kept in turn: row r at r % m_slots.size().
    ZbDArray<RunRow> m_slots;
    ZbDArray<RowWord> m_bitMemory;
    ZbDArray<unsigned> m_labelMemory;
    RunRow m_row{};
    RowWord* m_ends = nullptr;
    long m_numRuns = 0;
};

RunSweep::RunSweep(GridRows& grid, int nb, bool byValue)
    : m_grid(grid)
    , m_nx(grid.size().nx)
    , m_ny(grid.size().ny)
    , m_nz(grid.size().nz)
    , m_byValue(byValue)
    , m_connects(!PreviousNeighbours(nb).isEmpty())
    , m_covers(PreviousNeighbours(nb).contains(0, -1, -1))
    , m_coversWidely(PreviousNeighbours(nb).contains(1, -1, -1))
{
    // Rows that cover others come before those.
    constexpr struct {
        int dy, dz;
    } order[] = {{0, -1}, {1, -1}, {-1, 0}, {-1, -1}};
    const PreviousNeighbours neighbours(nb);
    for (const auto& [dy, dz] : order)
        if (neighbours.contains(0, dy, dz))
            m_links[m_numLinks++] = {.dy = dy, .dz = dz, .diagonal = neighbours.contains(1, dy, dz)};

    const long numWords = numRowWords(m_nx);
    const long maxRuns = byValue || !m_connects ? m_nx : (m_nx + 1) / 2;
    m_slots.resize(m_nz > 1 && neighbours.contains(0, 0, -1) ? m_ny + 2 : 2);
    m_bitMemory.resize((2 * m_slots.size() + 1 + 3 * long(m_numLinks)) * (numWords + 2));
    m_bitMemory.fill(0);
    m_labelMemory.resize(m_slots.size() * (numWords + maxRuns));
    RowWord* bits = m_bitMemory.data() + 1;
    const auto takeBits = [&] { return std::exchange(bits, bits + numWords + 2); };
    unsigned* labels = m_labelMemory.data();
    for (RunRow& row : m_slots) {
        row.foreground = takeBits();
        row.starts = takeBits();
        row.startsBefore = std::exchange(labels, labels + numWords);
        row.labels = std::exchange(labels, labels + maxRuns);
    }
    m_ends = takeBits();
    for (Link& link : links())
        for (RowWord*& equal : link.equal)
            equal = takeBits();
}

void RunSweep::enterRow(long y, long z)
{
    const long rowNumber = y + m_ny * z;
    const long numWords = numRowWords(m_nx);
    m_grid.enter(rowNumber);
    m_row = m_slots[rowNumber % m_slots.size()];

    m_grid.foreground(m_row.foreground);
    if (m_byValue)
        m_grid.changes(m_row.starts);
    unsigned numRuns = 0;
    for (long w = 0; w < numWords; ++w) {
        const RowWord changes = !m_connects ? ~RowWord(0) : m_byValue ? m_row.starts[w] : 0;
        m_row.starts[w] = m_row.foreground[w] & (changes | ~bitsOfPrevious(m_row.foreground, w));
        m_row.startsBefore[w] = numRuns;
        numRuns += unsigned(std::popcount(m_row.starts[w]));
    }
    for (long w = 0; w < numWords; ++w)
        m_ends[w] = m_row.foreground[w] & (bitsOfNext(m_row.starts, w) | ~bitsOfNext(m_row.foreground, w));
    m_numRuns = numRuns;
    std::fill_n(m_row.labels, m_numRuns, 0u);

    for (Link& link : links()) {
        link.exists = y + link.dy >= 0 && y + link.dy < m_ny && z + link.dz >= 0;
        if (!link.exists)
            continue;
        const long rowsBack = -(link.dy + m_ny * link.dz);
        link.row = m_slots[(rowNumber - rowsBack) % m_slots.size()];
        if (!m_byValue)
            continue;
        for (int dx = link.diagonal ? -1 : 0; dx <= (link.diagonal ? 1 : 0); ++dx) {
            RowWord* equal = link.equal[dx + 1];
            m_grid.equalsEarlier(rowsBack, dx, equal);
            for (long w = 0; w < numWords; ++w)
                equal[w] &= m_row.foreground[w];
        }
    }
}

inline RunSweep::Contact RunSweep::contact(const Link& link, long w) const
{
    if (m_byValue)
        return {link.equal[0][w], link.equal[1][w], link.equal[2][w]};
    const RowWord own = m_row.foreground[w];
    const RowWord* other = link.row.foreground;
    Contact result{.left = 0, .straight = own & other[w], .right = 0};
    if (link.diagonal) {
        result.left = own & bitsOfPrevious(other, w);
        result.right = own & bitsOfNext(other, w);
    }
    return result;
}

template <typename Meet>
void RunSweep::meetEarlierRows(Meet meet) const
{
    const long numWords = numRowWords(m_nx);
    for (long w = 0; w < numWords; ++w) {
        if (m_row.foreground[w] == 0)
            continue;
        Contact covered;
        for (const Link& link : links()) {
            if (!link.exists)
                continue;
            const Contact here = contact(link, w);
            const RowWord before =
                m_byValue ? link.equal[1][w - 1] : m_row.foreground[w - 1] & link.row.foreground[w - 1];
            // Of the voxels with which two runs touch one is enough: the first of those that lie straight on
            // each other, or else the corner of the one run that touches a corner of the other.
            const RowWord starts = m_row.starts[w];
            RowWord straight = here.straight & (starts | ~(here.straight << 1 | before >> 63));
            RowWord left = here.left & ~here.straight & starts;
            RowWord right = here.right & ~here.straight & m_ends[w];
            // Where the own voxel also touches a row that covers this one, at the same place of both, nothing is
            // new: those two have been joined before. With 26 neighbours the places next to it are as good.
            if (m_coversWidely) {
                straight &= ~(covered.left | covered.straight | covered.right);
                left &= ~(covered.left | covered.straight);
                right &= ~(covered.straight | covered.right);
            } else {
                straight &= ~covered.straight;
                left &= ~covered.left;
                right &= ~covered.right;
            }
            // The row across touches all others, the row before touches the one across it, which comes last.
            if (m_covers && (link.dy == 0 || link.dz == 0)) {
                covered.left |= here.left;
                covered.straight |= here.straight;
                covered.right |= here.right;
            }
            const auto visit = [&](RowWord bits, long dx) {
                forEachBit(bits, w * rowWordBits, [&](long x) {
                    meet(link.row.labels[link.row.runOf(x + dx)], m_row.labels[m_row.runOf(x)]);
                });
            };
            visit(straight, 0);
            visit(left, -1);
            visit(right, 1);
        }
    }
}

/// Provisional regions, numbered from 1, and which of them are the same: union-find. The smallest number of a
/// region is its root.
class ProvisionalRegions
{
public:
    ProvisionalRegions() { m_parents.append(0u); }

    bool isFull() const { return m_parents.size() > long(std::numeric_limits<unsigned>::max()); }
    unsigned add() { return unsigned(m_parents.append(unsigned(m_parents.size()))); }

    unsigned root(unsigned number)
    {
        unsigned* parents = m_parents.data();
        while (parents[number] != number) {
            parents[number] = parents[parents[number]];
            number = parents[number];
        }
        return number;
    }

    /// Returns the root of both.
    unsigned unite(unsigned a, unsigned b)
    {
        const auto [first, second] = std::minmax({root(a), root(b)});
        m_parents.data()[second] = first;
        return first;
    }

    /// Numbers the regions in the order of their roots, and returns how many they are.
    long assignLabels()
    {
        unsigned count = 0;
        for (unsigned& parent : m_parents)
            if (const long number = &parent - m_parents.data(); number > 0)
                parent = parent == unsigned(number) ? ++count : m_parents[parent];
        return count;
    }

    /// After assignLabels().
    unsigned label(unsigned number) const { return m_parents.data()[number]; }

private:
    ZbDArray<unsigned> m_parents;
};

/// Adds up what is known of the regions.
class RegionTable
{
public:
    RegionTable(ZbDArray<Region>& regions, long numRegions);

    /// Runs in order, on row y of slice z.
    void addRuns(const LabelRun* runs, long numRuns, const RowWord* strong, long y, long z);
    /// Background voxels of a row, of which first and last are the outermost. Only their places are noted.
    void addBackground(long first, long last, long y, long z)
    {
        growBox(m_regions.data()[0], first, last, y, z);
    }
    void finish(const GridSize& size, long numStrong);

private:
    // Until finish(), the place of a centre holds the sums of the indices, as unsigned integers, so that the
    // table takes no more memory than what it becomes.
    static std::uint64_t sum(const Region& region, int axis)
    {
        return std::bit_cast<std::uint64_t>(region.center[axis]);
    }
    static void setSum(Region& region, int axis, std::uint64_t sum)
    {
        region.center[axis] = std::bit_cast<double>(sum);
    }
    static void addToSum(Region& region, int axis, long added)
    {
        setSum(region, axis, sum(region, axis) + std::uint64_t(added));
    }
    static void finishCenter(Region& region)
    {
        for (int axis = 0; axis < 3; ++axis)
            region.center[axis] = region.size == 0 ? 0.0 : double(sum(region, axis)) / double(region.size);
    }
    static void growBox(Region& region, long first, long last, long y, long z);

    ZbDArray<Region>& m_regions;
};

RegionTable::RegionTable(ZbDArray<Region>& regions, long numRegions) : m_regions(regions)
{
    constexpr int none = std::numeric_limits<int>::max();
    Region empty{};
    std::fill_n(empty.boxMin, 3, none);
    std::fill_n(empty.boxMax, 3, -1);
    m_regions.resize(numRegions + 1);
    m_regions.fill(empty);
}

inline void RegionTable::growBox(Region& region, long first, long last, long y, long z)
{
    const long lowest[3] = {first, y, z};
    const long highest[3] = {last, y, z};
    for (int axis = 0; axis < 3; ++axis) {
        region.boxMin[axis] = std::min(region.boxMin[axis], int(lowest[axis]));
        region.boxMax[axis] = std::max(region.boxMax[axis], int(highest[axis]));
    }
}

void RegionTable::addRuns(const LabelRun* runs, long numRuns, const RowWord* strong, long y, long z)
{
    for (long i = 0; i < numRuns;) {
        // Neighbouring runs mostly belong to the same region.
        const unsigned label = runs[i].label;
        const long first = runs[i].begin;
        long size = 0;
        long numStrong = 0;
        long sumX = 0;
        do {
            const long begin = runs[i].begin;
            const long end = runs[i].end;
            size += end - begin;
            numStrong += countRowBits(strong, begin, end);
            sumX += (end - begin) * (begin + end - 1) / 2;
        } while (++i < numRuns && runs[i].label == label);
        Region& region = m_regions.data()[label];
        region.size += size;
        region.strong += numStrong;
        addToSum(region, 0, sumX);
        addToSum(region, 1, y * size);
        addToSum(region, 2, z * size);
        growBox(region, first, runs[i - 1].end - 1, y, z);
    }
}

void RegionTable::finish(const GridSize& size, long numStrong)
{
    // The background is what the regions leave of the grid. Sums may wrap in between.
    Region& background = m_regions[0];
    background.size = size.numVoxels();
    background.strong = numStrong;
    const long sizes[3] = {size.nx, size.ny, size.nz};
    for (int axis = 0; axis < 3 && background.size > 0; ++axis) {
        // Each index is that of a layer of voxels across the axis.
        const long layer = background.size / sizes[axis];
        setSum(background, axis, std::uint64_t(layer) * std::uint64_t(sizes[axis] * (sizes[axis] - 1) / 2));
    }
    for (long label = 1; label < m_regions.size(); ++label) {
        Region& region = m_regions[label];
        background.size -= region.size;
        background.strong -= region.strong;
        for (int axis = 0; axis < 3; ++axis)
            setSum(background, axis, sum(background, axis) - sum(region, axis));
        finishCenter(region);
    }
    if (background.size == 0)
        std::fill_n(background.boxMin, 3, 0);
    finishCenter(background);
}

/// The two sweeps over the grid.
class RegionLabeller
{
public:
    RegionLabeller(GridRows& grid, int nb, bool byValue, ZbProgressInterface* progress);

    enum Outcome { Done, TooManyRuns, Interrupted };

    /// The first sweep: finds out which runs belong together.
    Outcome connect();
    /// After connect(): without the background.
    long numRegions() const { return m_numRegions; }
    /// The second sweep: writes labels, unless that is null, and regions.
    Outcome describe(LabelRows* labels, ZbDArray<Region>& regions);

private:
    template <typename VisitRow>
    Outcome sweep(float progressBefore, VisitRow visitRow);

    GridRows& m_grid;
    const int m_nb;
    const bool m_byValue;
    ZbProgressInterface* const m_progress;
    ProvisionalRegions m_provisional;
    long m_numRegions = 0;
};

RegionLabeller::RegionLabeller(GridRows& grid, int nb, bool byValue, ZbProgressInterface* progress)
    : m_grid(grid), m_nb(nb), m_byValue(byValue), m_progress(progress)
{
}

// Calls visitRow(runs, y, z) for every row, at which the runs stand; stops when it returns false.
template <typename VisitRow>
RegionLabeller::Outcome RegionLabeller::sweep(float progressBefore, VisitRow visitRow)
{
    // Often enough for the eye, and too rare to be felt.
    constexpr long voxelsPerReport = 1 << 20;
    const GridSize& size = m_grid.size();
    const long rowsPerReport = std::max(1L, voxelsPerReport / std::max(1L, size.nx));
    RunSweep runs(m_grid, m_nb, m_byValue);
    for (long z = 0; z < size.nz; ++z) {
        for (long y = 0; y < size.ny; ++y) {
            const long row = y + size.ny * z;
            if (m_progress && row % rowsPerReport == 0) {
                m_progress->setProgressValue(progressBefore + 0.5f * float(row) / float(size.numRows()));
                if (m_progress->wasInterrupted())
                    return Interrupted;
            }
            const bool goesOn = zbMultiversion([&] {
                runs.enterRow(y, z);
                return visitRow(runs, y, z);
            });
            if (!goesOn)
                return TooManyRuns;
        }
    }
    return Done;
}

RegionLabeller::Outcome RegionLabeller::connect()
{
    const Outcome outcome = sweep(0.0f, [this](const RunSweep& runs, long, long) {
        runs.meetEarlierRows([this](unsigned earlier, unsigned& own) {
            if (own == 0)
                own = m_provisional.root(earlier);
            else if (own != earlier)
                own = m_provisional.unite(own, earlier);
        });
        for (long run = 0; run < runs.numRuns(); ++run) {
            if (runs.row().labels[run] == 0) {
                if (m_provisional.isFull())
                    return false;
                runs.row().labels[run] = m_provisional.add();
            }
        }
        return true;
    });
    m_numRegions = m_provisional.assignLabels();
    return outcome;
}

// Finds the same runs and contacts again, which costs less than to keep what the first sweep found about
// every run.
RegionLabeller::Outcome RegionLabeller::describe(LabelRows* labels, ZbDArray<Region>& regions)
{
    const GridSize& size = m_grid.size();
    ZbDArray<RowWord> strong(numRowWords(size.nx));
    ZbDArray<LabelRun> labelRuns(size.nx);
    RegionTable table(regions, m_numRegions);
    unsigned numProvisional = 0;
    long numSeen = 0;
    long numStrong = 0;
    const Outcome outcome = sweep(0.5f, [&](const RunSweep& runs, long y, long z) {
        runs.meetEarlierRows([](unsigned earlier, unsigned& own) { own = earlier; });

        LabelRun* run = labelRuns.data();
        const long numWords = numRowWords(size.nx);
        for (long w = 0; w < numWords; ++w)
            forEachBit(runs.row().starts[w], w * rowWordBits, [&](long x) { (run++)->begin = int(x); });
        run = labelRuns.data();
        for (long w = 0; w < numWords; ++w)
            forEachBit(runs.ends()[w], w * rowWordBits, [&](long x) { (run++)->end = int(x + 1); });
        for (long i = 0; i < runs.numRuns(); ++i) {
            unsigned& label = runs.row().labels[i];
            if (label == 0) {
                // The number that the first sweep gave it, too.
                label = m_provisional.label(++numProvisional);
                // Labels come up in the order of their first voxels.
                if (long(label) > numSeen) {
                    numSeen = label;
                    if (m_byValue)
                        regions.data()[label].value = m_grid.value(labelRuns.data()[i].begin);
                }
            }
            labelRuns.data()[i].label = label;
        }

        m_grid.strong(strong.data());
        numStrong += countRowBits(strong.data(), 0, size.nx);
        table.addRuns(labelRuns.data(), runs.numRuns(), strong.data(), y, z);
        const long firstOutside = nextClearRowBit(runs.row().foreground, 0, size.nx);
        if (firstOutside < size.nx)
            table.addBackground(firstOutside, lastClearRowBit(runs.row().foreground, size.nx), y, z);
        if (labels)
            labels->storeRuns((y + size.ny * z) * size.nx, size.nx, labelRuns.data(), runs.numRuns());
        return true;
    });
    if (outcome == Done)
        table.finish(size, numStrong);
    return outcome;
}

}  // namespace

long ZbConnectedComponents::labelRegions(const ZbTypedPointer& in, const int* dims, int nb,
                                         const ZbTypedPointer& out, double low, double high, bool byValue,
                                         ZbDArray<Region>& regions, ZbProgressInterface* progress)
{
    const GridSize size(dims);
    const auto grid = GridRows::create(in, size, low, high, out, byValue);
    const auto labels = LabelRows::create(out);
    if (!grid || !labels) {
        const ZbPrimType unsupported = grid ? out.getPrimType() : in.getPrimType();
        ZbDetail::reportUnsupportedType(unsupported, "ZbConnectedComponents::labelRegions()");
        return -1;
    }
    if (!size.isPossible) {
        std::fputs("ERROR: too many voxels\n", stderr);
        return -1;
    }

    const ZbDetail::ProgressScope working(
        progress, QCoreApplication::translate("ZbConnectedComponents", "Labelling Regions"));
    RegionLabeller labeller(*grid, nb, byValue, progress);
    const RegionLabeller::Outcome connected = labeller.connect();
    const bool isStored = out.getData() != nullptr;
    const bool fits = !isStored || labeller.numRegions() <= long(labels->largestLabel());
    if (connected == RegionLabeller::TooManyRuns)
        std::fputs("ERROR: too many regions\n", stderr);
    else if (connected == RegionLabeller::Done && !fits)
        std::fprintf(stderr, "ERROR: labels of type %s cannot hold %ld regions\n",
                     out.getPrimType().getName(), labeller.numRegions());
    if (connected != RegionLabeller::Done || !fits)
        return -1;
    if (labeller.describe(isStored ? labels.get() : nullptr, regions) != RegionLabeller::Done)
        return -1;
    return labeller.numRegions();
}

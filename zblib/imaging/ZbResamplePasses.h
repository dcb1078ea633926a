#pragma once

// Private: the three passes of a resampling, through intermediate memory that stays in the caches.

#include <zblib/data/ZbBlockBytes.h>
#include <zblib/data/ZbParallelReduce.h>
#include <zblib/foundation/ZbLargeBlock.h>
#include <zblib/foundation/ZbProgressInterface.h>
#include <zblib/imaging/ZbResampleAxis.h>
#include <zblib/imaging/ZbResampleRules.h>

#include <omp.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>

namespace ZbDetail
{

/// Planes of rows of values. There is memory for so many planes that lie side by side; plane z takes the place
/// of plane z - count.
struct Planes {
    char* data = nullptr;
    long rowBytes = 0, planeBytes = 0, count = 0;

    char* row(long y, long z) const { return data + z % count * planeBytes + y * rowBytes; }
};

/// The axes in the order of the passes that takes the fewest additions. Along x, values are also brought into
/// registers across the rows and back. Of several, y before z, because rows of a plane are near to each other.
inline std::array<int, 3> orderOfPasses(const ResampleAxis* axes)
{
    constexpr double transposition = 1.0;  // additions that take as long
    constexpr int orders[][3] = {{1, 2, 0}, {1, 0, 2}, {0, 1, 2}, {2, 1, 0}, {2, 0, 1}, {0, 2, 1}};
    std::array<int, 3> best{};
    double least = 0.0;
    for (const auto& order : orders) {
        double sizes[3], work = 0.0;
        for (int k = 0; k < 3; ++k)
            sizes[k] = double(axes[k].oldSize());
        for (const int axis : order) {
            const double lines = sizes[0] * sizes[1] * sizes[2] / sizes[axis];
            double along = double(axes[axis].numEntries());
            if (axis == 0)
                along += transposition * double(axes[0].oldSize() + axes[0].newSize());
            work += lines * along;
            sizes[axis] = double(axes[axis].newSize());
        }
        if (&order == orders || work < least) {
            least = work;
            std::copy_n(order, 3, best.begin());
        }
    }
    return best;
}

/// Resamples a block of no size 0 along its three axes by a rule.
///
/// The work is cut into slabs of output planes. For each of them, the passes before the one along z go over the
/// input planes that are needed and were not before; their results stay in a ring of planes until no later
/// output plane needs them. Each pass over a slab is a parallel loop over its lines.
template <typename Rule>
class ResamplePasses
{
public:
    using Value = typename Rule::Value;

    /// axes: three. Elements of components values, of sourceBytes and targetBytes each. Throws
    /// ZbMemoryException, which knows the size of a block that could not be had.
    ResamplePasses(const Rule& rule, const ResampleAxis* axes, int components, long sourceBytes,
                   long targetBytes, int threads)
        : m_rule(rule)
        , m_axes(axes)
        , m_components(components)
        , m_order(orderOfPasses(axes))
        , m_threads(threads)
    {
        for (int k = 0; k < 3; ++k)
            m_sizes[0][k] = axes[k].oldSize();
        for (int pass = 0; pass < 3; ++pass) {
            std::copy_n(m_sizes[pass], 3, m_sizes[pass + 1]);
            m_sizes[pass + 1][m_order[size_t(pass)]] = axes[m_order[size_t(pass)]].newSize();
        }
        setDense(m_planes[0], m_sizes[0], sourceBytes);
        setDense(m_planes[3], m_sizes[3], targetBytes);
        makeIntermediates();
        makeScratch();
    }

    /// Makes the output planes [begin, end). False when progress was interrupted, or when stop became true, which
    /// an interruption sets. Reports values from 0 to 1.
    bool run(const void* source, void* target, long begin, long end, std::atomic<bool>& stop,
             ZbProgressInterface* progress)
    {
        // The source is only read.
        m_planes[0].data = static_cast<char*>(const_cast<void*>(source));
        m_planes[3].data = static_cast<char*>(target);
        const ResampleAxis& z = m_axes[2];
        long done = 0;  // input planes that the passes before z have been over
        for (long first = begin; first < end; first += m_slab) {
            if (progress && progress->wasInterrupted(true))
                stop = true;
            if (stop)
                return false;
            const long last = std::min(first + m_slab, end);
            const long needed = z.inputEnd(last);
            done = std::max(done, z.inputBegin(first));
            for (; done < needed; done = std::min(done + m_batch, needed))
                for (int pass = 0; m_order[size_t(pass)] != 2; ++pass)
                    runPass(pass, done, std::min(done + m_batch, needed));
            for (int pass = passAlongZ(); pass < 3; ++pass)
                runPass(pass, first, last);
            if (progress)
                progress->setProgressValue(float(last - begin) / float(end - begin));
        }
        return true;
    }

private:
    static constexpr unsigned long budget = 4ul << 20;  // bytes; about what the caches of a processor hold
    static constexpr long cacheLine = 64;
    // Below so many additions a second thread costs more than it saves.
    static constexpr double smallestParallelWork = 100000.0;

    int passAlongZ() const { return m_order[0] == 2 ? 0 : m_order[1] == 2 ? 1 : 2; }

    void setDense(Planes& planes, const long* sizes, long valueBytes) const
    {
        planes.rowBytes = sizes[0] * m_components * valueBytes;
        planes.planeBytes = sizes[1] * planes.rowBytes;
        planes.count = sizes[2];
    }

    // Odd numbers of cache lines: at distances of high powers of two, rows would displace each other from the
    // caches.
    static long oddLines(unsigned long bytes)
    {
        const long lines = long((bytes + cacheLine - 1) / cacheLine);
        return (lines | 1) * cacheLine;
    }

    long planesOf(int pass, long slab) const
    {
        const int alongZ = passAlongZ();
        if (pass >= alongZ)
            return slab;
        if (pass + 1 < alongZ)
            return batchOf(slab);
        const ResampleAxis& z = m_axes[2];
        // Slabs may start anywhere.
        long most = 1;
        for (long first = 0; first < z.newSize(); ++first) {
            const long last = std::min(first + slab, z.newSize());
            most = std::max(most, z.inputEnd(last) - z.inputBegin(first));
        }
        return most;
    }

    // The input planes that a slab needs anew, on average, as far as there shall be memory for them.
    long batchOf(long slab) const
    {
        const ResampleAxis& z = m_axes[2];
        const long most = std::max(1L, long(budget / 4) / m_planes[1].planeBytes);
        return std::clamp(long(double(slab) * double(z.oldSize()) / double(z.newSize())), 1L, most);
    }

    void makeIntermediates()
    {
        for (int pass = 0; pass < 2; ++pass) {
            const long* sizes = m_sizes[pass + 1];
            Planes& planes = m_planes[pass + 1];
            planes.rowBytes = oddLines(requireBlockBytes({sizes[0], m_components, long(sizeof(Value))}));
            planes.planeBytes = oddLines(requireBlockBytes({sizes[1], planes.rowBytes}));
        }
        const auto bytesOf = [&](int pass, long slab) {
            return requireBlockBytes({m_planes[pass + 1].planeBytes, planesOf(pass, slab)});
        };
        m_slab = 1;
        // Output planes count as well, so that progress is reported often enough.
        const auto fits = [&](long slab) {
            return bytesOf(0, slab) + bytesOf(1, slab) <= budget &&
                   requireBlockBytes({m_planes[3].planeBytes, slab}) <= budget;
        };
        while (m_slab < m_axes[2].newSize() && fits(2 * m_slab))
            m_slab *= 2;
        m_slab = std::min(m_slab, m_axes[2].newSize());
        m_batch = batchOf(m_slab);
        for (int pass = 0; pass < 2; ++pass) {
            m_planes[pass + 1].count = planesOf(pass, m_slab);
            m_memory[pass] = allocateBlock(bytesOf(pass, m_slab));
            m_planes[pass + 1].data = m_memory[pass].get();
        }
    }

    void makeScratch()
    {
        const long longest = std::max(m_axes[1].longest(), m_axes[2].longest());
        m_scratch.reset(new typename Rule::Scratch[size_t(m_threads)]);
        for (int thread = 0; thread < m_threads; ++thread)
            Rule::prepare(m_scratch[size_t(thread)], m_axes[0].oldSize() * m_components,
                          std::max(longest, m_axes[0].longest()));
    }

    // Calls work(line, scratch) for lines [0, count), which take so many additions each.
    template <typename Work>
    void forEachLine(long count, double additions, Work work)
    {
        const int threads = double(count) * additions < smallestParallelWork ? 1 : m_threads;
        // Guided: a processor that is also busy with something else shall not be waited for.
#pragma omp parallel for schedule(guided, 2) num_threads(threads) if (threads > 1)
        for (long line = 0; line < count; ++line)
            work(line, m_scratch[threads > 1 ? size_t(omp_get_thread_num()) : 0]);
    }

    // Planes [begin, end), of the output where that has others than the input.
    void runPass(int pass, long begin, long end)
    {
        const Planes& in = m_planes[pass];
        const Planes& out = m_planes[pass + 1];
        const PassEnds ends{pass == 0, pass == 2};
        const ResampleAxis& axis = m_axes[m_order[size_t(pass)]];
        const long length = m_sizes[pass + 1][0] * m_components;
        const long rows = m_sizes[pass + 1][1];
        const double meanEntries = 1.0 + double(axis.numEntries()) / double(axis.newSize());

        switch (m_order[size_t(pass)]) {
        case 0: {
            const long groups = (rows + rowGroupSize - 1) / rowGroupSize;
            forEachLine((end - begin) * groups, double(length * rowGroupSize) * meanEntries,
                        [&](long line, typename Rule::Scratch& scratch) {
                            const long z = begin + line / groups, y = line % groups * rowGroupSize;
                            const RowGroup group{in.row(y, z), out.row(y, z), in.rowBytes, out.rowBytes,
                                                 std::min(rowGroupSize, rows - y)};
                            m_rule.resampleRows(group, axis, m_components, ends, scratch);
                        });
            return;
        }
        case 1:
            forEachLine((end - begin) * rows, double(length) * meanEntries,
                        [&](long line, typename Rule::Scratch& scratch) {
                            const long z = begin + line / rows, y = line % rows;
                            for (long k = 0; k < axis.count(y); ++k)
                                scratch.rows[k] = in.row(axis.begin(y) + k, z);
                            m_rule.combineRows(out.row(y, z), scratch.rows.data(), axis.weights(y),
                                               axis.count(y), length, ends, scratch);
                        });
            return;
        default:
            // All planes of a slab for one row: they share input rows.
            forEachLine(rows, double(length * (end - begin)) * meanEntries,
                        [&](long y, typename Rule::Scratch& scratch) {
                            for (long z = begin; z < end; ++z) {
                                for (long k = 0; k < axis.count(z); ++k)
                                    scratch.rows[k] = in.row(y, axis.begin(z) + k);
                                m_rule.combineRows(out.row(y, z), scratch.rows.data(), axis.weights(z),
                                                   axis.count(z), length, ends, scratch);
                            }
                        });
        }
    }

    const Rule& m_rule;
    const ResampleAxis* m_axes;
    long m_components;
    std::array<int, 3> m_order;  // the axis of each pass
    int m_threads;
    long m_sizes[4][3];  // before each pass, and behind the last
    Planes m_planes[4];  // likewise: source, two intermediate ones, target
    OwnedBlock m_memory[2];
    long m_slab = 1;   // output planes
    long m_batch = 1;  // input planes that the passes before z take at a time
    std::unique_ptr<typename Rule::Scratch[]> m_scratch;
};

/// Resamples a whole block, on all threads. Arguments are as for ResamplePasses, whose exceptions it throws.
///
/// Each thread makes a range of the output planes. Then none waits for another before the end, and what one pass
/// has written is in its own cache for the next. Input planes around the ends of the ranges are gone over twice;
/// where these would be many, the threads share the lines of each pass instead.
template <typename Rule>
bool resampleBlock(const Rule& rule, const ResampleAxis* axes, int components, const void* source,
                   long sourceBytes, void* target, long targetBytes, ZbProgressInterface* progress)
{
    constexpr unsigned long fewestPlanes = 8;  // of a range
    const ResampleAxis& z = axes[2];
    std::atomic<bool> stop = false;
    const int ranges = pieceCount((unsigned long)(z.newSize()), fewestPlanes);
    if (ranges == 1 || z.oldSize() / ranges < 2 * z.longest()) {
        const int threads = omp_in_parallel() ? 1 : omp_get_max_threads();
        ResamplePasses<Rule> passes(rule, axes, components, sourceBytes, targetBytes, threads);
        return passes.run(source, target, 0, z.newSize(), stop, progress);
    }
    bool finished = true;
    parallelReduce((unsigned long)(z.newSize()), ranges,
                   [&](unsigned long begin, unsigned long end, int range) {
                       ResamplePasses<Rule> passes(rule, axes, components, sourceBytes, targetBytes, 1);
                       return passes.run(source, target, long(begin), long(end), stop,
                                         range == 0 ? progress : nullptr);
                   },
                   [&](bool rangeFinished) { finished = finished && rangeFinished; });
    return finished;
}

}  // namespace ZbDetail

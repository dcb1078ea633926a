#pragma once

#include <zblib/foundation/ZbExport.h>

class ZbMemorySelection;

/// Which bytes, counted from some address, belong to a selection: a nest of up to eight levels, each a count
/// and a stride.
///
/// Level 0 is the innermost. In the usual form it is a run of contiguous bytes (stride 1), and every higher
/// level repeats the levels below it count times at its stride. The order in which such loops would run is
/// the order of the pattern. Strides may be 0 or negative: offsets count from the first selected byte, which
/// need not be the lowest. Every second voxel of every second row of a 100 x 50 slice of shorts is
///
///     const long counts[] = {sizeof(short), 50, 25}, strides[] = {1, 4, 400};
///     ZbBytePattern pattern(3, counts, strides);
///
/// A plain value without pointers, which threads may read at once; zbmemcpy() and zbmapLinear() work on it. A
/// pattern whose strides are in elements rather than bytes comes from changeElemSize().
class ZB_API ZbBytePattern
{
public:
    static constexpr int maxNesting = 8;

    class Iterator;

    /// No levels, nothing to visit.
    ZbBytePattern() noexcept = default;
    /// As init().
    ZbBytePattern(int numLevels, const long* counts, const long* strides)
    {
        init(numLevels, counts, strides);
    }
    /// The bytes of the selected elements, dimension 0 fastest. Throws as init().
    explicit ZbBytePattern(const ZbMemorySelection& selection);

    /// The n bytes that follow the first.
    static ZbBytePattern CreateContigousBlock(long n);

    /// Takes numLevels counts and strides (in bytes), innermost first, and folds a level into the one below
    /// when it continues that without a gap: dense data becomes one level. Negative counts count as 0.
    ///
    /// numLevels may exceed maxNesting when what is left after folding does not. Throws ZbException, and
    /// leaves the pattern as it was, when too many levels are left and when the counts or offsets do not
    /// fit 64 bits.
    void init(int numLevels, const long* counts, const long* strides);

    /// Levels in use; 0 for a default pattern only.
    int nesting() const noexcept { return m_nesting; }
    /// level is in [0, nesting()).
    long count(int level) const noexcept { return m_counts[level]; }
    long stride(int level) const noexcept { return m_strides[level]; }

    /// The number of bytes, or elements, in the pattern: the product of all counts, 1 for a default pattern.
    long byteCount() const noexcept;
    /// The distance from the first byte to the last of the pattern, both included; 1 for a default pattern.
    /// With positive strides that is the memory that the pattern needs.
    long minMemRequirement() const noexcept;

    /// Turns a pattern of bytes into one of elements of elemSize bytes: the run of level 0 and the strides
    /// of the others are divided by elemSize, remainders are dropped. The stride of level 0 stays. An
    /// elemSize below 1 changes nothing.
    void changeElemSize(int elemSize) noexcept;

private:
    // No sum or product of counts and strides that the members and the iterator form exceeds 64 bits: init()
    // refuses such patterns.
    long m_counts[maxNesting] = {};
    long m_strides[maxNesting] = {};
    int m_nesting = 0;
};

/// Walks over a pattern run by run.
///
///     for (ZbBytePattern::Iterator it(pattern); it.more(); it.forward(it.contiguous()))
///         use(data + it.offset(), it.contiguous());
///
/// The pattern is not copied and must outlive the iterator. An iterator on a default pattern is at its end.
/// A pattern with a count of 0 in the middle has no bytes, but visits empty runs and those of the levels
/// below: see that byteCount() is not 0 first.
class ZbBytePattern::Iterator
{
public:
    explicit Iterator(const ZbBytePattern& pattern) noexcept : m_pattern(&pattern) {}

    /// Back to the first byte.
    void reset() noexcept { *this = Iterator(*m_pattern); }
    /// True until the end is reached.
    bool more() const noexcept
    {
        const int outermost = m_pattern->m_nesting - 1;
        return outermost >= 0 && m_indices[outermost] < m_pattern->m_counts[outermost];
    }
    /// Distance from the first byte of the pattern, in its units.
    long offset() const noexcept { return m_offset; }
    /// The change of offset() that the last forward() made.
    long delta() const noexcept { return m_delta; }
    /// The number of units that follow each other in memory from here on: what is left of level 0, or 1 when
    /// level 0 has a stride other than 1. 0 on a default pattern.
    long contiguous() const noexcept
    {
        if (m_pattern->m_strides[0] != 1)
            return m_pattern->m_nesting > 0 ? 1 : 0;
        return m_pattern->m_counts[0] - m_indices[0];
    }

    /// Goes on by n units, at most contiguous(); carries into the higher levels at the end of a run.
    void forward(long n) noexcept
    {
        m_indices[0] += n;
        m_delta = n * m_pattern->m_strides[0];
        if (m_indices[0] >= m_pattern->m_counts[0])
            carry();
        m_offset += m_delta;
    }
    /// Goes to the unit with that number in the order of the pattern, in O(nesting). Numbers below 1 mean the
    /// first one, numbers from byteCount() on the end. delta() is 0 afterwards.
    void move(long position) noexcept
    {
        reset();
        const int nesting = m_pattern->m_nesting;
        if (position < 1 || nesting < 1)
            return;
        long below[maxNesting];  // units in one step of each level
        long units = 1;
        int level = 0;
        for (; level < nesting && units <= position; ++level) {
            below[level] = units;
            units *= m_pattern->m_counts[level];
        }
        if (units <= position) {
            m_indices[nesting - 1] = m_pattern->m_counts[nesting - 1];
            m_offset = m_indices[nesting - 1] * m_pattern->m_strides[nesting - 1];
            return;
        }
        while (--level >= 0) {
            m_indices[level] = position / below[level];
            position %= below[level];
            m_offset += m_indices[level] * m_pattern->m_strides[level];
        }
    }

private:
    void carry() noexcept
    {
        const ZbBytePattern& pattern = *m_pattern;
        for (int level = 1; level < pattern.m_nesting; ++level) {
            ++m_indices[level];
            m_delta += pattern.m_strides[level] - pattern.m_strides[level - 1] * pattern.m_counts[level - 1];
            if (m_indices[level] < pattern.m_counts[level]) {
                for (int lower = 0; lower < level; ++lower)
                    m_indices[lower] = 0;
                return;
            }
        }
    }

    const ZbBytePattern* m_pattern;
    long m_indices[maxNesting] = {};
    long m_offset = 0;
    long m_delta = 0;
};

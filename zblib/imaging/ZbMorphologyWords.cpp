#include <zblib/imaging/ZbMorphologyRules.h>

#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/imaging/ZbGridSize.h>
#include <zblib/system/ZbWatch.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <utility>

// A row is numWords words whose last may have bits beyond the row, which are arbitrary everywhere. Rows lie one after
// the other, so that the rows of a slice are one array of words, and the rows above and below, and the slices before
// and behind, are further pointers into such arrays. A neighbour outside of the grid is replaced by the voxel itself:
// that changes neither an intersection nor a union. Only the ends of rows need more than that.

namespace ZbDetail
{
namespace
{

using Word = unsigned int;

constexpr long wordBits = 32;
constexpr long block = 128;  // words that a loop of constant length handles

/// The words of n bits.
constexpr long wordsFor(long n)
{
    return n / wordBits + (n % wordBits != 0);
}

/// The bits below bit n % 32.
constexpr Word bitsBelow(long n)
{
    return (Word(1) << n % wordBits) - 1;
}

/// The 32 bits from bit shift of low on, which go on in high; shift is in [0, 32).
constexpr Word funnel(Word low, Word high, unsigned shift)
{
    return low >> shift | high << 1 << (31 - shift);
}

/// The bits in which neighbours in x lie outside of the row, for a block of words that begins anywhere in a row.
class RowEnds
{
public:
    explicit RowEnds(long nx) : m_numWords(wordsFor(nx))
    {
        const Word behind = ~bitsBelow(nx - 1);
        if (m_numWords <= block) {
            for (long i = 0; i < size; ++i) {
                m_first[size_t(i)] = i % m_numWords == 0 ? 1 : 0;
                m_last[size_t(i)] = i % m_numWords == m_numWords - 1 ? behind : 0;
            }
        } else {
            // A block holds at most one end, which is all that the tables have.
            m_first[block] = 1;
            m_last[block - 1] = behind;
        }
    }

    long numWords() const { return m_numWords; }
    /// The index, for first() and last(), of a block that begins with word w of a row.
    long blockAt(long w) const
    {
        if (m_numWords <= block)
            return w;
        if (w == 0)
            return block;
        return m_numWords - w <= block ? block - (m_numWords - w) : block + 1;
    }
    const Word* first() const { return m_first.data(); }
    const Word* last() const { return m_last.data(); }

private:
    static constexpr long size = 2 * block + 1;
    const long m_numWords;
    std::array<Word, size_t(size)> m_first{};
    std::array<Word, size_t(size)> m_last{};
};

/// Whole rows to combine into as many. The neighbours in y or z are pairs of arrays like center.
struct Rows {
    const Word* center;
    const Word* neighbours[4];
    Word* out;  // with protection: the protected bits come in, the result goes out
    long numWords;
    const RowEnds* ends;
};

struct Erosion {
    static Word combine(Word a, Word b) { return a & b; }
    static Word outside(Word a, Word mask) { return a | mask; }
};

struct Dilation {
    static Word combine(Word a, Word b) { return a | b; }
    static Word outside(Word a, Word mask) { return a & ~mask; }
};

enum class Shape { Cross, Square };

/// One step. A square is that of x and one other axis, whose neighbours are the first two.
template <typename Rule, Shape shape, int numNeighbours, bool alongX, bool isProtected>
struct Step {
    struct Pointers {
        const Word* center;
        const Word* n0;
        const Word* n1;
        const Word* n2;
        const Word* n3;

        Word column(long i) const
        {
            if constexpr (shape == Shape::Square)
                return Rule::combine(center[i], Rule::combine(n0[i], n1[i]));
            else
                return center[i];
        }
    };

    static Word word(const Pointers& p, long i, Word before, Word after, Word first, Word last, Word out)
    {
        const Word here = p.column(i);
        Word result = here;
        if constexpr (alongX) {
            result = Rule::combine(result, Rule::outside(here << 1 | before >> 31, first));
            result = Rule::combine(result, Rule::outside(here >> 1 | after << 31, last));
        }
        if constexpr (shape == Shape::Cross) {
            result = Rule::combine(result, Rule::combine(p.n0[i], p.n1[i]));
            if constexpr (numNeighbours == 4)
                result = Rule::combine(result, Rule::combine(p.n2[i], p.n3[i]));
        }
        if constexpr (isProtected)
            result = p.center[i] & (result | out);
        return result;
    }

    // No function reads beyond the words: the first and the last one go alone.
    static void run(const Word* center, const Word* n0, const Word* n1, const Word* n2, const Word* n3,
                    Word* __restrict out, long numWords, const RowEnds& ends)
    {
        const Pointers p{center, n0, n1, n2, n3};
        const Word* const first = ends.first();
        const Word* const last = ends.last();
        const auto single = [&](long i, Word before, Word after) {
            const long e = ends.blockAt(i % ends.numWords());
            out[i] = word(p, i, before, after, first[e], last[e], out[i]);
        };
        single(0, 0, numWords > 1 ? p.column(1) : 0);
        if (numWords == 1)
            return;

        const auto loop = [&](long i, long e, long count) {
            for (long k = 0; k < count; ++k) {
                const Word before = alongX ? p.column(i + k - 1) : 0;
                const Word after = alongX ? p.column(i + k + 1) : 0;
                out[i + k] = word(p, i + k, before, after, first[e + k], last[e + k], out[i + k]);
            }
        };
        const long rowWords = ends.numWords();
        const long stride = block % rowWords;
        long i = 1;
        long inRow = 1 % rowWords;
        for (; i + block < numWords; i += block) {
            loop(i, ends.blockAt(inRow), block);
            inRow += stride;
            if (inRow >= rowWords)
                inRow -= rowWords;
        }
        if (i < numWords - 1)
            loop(i, ends.blockAt(inRow), numWords - 1 - i);
        single(numWords - 1, p.column(numWords - 2), 0);
    }

    static void combine(const Rows& rows)
    {
        const Word* const* n = rows.neighbours;
        zbMultiversion([center = rows.center, n0 = n[0], n1 = n[1], n2 = n[2], n3 = n[3], out = rows.out,
                        numWords = rows.numWords,
                        ends = rows.ends] { run(center, n0, n1, n2, n3, out, numWords, *ends); });
    }
};

using Combine = void (*)(const Rows&);

/// Takes rows of bits from anywhere in a field to the boundaries of words.
void unpackRows(const Word* words, long totalWords, long firstBit, long nx, long numRows, Word* out)
{
    // Whole vectors are written; what is too much is overwritten by the next row, or in the room behind the rows.
    constexpr long vector = 8;
    const long rowWords = wordsFor(nx);
    zbMultiversion([=] {
        Word* to = out;
        long bit = firstBit;
        for (long row = 0; row < numRows; ++row, bit += nx, to += rowWords) {
            const Word* const from = words + bit / wordBits;
            const auto shift = unsigned(bit % wordBits);
            const long available = totalWords - bit / wordBits;
            long k = 0;
            for (; k < rowWords && k + vector < available; k += vector)
                for (long i = 0; i < vector; ++i)
                    to[k + i] = funnel(from[k + i], from[k + i + 1], shift);
            for (; k < rowWords && k < available; ++k)
                to[k] = funnel(from[k], k + 1 < available ? from[k + 1] : 0, shift);
        }
    });
}

/// Puts rows from the boundaries of words one after the other into a field, from some bit on.
///
/// Words that hold bits of others as well, which are the first and the last one, are changed atomically, those in
/// between are written once.
class RowPacker
{
public:
    /// For the bits of [firstBit, endBit) of totalBits.
    RowPacker(Word* words, long firstBit, long endBit, long totalBits)
        : m_words(words)
        , m_bit(firstBit)
        , m_firstBit(firstBit)
        , m_endBit(endBit)
        , m_isLast(endBit == totalBits)
    {
    }

    /// Reads a word in front of the rows and some behind them, whatever they are.
    void append(const Word* rows, long nx, long numRows)
    {
        zbMultiversion([=, this] {
            RowPacker local = *this;
            const long rowWords = wordsFor(nx);
            for (long row = 0; row < numRows; ++row)
                local.appendRow(rows + row * rowWords, nx);
            *this = local;
        });
    }

    /// Writes what is left of the last word.
    void finish()
    {
        if (m_bit % wordBits != 0)
            store(m_bit / wordBits, m_pending);
    }

private:
    void appendRow(const Word* row, long nx)
    {
        constexpr long vector = 8;
        const auto shift = unsigned(m_bit % wordBits);
        const long index = m_bit / wordBits;
        Word* const to = m_words + index;
        m_bit += nx;
        const long numWhole = m_bit / wordBits - index;
        const auto shifted = [=](long k) { return row[k] << shift | row[k - 1] >> 1 >> (31 - shift); };
        const Word head = m_pending | row[0] << shift;
        if (numWhole == 0) {
            m_pending = head & bitsBelow(m_bit);
            return;
        }
        const long room = m_endBit / wordBits - index;
        long k = 1;
        for (; k < numWhole && k + vector <= room; k += vector)
            for (long i = 0; i < vector; ++i)
                to[k + i] = shifted(k + i);
        for (; k < numWhole; ++k)
            to[k] = shifted(k);
        if (index == m_firstBit / wordBits)
            store(index, head);
        else
            to[0] = head;
        m_pending = shifted(numWhole) & bitsBelow(m_bit);
    }

    /// The own bits of a word that may have others.
    void store(long index, Word bits)
    {
        Word own = ~Word(0);
        if (index == m_firstBit / wordBits)
            own &= ~bitsBelow(m_firstBit);
        if (index == m_endBit / wordBits && !m_isLast)
            own &= bitsBelow(m_endBit);
        if (own == ~Word(0)) {
            m_words[index] = bits;
            return;
        }
        const std::atomic_ref<Word> word(m_words[index]);
        word.fetch_and(~own, std::memory_order_relaxed);
        word.fetch_or(bits & own, std::memory_order_relaxed);
    }

    Word* m_words;
    long m_bit;          // where the next row begins
    Word m_pending = 0;  // the bits of its word that are in front of it
    long m_firstBit;
    long m_endBit;
    bool m_isLast;  // behind the last bit there is only padding, which becomes clear
};

struct FreeWords {
    void operator()(Word* words) const { zbfree(words); }
};

enum class Operation { Erode, Dilate };
enum class Axes { Cross, SquareXY };

struct Rule {
    Operation operation;
    Axes axes = Axes::Cross;
    bool alongZ = true, alongY = true, alongX = true;
    const ZbBitfield* protect = nullptr;
};

template <typename R, bool isProtected>
Combine chooseCross(int numNeighbours, bool alongX)
{
    if (numNeighbours == 4)
        return alongX ? Step<R, Shape::Cross, 4, true, isProtected>::combine
                      : Step<R, Shape::Cross, 4, false, isProtected>::combine;
    return alongX ? Step<R, Shape::Cross, 2, true, isProtected>::combine
                  : Step<R, Shape::Cross, 2, false, isProtected>::combine;
}

Combine choose(const Rule& rule, int numNeighbours)
{
    if (rule.operation == Operation::Erode) {
        if (rule.axes == Axes::SquareXY)
            return Step<Erosion, Shape::Square, 2, true, false>::combine;
        return rule.protect ? chooseCross<Erosion, true>(numNeighbours, rule.alongX)
                            : chooseCross<Erosion, false>(numNeighbours, rule.alongX);
    }
    if (rule.axes == Axes::SquareXY)
        return Step<Dilation, Shape::Square, 2, true, false>::combine;
    return numNeighbours == 4 ? Step<Dilation, Shape::Cross, 4, true, false>::combine
                              : Step<Dilation, Shape::Cross, 2, true, false>::combine;
}

/// Several steps in one pass over a range of slices: as soon as a slice and its neighbours have been through one step,
/// the next one takes it, from the cache.
///
/// Level 0 is src, level numSteps is dst. Of each level between them, and of an end of the pass whose rows are not at
/// the boundaries of words, the last three slices are kept. So level l may make slice z once level l - 1 has made
/// slice z + 1. Slices outside of the range that the steps need are computed as well.
class SlicePass
{
public:
    SlicePass(const Rule& rule, const ZbBitfield& src, ZbBitfield& dst, const GridSize& size, bool inPlace,
              int numSteps)
        : m_rule(rule)
        , m_src(src.dataPtr())
        , m_dst(dst.dataPtr())
        , m_protect(rule.protect ? rule.protect->dataPtr() : nullptr)
        , m_size(size)
        , m_inPlace(inPlace)
        , m_numSteps(numSteps)
        , m_ends(size.nx)
        , m_sliceWords(m_ends.numWords() * size.ny)
        , m_usesY((rule.alongY || rule.axes == Axes::SquareXY) && size.ny > 1)
        , m_usesZ(rule.alongZ && rule.axes == Axes::Cross && size.nz > 1)
        , m_combine(choose(rule, m_usesY && m_usesZ ? 4 : 2))
    {
    }

    /// Scratch words for a pass.
    static long numSlices(bool inPlace, long numSteps)
    {
        return inPlace ? 3 * (numSteps - 1) : 3 * numSteps + 1;
    }

    void run(long zBegin, long zEnd)
    {
        const long reach = m_usesZ ? 1 : 0;
        const long sliceBits = m_size.nx * m_size.ny;
        allocate();
        RowPacker packer(m_dst, zBegin * sliceBits, zEnd * sliceBits, sliceBits * m_size.nz);
        // What a level has to make.
        const auto begin = [=, this](long level) {
            return std::max(0L, zBegin - (m_numSteps - level) * reach);
        };
        const auto end = [=, this](long level) {
            return std::min(m_size.nz, zEnd + (m_numSteps - level) * reach);
        };
        long unpacked = begin(0);
        for (long newest = begin(1); newest < zEnd + m_numSteps - 1; ++newest) {
            for (; !m_inPlace && unpacked <= newest + reach && unpacked < end(0); ++unpacked)
                unpackRows(m_src, wordsFor(sliceBits * m_size.nz), unpacked * sliceBits, m_size.nx, m_size.ny,
                           scratch(0, unpacked));
            for (long level = 1; level <= m_numSteps; ++level) {
                const long z = newest - (level - 1);
                if (z < begin(level) || z >= end(level))
                    continue;
                makeSlice(level, z);
                if (level == m_numSteps && !m_inPlace)
                    packer.append(scratch(level, z), m_size.nx, m_size.ny);
            }
        }
        if (!m_inPlace)
            packer.finish();
    }

private:
    static constexpr long room =
        32;  // around slices, which are read and written by a little more than they have
    // Slices whose distance is a multiple of 4 KiB would make loads wait for stores that they do not depend on.
    long stride() const { return (m_sliceWords + room + 1023) / 1024 * 1024 + 304; }

    void allocate()
    {
        const long count = numSlices(m_inPlace, m_numSteps);
        if (count > 0)
            m_scratch.reset(
                static_cast<Word*>(zbmalloc(sizeof(Word) * (unsigned long)(count * stride() + room))));
    }

    Word* scratch(long level, long z) const
    {
        const long firstLevel = m_inPlace ? 1 : 0;
        const long slot = 3 * (level - firstLevel) + (level < m_numSteps ? z % 3 : 0);
        return m_scratch.get() + room + slot * stride();
    }

    const Word* read(long level, long z) const
    {
        return m_inPlace && level == 0 ? m_src + z * m_sliceWords : scratch(level, z);
    }

    Word* write(long level, long z) const
    {
        return m_inPlace && level == m_numSteps ? m_dst + z * m_sliceWords : scratch(level, z);
    }

    void makeSlice(long level, long z)
    {
        const Word* const center = read(level - 1, z);
        Word* const out = write(level, z);
        if (m_protect) {
            if (m_inPlace)
                std::memcpy(out, m_protect + z * m_sliceWords, size_t(m_sliceWords) * sizeof(Word));
            else
                unpackRows(m_protect, wordsFor(m_size.numVoxels()), z * m_size.nx * m_size.ny, m_size.nx,
                           m_size.ny, out);
        }
        const Word* const before = m_usesZ && z > 0 ? read(level - 1, z - 1) : center;
        const Word* const behind = m_usesZ && z < m_size.nz - 1 ? read(level - 1, z + 1) : center;
        const long rowWords = m_ends.numWords();
        if (!m_usesY) {
            m_combine({center, {before, behind, center, center}, out, m_sliceWords, &m_ends});
            return;
        }
        const auto rows = [&](long firstRow, long count, long above, long below) {
            const long i = firstRow * rowWords;
            m_combine({center + i,
                       {center + i - above * rowWords, center + i + below * rowWords, before + i, behind + i},
                       out + i,
                       count * rowWords,
                       &m_ends});
        };
        rows(0, 1, 0, 1);
        if (m_size.ny > 2)
            rows(1, m_size.ny - 2, 1, 1);
        rows(m_size.ny - 1, 1, 1, 0);
    }

    const Rule m_rule;
    const Word* const m_src;
    Word* const m_dst;
    const Word* const m_protect;
    const GridSize m_size;
    const bool m_inPlace;  // the rows of src and dst are at the boundaries of words and stay where they are
    const long m_numSteps;
    const RowEnds m_ends;
    const long m_sliceWords;
    const bool m_usesY, m_usesZ;  // there are neighbours in y, in z
    const Combine m_combine;
    std::unique_ptr<Word, FreeWords> m_scratch;
};

void runPass(const Rule& rule, const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, bool inPlace,
             long zBegin, long zEnd, int steps)
{
    const ZbWatch watch;
    const GridSize size(dims.x, dims.y, dims.z);
    SlicePass(rule, src, dst, size, inPlace, steps).run(zBegin, zEnd);
}

}  // namespace

void erodeBitfieldRegionFastGeneral(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims,
                                    const SliceRange& range, bool alongZ, bool alongY, bool alongX,
                                    const ZbBitfield* protect, int steps)
{
    runPass({Operation::Erode, Axes::Cross, alongZ, alongY, alongX, protect}, src, dst, dims, false,
            long(range.begin()), long(range.end()), steps);
}

void erodeBitfieldRegionFast(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims,
                             const SliceRange& range, bool alongZ, bool alongY, bool alongX,
                             const ZbBitfield* protect, int steps)
{
    runPass({Operation::Erode, Axes::Cross, alongZ, alongY, alongX, protect}, src, dst, dims, true,
            long(range.begin()), long(range.end()), steps);
}

void erodeBitfieldFastGeneral(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, bool alongZ,
                              bool alongY, bool alongX, const ZbBitfield* protect)
{
    erodeBitfieldRegionFastGeneral(src, dst, dims, SliceRange(0, (unsigned long)(dims.z)), alongZ, alongY,
                                   alongX, protect);
}

void dilateBitfieldFastGeneral(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, int steps)
{
    runPass({.operation = Operation::Dilate}, src, dst, dims, false, 0, dims.z, steps);
}

void dilateBitfieldFast(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims, int steps)
{
    runPass({.operation = Operation::Dilate}, src, dst, dims, true, 0, dims.z, steps);
}

void erodeBitfieldFastGeneral2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    runPass({Operation::Erode, Axes::SquareXY}, src, dst, ZbVec3i(dims.x, dims.y, 1), false, 0, 1, 1);
}

void dilateBitfieldFastGeneral2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    runPass({Operation::Dilate, Axes::SquareXY}, src, dst, ZbVec3i(dims.x, dims.y, 1), false, 0, 1, 1);
}

void erodeBitfieldFast2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    runPass({Operation::Erode, Axes::SquareXY}, src, dst, ZbVec3i(dims.x, dims.y, 1), true, 0, 1, 1);
}

void dilateBitfieldFast2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    runPass({Operation::Dilate, Axes::SquareXY}, src, dst, ZbVec3i(dims.x, dims.y, 1), true, 0, 1, 1);
}

int stepsInOnePass(const ZbVec3i& dims, int wanted)
{
    constexpr long cacheBytes = 1 << 20;  // about half of a second-level cache
    const long sliceBytes = 4 * wordsFor(dims.x) * dims.y;
    int steps = 1;
    while (steps < wanted && SlicePass::numSlices(false, steps + 1) * sliceBytes <= cacheBytes)
        ++steps;
    return steps;
}

}  // namespace ZbDetail

#include <zblib/imaging/ZbMorphologyRules.h>

#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/imaging/ZbGridSize.h>
#include <zblib/system/ZbWatch.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>

// The voxels of a slice are one array of words, in which the row above is nx bits further down and the one below nx bits
// further up; the slices before and behind are arrays like it. So a step is one loop over the words of a slice. A
// neighbour outside of the grid is replaced by the voxel itself or by a neutral bit (set for erosion, clear for
// dilation): that changes neither an intersection nor a union.

namespace ZbDetail
{
namespace
{

using Word = unsigned int;

constexpr long wordBits = 32;
constexpr long vector = 8;            // words that a vector has, for loops of constant length
constexpr long cacheBytes = 1 << 20;  // for scratch memory: about half of a second-level cache
constexpr long block = 256;           // words between two looks at where rows end

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

/// The 32 bits from bit shift of low on, which go on in high; shift is in [1, 32).
constexpr Word funnel(Word low, Word high, unsigned shift)
{
    return low >> shift | high << (32 - shift);
}

/// The bits of a slice whose neighbours in x are not to be looked at: those at the ends of rows, or all.
class RowEnds
{
public:
    RowEnds(long nx, bool alongX) : m_nx(nx), m_period(alongX ? nx / std::gcd(nx, wordBits) : 1)
    {
        if (!alongX) {
            m_first.fill(~Word(0));
            m_last.fill(~Word(0));
        } else if (m_period <= longestPeriod) {
            mark(0, m_period + block, true);
        }
    }

    /// Makes first and last those of up to block words from this one of a slice on.
    void moveTo(long word)
    {
        if (m_period <= longestPeriod) {
            const auto offset = (unsigned long)(word) % (unsigned long)(m_period);
            first = m_first.data() + offset;
            last = m_last.data() + offset;
            return;
        }
        if (m_marked >= 0)
            mark(m_marked, block, false);
        mark(word, block, true);
        m_marked = word;
        first = m_first.data();
        last = m_last.data();
    }

    const Word* first = nullptr;  // bits that begin a row
    const Word* last = nullptr;   // bits that end one

private:
    static constexpr long longestPeriod = 1024;

    /// Sets or clears the ends of rows in numWords words of a slice, from entry 0 on.
    void mark(long word, long numWords, bool isSet)
    {
        const long begin = word * wordBits;
        const long end = begin + numWords * wordBits;
        const auto put = [=](Word& entry, long bit) {
            const Word mask = Word(1) << bit % wordBits;
            entry = isSet ? entry | mask : entry & ~mask;
        };
        for (long next = (begin + m_nx - 1) / m_nx * m_nx; next <= end; next += m_nx) {
            if (next < end)
                put(m_first[size_t(next / wordBits - word)], next);
            if (next > begin)
                put(m_last[size_t((next - 1) / wordBits - word)], next - 1);
        }
    }

    const long m_nx;
    const long m_period;  // words after which the ends of rows are in the same bits again
    long m_marked = -1;   // the word of entry 0 where the period is too long for the tables
    std::array<Word, size_t(longestPeriod + block)> m_first{};
    std::array<Word, size_t(longestPeriod + block)> m_last{};
};

struct Erosion {
    static constexpr Word neutral = ~Word(0);
    static Word combine(Word a, Word b) { return a & b; }
    static Word outside(Word a, Word mask) { return a | mask; }
};

struct Dilation {
    static constexpr Word neutral = 0;
    static Word combine(Word a, Word b) { return a | b; }
    static Word outside(Word a, Word mask) { return a & ~mask; }
};

/// Words whose bits begin at bit shift of the first one.
struct ShiftedWords {
    const Word* words = nullptr;
    unsigned shift = 0;  // below 32
};

/// Words to combine into as many.
struct Words {
    const Word* center;
    // Where the neighbours of the bits of center begin. The first pair is that in y, if there is one.
    ShiftedWords pair[2];
    ShiftedWords otherPair[2];
    Word* out;  // with protection: the protected bits come in, the result goes out
    long numWords;
    RowEnds* ends;
    long firstWord;       // the place of the words in the slice, or in the field
    bool goesOn = false;  // on both sides the word next to these may be read, for the neighbours in x
};

enum class Shape {
    OnePair,   // one axis beside x
    TwoPairs,  // both
    Square,    // one axis beside x, with the neighbours that differ in both
};

template <typename Rule, Shape shape, bool isShifted, bool isOtherShifted, bool isProtected>
struct Step {
    struct Neighbours {
        const Word* center;
        const Word* a;
        const Word* b;
        const Word* c;
        const Word* d;
        unsigned shiftA, shiftB, shiftC, shiftD;

        Word pair(long i) const
        {
            if constexpr (isShifted)
                return Rule::combine(funnel(a[i], a[i + 1], shiftA), funnel(b[i], b[i + 1], shiftB));
            else
                return Rule::combine(a[i], b[i]);
        }
        Word otherPair(long i) const
        {
            if constexpr (isOtherShifted)
                return Rule::combine(funnel(c[i], c[i + 1], shiftC), funnel(d[i], d[i + 1], shiftD));
            else
                return Rule::combine(c[i], d[i]);
        }
        /// What is looked at beside the voxel itself, to the left and to the right.
        Word column(long i) const
        {
            if constexpr (shape == Shape::Square)
                return Rule::combine(center[i], pair(i));
            else
                return center[i];
        }
        static Word row(Word here, Word before, Word after, Word first, Word last)
        {
            const Word left = Rule::outside(here << 1 | before >> 31, first);
            const Word right = Rule::outside(here >> 1 | after << 31, last);
            return Rule::combine(here, Rule::combine(left, right));
        }
        Word result(long i, Word before, Word after, Word first, Word last, Word protect) const
        {
            Word all = row(column(i), before, after, first, last);
            if constexpr (shape != Shape::Square)
                all = Rule::combine(all, pair(i));
            if constexpr (shape == Shape::TwoPairs)
                all = Rule::combine(all, otherPair(i));
            if constexpr (isProtected)
                all = center[i] & (all | protect);
            return all;
        }
    };

    /// The words from i on, of which none is the first or the last of all. first and last are theirs.
    template <long count>
    static void loop(const Neighbours& n, long i, const Word* first, const Word* last, Word* out)
    {
        // Columns are made once, not three times.
        Word columns[shape == Shape::Square ? count + 2 : 1];
        if constexpr (shape == Shape::Square)
            for (long k = 0; k < count + 2; ++k)
                columns[k] = n.column(i + k - 1);
                // out overlaps nothing that is read, but for the word itself.
#ifdef __clang__
#pragma clang loop vectorize(assume_safety)
#else
#pragma GCC ivdep
#endif
        for (long k = 0; k < count; ++k) {
            if constexpr (shape == Shape::Square)
                out[i + k] = n.row(columns[k + 1], columns[k], columns[k + 2], first[k], last[k]);
            else
                out[i + k] = n.result(i + k, n.center[i + k - 1], n.center[i + k + 1], first[k], last[k],
                                      isProtected ? out[i + k] : 0);
        }
    }

    // Nothing beyond the words of center is read, so the first and the last one stand alone. A word that is made
    // twice is the same again, with protection too.
    static void run(const Words& w)
    {
        const Neighbours n{w.center,
                           w.pair[0].words,
                           w.pair[1].words,
                           w.otherPair[0].words,
                           w.otherPair[1].words,
                           w.pair[0].shift,
                           w.pair[1].shift,
                           w.otherPair[0].shift,
                           w.otherPair[1].shift};
        RowEnds& ends = *w.ends;
        const long lastWord = w.numWords - 1;
        Word* const out = w.out;
        const auto single = [&](long i) {
            ends.moveTo(w.firstWord + i);
            const Word before = w.goesOn || i > 0 ? n.column(i - 1) : 0;
            const Word after = w.goesOn || i < lastWord ? n.column(i + 1) : 0;
            out[i] = n.result(i, before, after, *ends.first, *ends.last, out[i]);
        };
        if (lastWord <= vector) {
            for (long i = 0; i <= lastWord; ++i)
                single(i);
            return;
        }
        single(0);
        ends.moveTo(w.firstWord + 1);
        const auto one = [&](long i) { loop<vector>(n, i, ends.first + i - 1, ends.last + i - 1, out); };
        one(1);
        if (lastWord <= block) {
            for (long i = 1 + vector; i + vector <= lastWord; i += vector)
                one(i);
            one(lastWord - vector);
        } else {
            const auto many = [&](long i) {
                ends.moveTo(w.firstWord + i);
                loop<block>(n, i, ends.first, ends.last, out);
            };
            // From there on vectors do not cross the lines of the cache.
            long i = vector - long(reinterpret_cast<std::uintptr_t>(out) / sizeof(Word) % vector);
            for (; i + block <= lastWord; i += block)
                many(i);
            many(lastWord - block);
        }
        single(lastWord);
    }

    static void combine(const Words& words)
    {
        zbMultiversion([words] { run(words); });
    }
};

using Combine = void (*)(const Words&);

/// Takes bits from anywhere in a field to the boundary of a word. The last word is filled up with arbitrary bits.
void unpackBits(const Word* words, long totalWords, long firstBit, long numBits, Word* out)
{
    const long count = wordsFor(numBits);
    const Word* const from = words + firstBit / wordBits;
    const auto shift = unsigned(firstBit % wordBits);
    if (shift == 0) {
        std::memcpy(out, from, size_t(count) * sizeof(Word));
        return;
    }
    const bool isCut = firstBit / wordBits + count >= totalWords;  // the last word has no next one
    zbMultiversion([=, n = count - isCut] {
        for (long k = 0; k < n; ++k)
            out[k] = funnel(from[k], from[k + 1], shift);
    });
    if (isCut)
        out[count - 1] = from[count - 1] >> shift;
}

/// The words of a field that hold the bits of [firstBit, endBit). Of the first and the last one others may write other
/// bits at the same time.
class SharedEnds
{
public:
    SharedEnds() = default;
    SharedEnds(Word* words, long firstBit, long endBit, long totalBits)
        : m_words(words)
        , m_first(firstBit / wordBits)
        , m_last(endBit / wordBits)
        , m_ownOfFirst(~bitsBelow(firstBit))
        // Behind the last bit of all there is only padding, which becomes clear.
        , m_ownOfLast(endBit == totalBits ? ~Word(0) : bitsBelow(endBit))
        , m_lastKept(endBit == totalBits ? bitsBelow(endBit) : ~Word(0))
    {
    }

    Word* data() const { return m_words; }

    /// Writes the own bits of a word.
    void store(long index, Word bits) const
    {
        Word own = ~Word(0);
        if (index == m_first)
            own = m_ownOfFirst;
        if (index == m_last) {
            own &= m_ownOfLast;
            bits &= m_lastKept;
        }
        if (own == ~Word(0)) {
            m_words[index] = bits;
            return;
        }
        const std::atomic_ref<Word> word(m_words[index]);
        word.fetch_and(~own, std::memory_order_relaxed);
        word.fetch_or(bits & own, std::memory_order_relaxed);
    }

private:
    Word* m_words = nullptr;
    long m_first = 0, m_last = 0;
    Word m_ownOfFirst = 0, m_ownOfLast = 0;
    Word m_lastKept = 0;
};

/// Puts slices from the boundaries of words one after the other into a field, from some bit on.
class SlicePacker
{
public:
    /// For the bits of [firstBit, endBit) of totalBits.
    SlicePacker(Word* words, long firstBit, long endBit, long totalBits)
        : m_words(words, firstBit, endBit, totalBits), m_bit(firstBit)
    {
    }

    /// Reads a word in front of the bits and one behind them, whatever they are.
    void append(const Word* bits, long numBits)
    {
        const auto shift = unsigned(m_bit % wordBits);
        const long index = m_bit / wordBits;
        m_bit += numBits;
        const long numWhole = m_bit / wordBits - index;
        const auto shifted = [=](long k) {
            return shift == 0 ? bits[k] : funnel(bits[k - 1], bits[k], 32 - shift);
        };
        const Word head = m_pending | bits[0] << shift;
        if (numWhole == 0) {
            m_pending = head & bitsBelow(m_bit);
            return;
        }
        Word* const to = m_words.data() + index;
        if (shift == 0)
            std::memcpy(to + 1, bits + 1, size_t(numWhole - 1) * sizeof(Word));
        else
            zbMultiversion([=] {
                for (long k = 1; k < numWhole; ++k)
                    to[k] = funnel(bits[k - 1], bits[k], 32 - shift);
            });
        m_words.store(index, head);
        m_pending = shifted(numWhole) & bitsBelow(m_bit);
    }

    /// Writes what is left of the last word.
    void finish()
    {
        if (m_bit % wordBits != 0)
            m_words.store(m_bit / wordBits, m_pending);
    }

private:
    SharedEnds m_words;
    long m_bit;          // where the next slice begins
    Word m_pending = 0;  // the bits of its word that are in front of it
};

struct FreeWords {
    void operator()(Word* words) const { zbfree(words); }
};

enum class Operation { Erode, Dilate };

struct Rule {
    Operation operation;
    bool isSquare = false;  // in x and one other axis, the other flag being false
    bool alongZ = true, alongY = true, alongX = true;
    const ZbBitfield* protect = nullptr;
};

template <typename R, bool isProtected>
Combine chooseCross(bool hasTwoPairs, bool isShifted, bool isOtherShifted)
{
    using enum Shape;
    if (!hasTwoPairs)
        return isShifted ? Step<R, OnePair, true, false, isProtected>::combine
                         : Step<R, OnePair, false, false, isProtected>::combine;
    if (!isShifted)
        return Step<R, TwoPairs, false, false, isProtected>::combine;
    return isOtherShifted ? Step<R, TwoPairs, true, true, isProtected>::combine
                          : Step<R, TwoPairs, true, false, isProtected>::combine;
}

template <typename R>
Combine chooseSquare(bool isShifted)
{
    return isShifted ? Step<R, Shape::Square, true, false, false>::combine
                     : Step<R, Shape::Square, false, false, false>::combine;
}

/// The step of a rule. Only where the first pair is shifted may the other one be.
Combine choose(const Rule& rule, bool hasTwoPairs, bool isShifted, bool isOtherShifted)
{
    if (rule.operation == Operation::Dilate)
        return rule.isSquare ? chooseSquare<Dilation>(isShifted)
                             : chooseCross<Dilation, false>(hasTwoPairs, isShifted, isOtherShifted);
    if (rule.isSquare)
        return chooseSquare<Erosion>(isShifted);
    return rule.protect ? chooseCross<Erosion, true>(hasTwoPairs, isShifted, isOtherShifted)
                        : chooseCross<Erosion, false>(hasTwoPairs, isShifted, isOtherShifted);
}

Word neutralOf(const Rule& rule)
{
    return rule.operation == Operation::Erode ? Erosion::neutral : Dilation::neutral;
}

/// Makes the bits of [begin, end) neutral.
void makeNeutral(Word* words, long begin, long end, Word neutral)
{
    for (long bit = begin; bit < end;) {
        const long next = std::min(end, bit / wordBits * wordBits + wordBits);
        const Word kept = bitsBelow(bit) | (next % wordBits == 0 ? 0 : ~bitsBelow(next));
        Word& word = words[bit / wordBits];
        word = (word & kept) | (neutral & ~kept);
        bit = next;
    }
}

/// Several steps in one pass over a range of slices: as soon as a slice and its neighbours have been through one step,
/// the next one takes it, from the cache.
///
/// Level 0 is src, level numSteps is dst. Of each level between them the last three slices are kept, each beginning
/// with a word; where that is not so in the fields (not inPlace), of both ends too. So level l may make slice z once
/// level l - 1 has made slice z + 1. Slices outside of the range that the steps need are computed as well.
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
        , m_usesY(rule.alongY && size.ny > 1)
        , m_usesZ(rule.alongZ && size.nz > 1)
        , m_isShifted(m_usesY && size.nx % wordBits != 0)
        , m_ends(size.nx, rule.alongX)
        , m_combine(choose(rule, m_usesY && m_usesZ, m_isShifted, false))
    {
    }

    /// The slices that are kept.
    static long numScratch(bool inPlace, long numSteps)
    {
        return inPlace ? 3 * (numSteps - 1) : 3 * numSteps + 1;
    }

    /// Words from one kept slice to the next. Slices whose distance is a multiple of 4 KiB would make loads wait for
    /// stores that they do not depend on.
    static long strideOf(const GridSize& size)
    {
        return (wordsFor(size.nx * size.ny) + roomOf(size) + 1023) / 1024 * 1024 + 304;
    }

    void run(long zBegin, long zEnd)
    {
        const long reach = m_usesZ ? 1 : 0;
        allocate();
        SlicePacker packer(m_dst, zBegin * m_sliceBits, zEnd * m_sliceBits, m_size.numVoxels());
        // What a level has to make.
        const auto begin = [=, this](long level) {
            return std::max(0L, zBegin - (m_numSteps - level) * reach);
        };
        const auto end = [=, this](long level) {
            return std::min(m_size.nz, zEnd + (m_numSteps - level) * reach);
        };
        long unpacked = begin(0);
        for (long newest = begin(1); newest < zEnd + m_numSteps - 1; ++newest) {
            for (; !m_inPlace && unpacked <= newest + reach && unpacked < end(0); ++unpacked) {
                unpack(m_src, unpacked, scratch(0, unpacked));
                finishSlice(scratch(0, unpacked));
            }
            for (long level = 1; level <= m_numSteps; ++level) {
                const long z = newest - (level - 1);
                if (z < begin(level) || z >= end(level))
                    continue;
                makeSlice(level, z);
                if (level == m_numSteps && !m_writesInPlace)
                    packer.append(scratch(level, z), m_sliceBits);
            }
        }
        if (!m_writesInPlace)
            packer.finish();
    }

private:
    static long roomOf(const GridSize& size) { return (size.ny > 1 ? wordsFor(size.nx) : 0) + 8; }

    void allocate()
    {
        const long count = numScratch(m_inPlace, m_numSteps);
        if (count == 0)
            return;
        const long numWords = count * m_stride + m_room;
        m_scratch.reset(static_cast<Word*>(zbmalloc(sizeof(Word) * (unsigned long)(numWords))));
        for (long slot = 0; slot < count; ++slot) {
            Word* const slice = m_scratch.get() + m_room + slot * m_stride;
            std::fill_n(slice - m_room, m_room, neutralOf(m_rule));
            std::fill_n(slice + m_sliceWords, m_room, neutralOf(m_rule));
        }
    }

    /// Where a slice is kept. Around it there is a row of neutral bits, in place of the rows outside of the grid.
    Word* scratch(long level, long z) const
    {
        const long firstLevel = m_inPlace ? 1 : 0;
        const long slot = 3 * (level - firstLevel) + (level < m_numSteps ? z % 3 : 0);
        return m_scratch.get() + m_room + slot * m_stride;
    }

    /// The row of neutral bits begins within the last word.
    void finishSlice(Word* slice) const
    {
        Word& word = slice[m_sliceWords - 1];
        const Word own = m_sliceBits % wordBits != 0 ? bitsBelow(m_sliceBits) : ~Word(0);
        word = (word & own) | (neutralOf(m_rule) & ~own);
    }

    void unpack(const Word* words, long z, Word* out) const
    {
        unpackBits(words, wordsFor(m_size.numVoxels()), z * m_sliceBits, m_sliceBits, out);
    }

    const Word* read(long level, long z) const
    {
        return m_inPlace && level == 0 ? m_src + z * m_sliceWords : scratch(level, z);
    }

    Word* write(long level, long z) const
    {
        return m_writesInPlace && level == m_numSteps ? m_dst + z * m_sliceWords : scratch(level, z);
    }

    void makeSlice(long level, long z)
    {
        const Word* const center = read(level - 1, z);
        Word* const out = write(level, z);
        if (m_protect)
            unpack(m_protect, z, out);
        const Word* const before = m_usesZ && z > 0 ? read(level - 1, z - 1) : center;
        const Word* const behind = m_usesZ && z < m_size.nz - 1 ? read(level - 1, z + 1) : center;
        const long nx = m_size.nx;
        if (!m_usesY) {
            m_combine({center, {{before}, {behind}}, {}, out, m_sliceWords, &m_ends, 0});
        } else if (m_isShifted) {
            const ShiftedWords above{center - wordsFor(nx), unsigned(wordsFor(nx) * wordBits - nx)};
            const ShiftedWords below{center + nx / wordBits, unsigned(nx % wordBits)};
            m_combine({center, {above, below}, {{before}, {behind}}, out, m_sliceWords, &m_ends, 0});
        } else {
            // In a field there are no neutral rows.
            const long rowWords = nx / wordBits;
            const auto rows = [&](long firstRow, long count, long above, long below) {
                const long i = firstRow * rowWords;
                const Word* const row = center + i;
                m_combine({row,
                           {{row - above * rowWords}, {row + below * rowWords}},
                           {{before + i}, {behind + i}},
                           out + i,
                           count * rowWords,
                           &m_ends,
                           i});
            };
            rows(0, 1, 0, 1);
            if (m_size.ny > 2)
                rows(1, m_size.ny - 2, 1, 1);
            rows(m_size.ny - 1, 1, 1, 0);
        }
        if (level < m_numSteps)
            finishSlice(out);
    }

    const Rule m_rule;
    const Word* const m_src;
    Word* const m_dst;
    const Word* const m_protect;
    const GridSize m_size;
    const bool m_inPlace;  // rows are whole words, and slices stay where they are in src and dst
    const long m_numSteps;
    const long m_sliceBits = m_size.nx * m_size.ny;
    const long m_sliceWords = wordsFor(m_sliceBits);
    const bool m_writesInPlace = m_sliceBits % wordBits == 0;
    const bool m_usesY, m_usesZ;  // there are neighbours in y, in z
    const bool m_isShifted;
    RowEnds m_ends;
    const Combine m_combine;
    const long m_room = roomOf(m_size);      // neutral words around slices
    const long m_stride = strideOf(m_size);  // from slice to slice
    std::unique_ptr<Word, FreeWords> m_scratch;
};

/// One step over a range of slices whose bits stay where they are, so that neighbours in y and z begin anywhere in a
/// word.
///
/// The words in which every bit has all of its neighbours are made straight from those of src, the others with copies
/// of the neighbours in which what is missing is neutral.
class FlatStep
{
public:
    FlatStep(const Rule& rule, const ZbBitfield& src, ZbBitfield& dst, const GridSize& size)
        : m_src(src.dataPtr())
        , m_dst(dst.dataPtr())
        , m_protect(rule.protect ? rule.protect->dataPtr() : nullptr)
        , m_neutral(neutralOf(rule))
        , m_nx(size.nx)
        , m_nz(size.nz)
        , m_sliceBits(size.nx * size.ny)
        , m_numBits(size.numVoxels())
        , m_usesY(rule.alongY && size.ny > 1)
        , m_usesZ(rule.alongZ && size.nz > 1)
        , m_ends(size.nx, rule.alongX)
    {
        const bool isSliceShifted = m_usesZ && m_sliceBits % wordBits != 0;
        const bool isRowShifted = m_usesY && m_nx % wordBits != 0;
        const bool both = m_usesY && m_usesZ;
        m_combineCopies = choose(rule, both, false, false);
        m_combine = choose(rule, both, m_usesY ? isRowShifted : isSliceShifted, both && isSliceShifted);
    }

    void run(long zBegin, long zEnd)
    {
        const long begin = zBegin * m_sliceBits;
        const long end = zEnd * m_sliceBits;
        m_shared = SharedEnds(m_dst, begin, end, m_numBits);
        m_next = begin / wordBits;
        if (m_usesY)
            for (long z = zBegin; z < zEnd; ++z)
                combineInside(z * m_sliceBits + m_nx, (z + 1) * m_sliceBits - m_nx);
        else if (m_usesZ)
            combineInside(std::max(begin, m_sliceBits), std::min(end, (m_nz - 1) * m_sliceBits));
        else
            combineInside(begin, end);
        combineCopies(wordsFor(end));
    }

private:
    static constexpr long margin = 1;  // word beside those that are made
    using Buffer = std::array<Word, size_t(block + 2 * margin + 1)>;

    ShiftedWords at(long bit) const { return {m_src + bit / wordBits, unsigned(bit % wordBits)}; }

    /// The words up to that of end, where the bits of [begin, end) lack neighbours at most in z, which all of them do.
    void combineInside(long begin, long end)
    {
        // The words around are read as well.
        const long first = wordsFor(begin) + margin;
        const long last = end / wordBits - margin;
        if (last - first < vector)
            return;
        combineCopies(first);
        const long bit = first * wordBits;
        Words words{m_src + first, {}, {}, m_dst + first, last - first, &m_ends, first, true};
        ShiftedWords* pair = words.pair;
        if (m_usesY) {
            pair[0] = at(bit - m_nx);
            pair[1] = at(bit + m_nx);
            pair = words.otherPair;
        }
        if (m_usesZ) {
            // In place of the slice that is missing the other one may stand twice.
            const long z = begin / m_sliceBits;
            pair[0] = at(z > 0 ? bit - m_sliceBits : bit + m_sliceBits);
            pair[1] = at(z < m_nz - 1 ? bit + m_sliceBits : bit - m_sliceBits);
        } else if (!m_usesY) {
            pair[0] = pair[1] = at(bit);
        }
        if (m_protect)
            std::memcpy(words.out, m_protect + first, size_t(last - first) * sizeof(Word));
        m_combine(words);
        m_next = last;
    }

    void combineCopies(long end)
    {
        for (; m_next < end; m_next += std::min(block, end - m_next))
            combineCopies(m_next, std::min(block, end - m_next));
    }

    void combineCopies(long first, long count)
    {
        const long bit = (first - margin) * wordBits;
        const long endBit = bit + (count + 2 * margin) * wordBits;
        Buffer center, above, below, before, behind, out;
        copy(center, bit, count);
        Words words{center.data() + margin, {}, {}, out.data(), count, &m_ends, first, true};
        ShiftedWords* pair = words.pair;
        pair[0] = pair[1] = {words.center};
        if (m_usesY) {
            copy(above, bit - m_nx, count);
            copy(below, bit + m_nx, count);
            // The rows before the first ones and behind the last ones are those of other slices.
            for (long edge = std::max(0L, bit - m_nx) / m_sliceBits * m_sliceBits; edge < endBit + m_nx;
                 edge += m_sliceBits) {
                makeNeutral(above.data(), std::max(0L, edge - bit), std::min(endBit, edge + m_nx) - bit,
                            m_neutral);
                makeNeutral(below.data(), std::max(0L, edge - m_nx - bit), std::min(endBit, edge) - bit,
                            m_neutral);
            }
            pair[0] = {above.data() + margin};
            pair[1] = {below.data() + margin};
            pair = words.otherPair;
        }
        if (m_usesZ) {
            copy(before, bit - m_sliceBits, count);
            copy(behind, bit + m_sliceBits, count);
            pair[0] = {before.data() + margin};
            pair[1] = {behind.data() + margin};
        }
        if (m_protect)
            std::copy_n(m_protect + first, count, out.data());
        m_combineCopies(words);
        for (long i = 0; i < count; ++i)
            m_shared.store(first + i, out[size_t(i)]);
    }

    /// Copies bits from firstBit on, neutral where there are none.
    void copy(Buffer& out, long firstBit, long count) const
    {
        const long numBits = (count + 2 * margin) * wordBits;
        const long from = std::clamp(firstBit, 0L, m_numBits);
        const long to = std::clamp(firstBit + numBits, 0L, m_numBits);
        if (from == firstBit && to == firstBit + numBits) {
            unpackBits(m_src, wordsFor(m_numBits), firstBit, numBits, out.data());
            return;
        }
        out.fill(m_neutral);
        for (long bit = from; bit < to; ++bit) {
            const long i = bit - firstBit;
            const Word mask = Word(1) << i % wordBits;
            Word& word = out[size_t(i / wordBits)];
            word = m_src[bit / wordBits] >> bit % wordBits & 1 ? word | mask : word & ~mask;
        }
    }

    const Word* const m_src;
    Word* const m_dst;
    const Word* const m_protect;
    const Word m_neutral;
    const long m_nx, m_nz;
    const long m_sliceBits;
    const long m_numBits;
    const bool m_usesY, m_usesZ;  // there are neighbours in y, in z
    RowEnds m_ends;
    Combine m_combine, m_combineCopies;
    SharedEnds m_shared;
    long m_next = 0;  // the word to make next
};

void runPass(Rule rule, const ZbBitfield& src, ZbBitfield& dst, ZbVec3i dims, bool inPlace, long zBegin,
             long zEnd, int steps)
{
    const ZbWatch watch;
    // One slice is a row now, and what was a row is a slice.
    if (const ZbVec3i image = asRows(dims); steps > 1 && image.z != dims.z) {
        dims = image;
        zEnd = image.z;
        rule.alongZ = rule.alongY;
        rule.alongY = false;
    }
    const GridSize size(dims.x, dims.y, dims.z);
    if (steps == 1 && !inPlace)
        FlatStep(rule, src, dst, size).run(zBegin, zEnd);
    else
        SlicePass(rule, src, dst, size, inPlace, steps).run(zBegin, zEnd);
}

}  // namespace

void erodeBitfieldRegionFastGeneral(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims,
                                    const SliceRange& range, bool alongZ, bool alongY, bool alongX,
                                    const ZbBitfield* protect, int steps)
{
    runPass({Operation::Erode, false, alongZ, alongY, alongX, protect}, src, dst, dims, false,
            long(range.begin()), long(range.end()), steps);
}

void erodeBitfieldRegionFast(const ZbBitfield& src, ZbBitfield& dst, const ZbVec3i& dims,
                             const SliceRange& range, bool alongZ, bool alongY, bool alongX,
                             const ZbBitfield* protect, int steps)
{
    runPass({Operation::Erode, false, alongZ, alongY, alongX, protect}, src, dst, dims, true,
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
    runPass({.operation = Operation::Erode, .isSquare = true}, src, dst, ZbVec3i(dims.x, dims.y, 1), false, 0,
            1, 1);
}

void dilateBitfieldFastGeneral2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    runPass({.operation = Operation::Dilate, .isSquare = true}, src, dst, ZbVec3i(dims.x, dims.y, 1), false,
            0, 1, 1);
}

void erodeBitfieldFast2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    runPass({.operation = Operation::Erode, .isSquare = true}, src, dst, ZbVec3i(dims.x, dims.y, 1), true, 0,
            1, 1);
}

void dilateBitfieldFast2D_8(const ZbBitfield& src, ZbBitfield& dst, const ZbVec2i& dims)
{
    runPass({.operation = Operation::Dilate, .isSquare = true}, src, dst, ZbVec3i(dims.x, dims.y, 1), true, 0,
            1, 1);
}

ZbVec3i asRows(const ZbVec3i& dims)
{
    // Short rows would be worth less than what there is to do for each slice.
    const bool isWorthIt = dims.x >= 1024 || long(dims.x) * dims.y > 8 * cacheBytes / 8;
    return dims.z == 1 && isWorthIt ? ZbVec3i(dims.x, 1, dims.y) : dims;
}

int stepsInOnePass(const ZbVec3i& dims, int wanted)
{
    const int sizes[3] = {dims.x, dims.y, dims.z};
    const long sliceBytes = long(sizeof(Word)) * SlicePass::strideOf(GridSize(sizes));
    int steps = 1;
    while (steps < wanted && SlicePass::numScratch(false, steps + 1) * sliceBytes <= cacheBytes)
        ++steps;
    return steps;
}

}  // namespace ZbDetail

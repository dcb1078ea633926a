#pragma once

// Private: one bit a voxel for the rows of a grid, and walking over the bits.

#include <bit>
#include <cstdint>

#include <emmintrin.h>

namespace ZbDetail
{

/// Bit x % 64 of word x / 64 belongs to voxel x of a row.
using RowWord = std::uint64_t;
inline constexpr long rowWordBits = 64;

inline long numRowWords(long nx) noexcept
{
    return (nx + rowWordBits - 1) / rowWordBits;
}

/// Sets bit x to isSet(x) for x in [0, n). The bits of the last word beyond n become 0.
///
/// Vectorised when isSet compares elements of arrays and has captured them by value.
template <typename Predicate>
inline void setRowBits(long n, RowWord* words, Predicate isSet)
{
    const long whole = n / rowWordBits;
    for (long w = 0; w < whole; ++w) {
        // By way of bytes, because no compiler turns a comparison into bits by itself. Every level has SSE2.
        alignas(16) signed char all[rowWordBits];
        for (long bit = 0; bit < rowWordBits; ++bit)
            all[bit] = isSet(rowWordBits * w + bit) ? -1 : 0;
        RowWord word = 0;
        for (long part = 0; part < rowWordBits; part += 16) {
            const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(all + part));
            word |= RowWord(unsigned(_mm_movemask_epi8(bytes))) << part;
        }
        words[w] = word;
    }
    if (whole * rowWordBits < n) {
        RowWord word = 0;
        for (long x = whole * rowWordBits; x < n; ++x)
            word |= RowWord(isSet(x)) << (x % rowWordBits);
        words[whole] = word;
    }
}

/// Bit x of the result is bit x - 1 of the row. Reads the word in front of words[w] too.
inline RowWord bitsOfPrevious(const RowWord* words, long w) noexcept
{
    return words[w] << 1 | words[w - 1] >> 63;
}

/// Bit x of the result is bit x + 1 of the row. Reads the word behind words[w] too.
inline RowWord bitsOfNext(const RowWord* words, long w) noexcept
{
    return words[w] >> 1 | words[w + 1] << 63;
}

/// The bits of a word up to and including that of voxel x.
inline RowWord bitsUpTo(long x) noexcept
{
    return ~RowWord(0) >> (63 - x % rowWordBits);
}

/// Calls visit(x) for every set bit of a word whose first voxel is first.
template <typename Visit>
inline void forEachBit(RowWord word, long first, Visit visit)
{
    for (; word != 0; word &= word - 1)
        visit(first + std::countr_zero(word));
}

/// The first voxel in [x, nx) whose bit differs from that of flip (0: set bits; ~0: clear bits), else nx.
inline long nextRowBit(const RowWord* words, long x, long nx, RowWord flip) noexcept
{
    const long numWords = numRowWords(nx);
    long w = x / rowWordBits;
    if (w >= numWords)
        return nx;
    RowWord word = (words[w] ^ flip) & ~RowWord(0) << (x % rowWordBits);
    while (word == 0) {
        if (++w >= numWords)
            return nx;
        word = words[w] ^ flip;
    }
    const long found = rowWordBits * w + std::countr_zero(word);
    return found < nx ? found : nx;
}

inline long nextSetRowBit(const RowWord* words, long x, long nx) noexcept
{
    return nextRowBit(words, x, nx, 0);
}

inline long nextClearRowBit(const RowWord* words, long x, long nx) noexcept
{
    return nextRowBit(words, x, nx, ~RowWord(0));
}

/// The last voxel in [0, nx) whose bit is clear, or -1.
inline long lastClearRowBit(const RowWord* words, long nx) noexcept
{
    for (long w = numRowWords(nx) - 1; w >= 0; --w) {
        const RowWord inRow = nx - rowWordBits * w >= rowWordBits ? ~RowWord(0) : bitsUpTo(nx - 1);
        if (const RowWord clear = ~words[w] & inRow)
            return rowWordBits * w + 63 - std::countl_zero(clear);
    }
    return -1;
}

/// The number of set bits among the voxels [first, last).
inline long countRowBits(const RowWord* words, long first, long last) noexcept
{
    if (first >= last)
        return 0;
    const long firstWord = first / rowWordBits;
    const long lastWord = (last - 1) / rowWordBits;
    const RowWord head = ~RowWord(0) << (first % rowWordBits);
    const RowWord tail = bitsUpTo(last - 1);
    if (firstWord == lastWord)
        return std::popcount(words[firstWord] & head & tail);
    long count = std::popcount(words[firstWord] & head) + std::popcount(words[lastWord] & tail);
    for (long w = firstWord + 1; w < lastWord; ++w)
        count += std::popcount(words[w]);
    return count;
}

}  // namespace ZbDetail

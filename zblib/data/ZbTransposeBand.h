#pragma once

// Private: transposition of narrow bands of a matrix, through registers.

#include <emmintrin.h>

#include <algorithm>

namespace ZbDetail
{

template <int width>
inline __m128i interleaveLow(__m128i a, __m128i b)
{
    if constexpr (width == 1)
        return _mm_unpacklo_epi8(a, b);
    else if constexpr (width == 2)
        return _mm_unpacklo_epi16(a, b);
    else if constexpr (width == 4)
        return _mm_unpacklo_epi32(a, b);
    else
        return _mm_unpacklo_epi64(a, b);
}

template <int width>
inline __m128i interleaveHigh(__m128i a, __m128i b)
{
    if constexpr (width == 1)
        return _mm_unpackhi_epi8(a, b);
    else if constexpr (width == 2)
        return _mm_unpackhi_epi16(a, b);
    else if constexpr (width == 4)
        return _mm_unpackhi_epi32(a, b);
    else
        return _mm_unpackhi_epi64(a, b);
}

/// Transposes a square of side x side elements; each of its rows fills one register.
///
/// Interleaving row i with row i + side / 2 rotates the bits of the element's index by one; after as many
/// rounds as side has bits, row and column have changed places.
template <int width>
inline void transposeSquare(const char* source, long sourceStride, long rows, char* target, long targetStride,
                            long columns)
{
    constexpr int side = 16 / width;
    __m128i row[side];
    for (int i = 0; i < side; ++i)
        row[i] = _mm_loadu_si128(
            reinterpret_cast<const __m128i*>(source + std::min<long>(i, rows - 1) * sourceStride));
    for (int round = 1; round < side; round *= 2) {
        __m128i mixed[side];
        for (int i = 0; i < side / 2; ++i) {
            mixed[2 * i] = interleaveLow<width>(row[i], row[i + side / 2]);
            mixed[2 * i + 1] = interleaveHigh<width>(row[i], row[i + side / 2]);
        }
        std::copy_n(mixed, side, row);
    }
    for (int i = 0; i < side; ++i)
        if (i < columns)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i * targetStride), row[i]);
}

/// The number of columns that transposeBand() is best called with: those of one cache line.
constexpr long bandColumns(long width)
{
    return std::max(1L, 64 / width);
}

/// Bytes past the end of source and target that transposeBand() may read and write.
inline constexpr long bandSlack = 16;

/// Writes the transpose of a matrix of elements of width bytes: its columns, one after the other.
///
/// Rows of source start sourceStride bytes apart; target is dense. Only whole registers are read and written:
/// the bytes past the end of a target row belong to the next one, which is always written later.
template <int width>
void transposeBand(const char* source, long sourceStride, long rows, long columns, char* target)
{
    constexpr long side = 16 / width;
    constexpr long tile = 64 / width;  // side of what one call keeps in the first cache
    const long targetStride = rows * width;
    // Downwards along the target rows and upwards across them: see above.
    for (long tileRow = (rows - 1) / tile * tile; tileRow >= 0; tileRow -= tile) {
        const long tileEnd = std::min(rows, tileRow + tile);
        for (long column = 0; column < columns; column += side) {
            const long validColumns = std::min(side, columns - column);
            for (long row = tileRow + (tileEnd - tileRow - 1) / side * side; row >= tileRow; row -= side) {
                const char* from = source + row * sourceStride + column * width;
                char* to = target + column * targetStride + row * width;
                const long validRows = std::min(side, tileEnd - row);
                if (validRows == side && validColumns == side)
                    transposeSquare<width>(from, sourceStride, side, to, targetStride, side);
                else
                    transposeSquare<width>(from, sourceStride, validRows, to, targetStride, validColumns);
            }
        }
    }
}

/// The same for elements of any width.
inline void transposeBandOf(long width, const char* source, long sourceStride, long rows, long columns,
                            char* target)
{
    for (long column = 0; column < columns; ++column) {
        const char* from = source + column * width;
        for (long row = 0; row < rows; ++row, from += sourceStride, target += width)
            for (long byte = 0; byte < width; byte += 16)
                _mm_storeu_si128(reinterpret_cast<__m128i*>(target + byte),
                                 _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + byte)));
    }
}

}  // namespace ZbDetail

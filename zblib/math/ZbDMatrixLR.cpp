#include <zblib/math/ZbDMatrix.h>

#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMultiversion.h>
#include <zblib/foundation/ZbProgressInterface.h>
#include <zblib/math/ZbVectorLoops.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>

namespace
{

struct Free {
    void operator()(void* block) const { zbfree(block); }
};

// n numbers that are freed on every path.
template <typename Number>
using Work = std::unique_ptr<Number[], Free>;

template <typename Number>
Work<Number> makeWork(long n)
{
    return Work<Number>(static_cast<Number*>(zbmalloc(static_cast<unsigned long>(n) * sizeof(Number))));
}

// ---- elimination
//
// Every element of the matrix gets the products of its row's multipliers and its column's pivot rows subtracted one
// by one, from the first pivot to the last, each rounded twice. All forms below keep that order, so the factors are
// those of the textbook's three loops to the last bit. They differ in what stays in the cache.

constexpr long stripWidth = 16;  // columns that are updated together
constexpr long panelWidth = 16;  // columns that are factored by the textbook's loops
constexpr long chunkLength =
    256;  // pivots that are applied together: a strip of them stays in the first cache

// Rows of c, from column 0 on, minus multipliers times pivots; pivots holds count rows of stripWidth.
template <int numRows, typename T>
void updateTile(T* const* c, const T* const* multipliers, const T* pivots, long count, long width)
{
    T sums[numRows][stripWidth];
    for (int r = 0; r < numRows; ++r) {
        if (width == stripWidth)
            std::copy(c[r], c[r] + stripWidth, sums[r]);
        else
            std::fill(std::copy(c[r], c[r] + width, sums[r]), sums[r] + stripWidth, T(0));
    }
    for (long k = 0; k < count; ++k) {
        for (int r = 0; r < numRows; ++r) {
            const T factor = multipliers[r][k];
            for (long j = 0; j < stripWidth; ++j)
                sums[r][j] -= factor * pivots[k * stripWidth + j];
        }
    }
    for (int r = 0; r < numRows; ++r) {
        if (width == stripWidth)
            std::copy(sums[r], sums[r] + stripWidth, c[r]);
        else
            std::copy(sums[r], sums[r] + width, c[r]);
    }
}

// The same for four rows and whole strips, in registers. Where the instruction set belongs to the function itself and
// not to one that it is inlined into, the compiler keeps vectors of its width there.
template <typename T>
ZB_TARGET_V3 void updateTileV3(T* const* c, const T* const* multipliers, const T* pivots, long count)
{
    using Vector [[gnu::vector_size(32)]] = T;
    constexpr int numRows = 4, lanes = 32 / sizeof(T), numVectors = stripWidth / lanes;
    // What a register holds of a row; double needs four for a strip, so it goes half by half.
    constexpr int atOnce = 2;
    for (int part = 0; part < numVectors; part += atOnce) {
        Vector sums[numRows][atOnce];
        for (int r = 0; r < numRows; ++r)
            std::memcpy(sums[r], c[r] + part * lanes, sizeof sums[r]);
        for (long k = 0; k < count; ++k) {
            Vector pivot[atOnce];
            std::memcpy(pivot, pivots + k * stripWidth + part * lanes, sizeof pivot);
            for (int r = 0; r < numRows; ++r) {
                for (int i = 0; i < atOnce; ++i)
                    sums[r][i] -= multipliers[r][k] * pivot[i];
            }
        }
        for (int r = 0; r < numRows; ++r)
            std::memcpy(c[r] + part * lanes, sums[r], sizeof sums[r]);
    }
}

// Rows [i0, i1) of the columns [j0, j1) minus the products with the pivots [k0, k1).
template <typename T>
void update(T* const* rows, long i0, long i1, long k0, long k1, long j0, long j1)
{
    constexpr int tileRows = 4;
    alignas(64) T pivots[chunkLength * stripWidth];
    for (long k = k0; k < k1; k += chunkLength) {
        const long count = std::min(chunkLength, k1 - k);
        for (long j = j0; j < j1; j += stripWidth) {
            const long width = std::min(stripWidth, j1 - j);
            for (long p = 0; p < count; ++p) {
                T* pivot = pivots + p * stripWidth;
                std::fill(std::copy(rows[k + p] + j, rows[k + p] + j + width, pivot), pivot + stripWidth,
                          T(0));
            }
            long i = i0;
            for (; i + tileRows <= i1; i += tileRows) {
                T* const c[] = {rows[i] + j, rows[i + 1] + j, rows[i + 2] + j, rows[i + 3] + j};
                const T* const multipliers[] = {rows[i] + k, rows[i + 1] + k, rows[i + 2] + k,
                                                rows[i + 3] + k};
                if (width == stripWidth && zbCpuLevel() == ZbCpuLevel::V3)
                    updateTileV3(c, multipliers, pivots, count);
                else
                    updateTile<tileRows>(c, multipliers, pivots, count, width);
            }
            for (; i < i1; ++i) {
                T* const c[] = {rows[i] + j};
                const T* const multipliers[] = {rows[i] + k};
                updateTile<1>(c, multipliers, pivots, count, width);
            }
        }
    }
}

template <typename T>
class Elimination
{
public:
    Elimination(T** rows, int n, int* exchanged, T& det, ZbProgressInterface* progress)
        : m_rows(rows), m_n(n), m_exchanged(exchanged), m_det(det), m_progress(progress)
    {
    }

    // False where the matrix is singular or progress was interrupted.
    bool run() { return factor(0, m_n); }

private:
    static long middle(long k0, long k1)
    {
        return k0 + ((k1 - k0) / 2 + panelWidth - 1) / panelWidth * panelWidth;
    }

    // The columns [k0, k1), of which all pivots before k0 have been subtracted.
    bool factor(long k0, long k1)
    {
        if (k1 - k0 <= panelWidth)
            return factorPanel(k0, k1);
        const long mid = middle(k0, k1);
        if (!factor(k0, mid))
            return false;
        finishPivots(k0, mid, mid, k1);
        zbMultiversion([=, this] { update(m_rows, mid, m_n, k0, mid, mid, k1); });
        return factor(mid, k1);
    }

    // Makes the rows [k0, k1) pivot rows in the columns [j0, j1), which wait for those pivots.
    void finishPivots(long k0, long k1, long j0, long j1)
    {
        if (k1 - k0 <= panelWidth) {
            zbMultiversion([=, this] {
                for (long i = k0 + 1; i < k1; ++i) {
                    for (long k = k0; k < i; ++k) {
                        const T factor = m_rows[i][k];
                        const T* upper = m_rows[k];
                        T* row = m_rows[i];
                        for (long j = j0; j < j1; ++j)
                            row[j] -= factor * upper[j];
                    }
                }
            });
            return;
        }
        const long mid = middle(k0, k1);
        finishPivots(k0, mid, j0, j1);
        zbMultiversion([=, this] { update(m_rows, mid, k1, k0, mid, j0, j1); });
        finishPivots(mid, k1, j0, j1);
    }

    bool factorPanel(long k0, long k1)
    {
        for (long k = k0; k < k1; ++k) {
            if (m_progress && k % 20 == 0) {
                m_progress->setProgressValue(float(k + 1) / float(m_n));
                if (m_progress->wasInterrupted())
                    return false;
            }
            long pivot = k;
            T largest = std::fabs(m_rows[k][k]);
            for (long i = k + 1; i < m_n; ++i) {
                const T size = std::fabs(m_rows[i][k]);
                if (size >= largest) {  // the last one of equal ones
                    largest = size;
                    pivot = i;
                }
            }
            m_exchanged[k] = int(pivot);
            if (pivot != k) {
                std::swap_ranges(m_rows[k], m_rows[k] + m_n, m_rows[pivot]);
                m_det = -m_det;
            }
            const T value = m_rows[k][k];
            m_det *= value;
            if (value == 0) {
                std::fprintf(stderr, "ZbDMatrix::solveLRdecomp: Singular Matrix-2\ni, n: %d %d\n", int(k),
                             m_n);
                return false;
            }
            zbMultiversion([=, this] {
                const T reciprocal = 1 / value;
                const T* upper = m_rows[k];
                for (long i = k + 1; i < m_n; ++i) {
                    T* row = m_rows[i];
                    const T factor = row[k] * reciprocal;
                    row[k] = factor;
                    for (long j = k + 1; j < k1; ++j)
                        row[j] -= factor * upper[j];
                }
            });
        }
        return true;
    }

    T** m_rows;
    int m_n;
    int* m_exchanged;  // the row that was exchanged with row k
    T& m_det;
    ZbProgressInterface* m_progress;
};

// The exponent of two by which doubles so large or small that their squares are not numbers, or 0, are scaled.
template <typename T>
int exponentOf(const T* values, long n)
{
    if constexpr (std::is_same_v<T, float>)
        return 0;
    T largest = 0;
    for (long i = 0; i < n; ++i)
        largest = std::max(largest, std::fabs(values[i]));
    const bool isExtreme = largest < T(1e-100) || largest > T(1e100);
    return isExtreme && largest > 0 && std::isfinite(largest) ? std::ilogb(largest) : 0;
}

// The length of the values, divided by 2^exponent.
template <typename T>
double norm(const T* values, long n, int exponent)
{
    if (exponent == 0)
        return std::sqrt(ZbDetail::dot<double>(values, values, n));
    double squares = 0;
    for (long i = 0; i < n; ++i) {
        const double value = std::scalbn(double(values[i]), -exponent);
        squares += value * value;
    }
    return std::sqrt(squares);
}

// The solution for the right side b, which becomes it.
template <typename T>
void substitute(const T* const* rows, const int* exchanged, T* b, long n)
{
    for (long k = 0; k < n; ++k)
        std::swap(b[k], b[exchanged[k]]);
    zbMultiversion([=] {
        for (long i = 1; i < n; ++i)
            b[i] -= ZbDetail::dotHere<T>(rows[i], b, i);
        for (long i = n - 1; i >= 0; --i)
            b[i] = (b[i] - ZbDetail::dotHere<T>(rows[i] + i + 1, b + i + 1, n - i - 1)) / rows[i][i];
    });
}

}  // namespace

template <typename T>
int ZbDMatrix<T>::solveLRdecomp(T** a, T** rhs, int numRhs, T& det, ZbProgressInterface* progress) const
{
    if (m_numRows != m_numCols) {
        std::fputs("ZbDMatrix::solveLRdecomp: must be a square matrix.\n", stderr);
        return 1;
    }
    const int n = m_numRows;
    const auto exchanged = makeWork<int>(n);
    const auto x = makeWork<T>(n), residual = makeWork<T>(n), correction = makeWork<T>(n);
    for (int i = 0; i < n; ++i)
        std::copy(row(i), row(i) + n, a[i]);
    det = 1;
    if (!Elimination<T>(a, n, exchanged.get(), det, progress).run())
        return 1;

    for (int side = 0; side < numRhs; ++side) {
        T* b = rhs[side];
        std::fill(x.get(), x.get() + n, T(0));
        std::copy(b, b + n, residual.get());
        const int exponent = exponentOf(b, n);
        const double size = norm(b, n, exponent);
        double residue = size;
        // The first pass is due for all but 0, so for what is not finite, too; that is not worth a second.
        for (int pass = 0; pass < 10 && (pass == 0 ? size != 0 : residue > 1e-5 * size); ++pass) {
            std::copy(residual.get(), residual.get() + n, correction.get());
            substitute(a, exchanged.get(), correction.get(), n);
            ZbDetail::addMultiple(T(1), correction.get(), x.get(), n);
            zbMultiversion([&] {
                for (int i = 0; i < n; ++i)
                    residual[i] = T(double(b[i]) - ZbDetail::dotHere<double>(row(i), x.get(), n));
            });
            residue = norm(residual.get(), n, exponent);
        }
        if (size > 0 && residue / size > 0.0001)
            std::printf("Warning: norm(residuum) / norm(rhs) = %g \n", residue / size);
        std::copy(x.get(), x.get() + n, b);
    }
    return 0;
}

template int ZbDMatrix<float>::solveLRdecomp(float**, float**, int, float&, ZbProgressInterface*) const;
template int ZbDMatrix<double>::solveLRdecomp(double**, double**, int, double&, ZbProgressInterface*) const;

#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/math/ZbDVector.h>

#include <memory>
#include <utility>

/// A square matrix of n rows with elements only on the diagonal, on m1 diagonals below it and m2 above it, for
/// solving systems of equations in O(n (m1 + 1) (m1 + m2 + 1)).
///
/// Over float or double. Fill the rows, call decompose() once, then solve() for any number of right sides. It owns
/// its storage of n (2 m1 + m2 + 1) elements and copies it. Nothing but running out of memory (std::bad_alloc) is an
/// error: a pivot of 0 is taken as 1e-20. Reentrant; solve() may be called from several threads at once.
template <typename T>
class ZbBandMatrix
{
public:
    /// All elements are 0. m1 and m2 may exceed n; sizes below 0 mean 0.
    ZB_API ZbBandMatrix(int n, int m1, int m2);
    ZB_API ZbBandMatrix(const ZbBandMatrix& other);
    /// Takes the elements; other has no rows afterwards.
    ZbBandMatrix(ZbBandMatrix&& other) noexcept
        : m_n(std::exchange(other.m_n, 0))
        , m_m1(other.m_m1)
        , m_m2(other.m_m2)
        , m_band(std::move(other.m_band))
        , m_lower(std::move(other.m_lower))
        , m_pivots(std::move(other.m_pivots))
    {
    }
    ZB_API ZbBandMatrix& operator=(const ZbBandMatrix& other);
    ZbBandMatrix& operator=(ZbBandMatrix&& other) noexcept
    {
        m_n = std::exchange(other.m_n, 0);
        m_m1 = other.m_m1;
        m_m2 = other.m_m2;
        m_band = std::move(other.m_band);
        m_lower = std::move(other.m_lower);
        m_pivots = std::move(other.m_pivots);
        return *this;
    }

    int numRows() const noexcept { return m_n; }

    /// Sets row i, in [0, n): values[k] is the element in column i - m1 + k, k in [0, m1 + m2]. Missing values are
    /// 0; those in columns that the matrix does not have are ignored.
    ZB_API void setRow(int i, const ZbDArray<T>& values);
    /// Replaces the elements by the factors of the matrix.
    ZB_API void decompose();
    /// Solves A x = b with the factors. x becomes as long as the matrix; it may be b. Missing values of b are 0.
    ZB_API void solve(const ZbDVector<T>& b, ZbDVector<T>& x) const;

private:
    long width() const noexcept { return long(m_m1) + m_m2 + 1; }

    int m_n;
    int m_m1;
    int m_m2;
    std::unique_ptr<T[]> m_band;      // n rows of width()
    std::unique_ptr<T[]> m_lower;     // n rows of m1, from decompose() on
    std::unique_ptr<int[]> m_pivots;  // n + 1, from decompose() on
};

/// Factors a band matrix in compact storage, whose row and column indices begin at 1.
///
/// Element (i, j) of a, i in [1, n] and j in [1, m1 + m2 + 1], lies at a[(i - 1) * (m1 + m2 + 1) + j - 1]; it is the
/// element in column i - m1 - 1 + j of the matrix. a receives the upper factor, each row from its diagonal on; al,
/// n rows of m1 elements that are found alike, the multipliers; pivots[k], k in [1, n], the row exchanged with row
/// k, which is the one with the first largest absolute value; d 1 or -1 as the number of exchanges is even or odd.
/// Golub and Van Loan, Matrix Computations, section 4.3.
template <typename T>
ZB_API void bandec(T* a, int n, int m1, int m2, T* al, int* pivots, T& d);

/// Solves with the factors of bandec; b[i - 1] is element i of the right side, and of the solution afterwards.
template <typename T>
ZB_API void banbks(const T* a, int n, int m1, int m2, const T* al, const int* pivots, T* b);

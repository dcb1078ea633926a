#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/math/ZbDVector.h>

#include <algorithm>
#include <utility>

class ZbProgressInterface;

/// A dense matrix of any size over float or double, and what solves systems of equations with it.
///
/// n rows of m elements, row after row in one block of zbmalloc, which it owns and copies: element (i, j) lies at
/// i * m + j. Indices begin at 0 and must lie in the matrix. Memory that cannot be had throws ZbMemoryException;
/// else failures are returned. Reentrant, not thread-safe.
template <typename T>
class ZbDMatrix
{
public:
    ZbDMatrix() noexcept = default;
    /// All elements are 0. Sizes below 0 mean 0.
    ZbDMatrix(int n, int m) { resize(n, m); }
    ZbDMatrix(const ZbDMatrix& other) = default;
    /// Takes the elements; other is empty afterwards.
    ZbDMatrix(ZbDMatrix&& other) noexcept { swap(other); }
    ~ZbDMatrix() = default;
    ZbDMatrix& operator=(const ZbDMatrix& other)
    {
        ZbDMatrix copy(other);
        swap(copy);
        return *this;
    }
    ZbDMatrix& operator=(ZbDMatrix&& other) noexcept
    {
        ZbDMatrix taken(std::move(other));
        swap(taken);
        return *this;
    }
    void swap(ZbDMatrix& other) noexcept
    {
        std::swap(m_numRows, other.m_numRows);
        std::swap(m_numCols, other.m_numCols);
        m_elements.swap(other.m_elements);
    }

    /// Makes it a matrix of n rows and m columns whose elements are all 0.
    void resize(int n, int m)
    {
        const long rows = std::max(n, 0), columns = std::max(m, 0);
        m_elements.resize(rows * columns);
        m_elements.fill(T(0));
        m_numRows = int(rows);
        m_numCols = int(columns);
    }

    int numRows() const noexcept { return m_numRows; }
    int numCols() const noexcept { return m_numCols; }
    T& operator()(int i, int j) { return row(i)[j]; }
    const T& operator()(int i, int j) const { return row(i)[j]; }
    /// The elements of row i; rows follow one another without gaps.
    T* row(int i) noexcept { return m_elements.data() + long(i) * m_numCols; }
    const T* row(int i) const noexcept { return m_elements.data() + long(i) * m_numCols; }

    friend bool operator==(const ZbDMatrix& a, const ZbDMatrix& b) = default;

    ZbDMatrix transpose() const
    {
        ZbDMatrix result(m_numCols, m_numRows);
        for (int i = 0; i < m_numRows; ++i) {
            for (int j = 0; j < m_numCols; ++j)
                result(j, i) = (*this)(i, j);
        }
        return result;
    }

    /// Solves A x = b, where this n x n matrix is A, for numRhs right sides b by factors L and R.
    ///
    /// a are n pointers to n values each, which receive the factors: R on and above the diagonal, L, whose
    /// diagonal is 1, below it; the rows are exchanged as the pivots demanded. Each of the numRhs pointers of rhs
    /// leads to n values, the right side b, and receives x. The rows must not overlap one another or this matrix.
    /// det receives the determinant.
    ///
    /// The pivot is the largest absolute value of its column, the last of equal ones. A solution is corrected
    /// up to nine times while the length of b - A x exceeds 1e-5 times that of b; what then still exceeds 1e-4
    /// times that length is told on standard output. Residuals are summed in double. A right side
    /// that is not finite has a solution that is not. Golub and Van Loan, Matrix
    /// Computations, sections 3.4 and 3.5.
    ///
    /// Returns 0 on success. Returns 1, with a line on standard error, for a matrix that is not square, and for a
    /// singular one, whose determinant is 0, or, without a line, when progress, which is asked every 20 columns,
    /// was interrupted; right sides are unchanged then. O(n^3), and O(n^2) a right side.
    ZB_API int solveLRdecomp(T** a, T** rhs, int numRhs, T& det,
                             ZbProgressInterface* progress = nullptr) const;

    /// Singular values: this n x m matrix is U diag(w) V^T, for any n and m.
    ///
    /// With k the smaller of n and m, U becomes n x k, w gets k values, and V becomes m x k; the columns of U and
    /// V are orthonormal, the values are not negative and in no order. Where m exceeds n the matrix is transposed
    /// before it is decomposed. Returns 1, or 0 with a line on standard output when a singular value is
    /// not found after maxIterations - 1 steps, as where elements are not finite; the outputs are unchanged then.
    /// U or V may be this matrix. O(n m k).
    ///
    /// Householder reflections to bidiagonal form, then QR steps with implicit shifts. Golub and Reinsch, Singular
    /// value decomposition and least squares solutions, Numerische Mathematik 14, 1970.
    ZB_API int SVD(ZbDMatrix& U, ZbDVector<T>& w, ZbDMatrix& V, int maxIterations = 30) const;

private:
    int m_numRows = 0;
    int m_numCols = 0;
    ZbDArray<T> m_elements;
};

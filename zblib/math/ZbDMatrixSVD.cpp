#include <zblib/math/ZbDMatrix.h>

#include <zblib/math/ZbVectorLoops.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace
{

using ZbDetail::addMultiple;
using ZbDetail::dot;
using ZbDetail::rotate;
using ZbDetail::scale;

// The decomposition of a matrix with at least as many rows as columns. Matrices are kept by columns, one after the
// other, so that reflections and rotations run along memory.
template <typename T>
class Decomposition
{
public:
    // columns are those of the matrix; they become those of U.
    explicit Decomposition(ZbDMatrix<T> columns)
        : m_u(std::move(columns))
        , m_rows(m_u.numCols())
        , m_columns(m_u.numRows())
        , m_v(int(m_columns), int(m_columns))
    {
        m_w.resize(m_columns);
        m_e.resize(m_columns);
        m_columnDivisors.resize(m_columns);
        m_rowDivisors.resize(m_columns);
        m_row.resize(m_columns);
        m_products.resize(m_rows);
    }

    bool run(int maxIterations)
    {
        bidiagonalize();
        accumulateV();
        accumulateU();
        for (long k = m_columns - 1; k >= 0; --k) {
            if (!diagonalize(k, maxIterations))
                return false;
        }
        return true;
    }

    const ZbDMatrix<T>& u() const { return m_u; }
    const ZbDMatrix<T>& v() const { return m_v; }
    const ZbDVector<T>& w() const { return m_w; }

private:
    T* u(long column) { return m_u.row(int(column)); }
    T* v(long column) { return m_v.row(int(column)); }

    // Makes x, of length n, the vector of the reflection 1 + x x^T / h that leaves only its first element, which is
    // returned. x is scaled to the order of 1 and remains so, as is h then: what small rows and columns are multiplied
    // with neither overflows nor vanishes. A vector of zeros needs no reflection: h is 0.
    static T reflection(T* x, long n, T& h)
    {
        h = 0;
        T size = 0;
        for (long i = 0; i < n; ++i)
            size = std::max(size, std::fabs(x[i]));
        if (size == 0)
            return 0;
        for (long i = 0; i < n; ++i)
            x[i] /= size;
        const T squares = dot<T>(x, x, n);
        const T first = -std::copysign(std::sqrt(squares), x[0]);
        h = x[0] * first - squares;
        x[0] -= first;
        return size * first;
    }

    void bidiagonalize()
    {
        for (long i = 0; i < m_columns; ++i) {
            T* column = u(i) + i;
            const long below = m_rows - i;
            T& h = m_columnDivisors[i];
            m_w[i] = reflection(column, below, h);
            if (h != 0) {
                for (long j = i + 1; j < m_columns; ++j)
                    addMultiple(dot<T>(column, u(j) + i, below) / h, column, u(j) + i, below);
            }
            if (i + 1 == m_columns)
                break;
            // The same for row i right of the diagonal, which lies across the columns.
            const long right = m_columns - i - 1;
            T* row = m_row.data();
            for (long j = 0; j < right; ++j)
                row[j] = u(i + 1 + j)[i];
            T& rowDivisor = m_rowDivisors[i + 1];
            m_e[i + 1] = reflection(row, right, rowDivisor);
            if (rowDivisor != 0) {
                T* products = m_products.data();
                const long count = m_rows - i - 1;
                std::fill(products, products + count, T(0));
                for (long j = 0; j < right; ++j)
                    addMultiple(row[j], u(i + 1 + j) + i + 1, products, count);
                for (long j = 0; j < right; ++j) {
                    addMultiple(row[j] / rowDivisor, products, u(i + 1 + j) + i + 1, count);
                    u(i + 1 + j)[i] = row[j];
                }
            }
        }
        if (m_columns > 0)
            m_e[0] = 0;
        m_norm = 0;
        for (long i = 0; i < m_columns; ++i)
            m_norm = std::max(m_norm, std::fabs(m_w[i]) + std::fabs(m_e[i]));
    }

    // The product of the reflections of the rows, the last one first.
    void accumulateV()
    {
        for (long i = m_columns - 1; i >= 0; --i) {
            // The matrix was all 0 before.
            v(i)[i] = 1;
            const long first = i + 1, count = m_columns - first;
            if (count == 0 || m_rowDivisors[first] == 0)
                continue;
            T* row = m_row.data();
            for (long j = 0; j < count; ++j)
                row[j] = u(first + j)[i];
            for (long j = first; j < m_columns; ++j) {
                const T factor = dot<T>(row, v(j) + first, count) / m_rowDivisors[first];
                addMultiple(factor, row, v(j) + first, count);
            }
        }
    }

    // The product of the reflections of the columns, in their place.
    void accumulateU()
    {
        for (long i = m_columns - 1; i >= 0; --i) {
            T* column = u(i);
            for (long j = i + 1; j < m_columns; ++j)
                u(j)[i] = 0;
            const T h = m_columnDivisors[i];
            if (h != 0) {
                for (long j = i + 1; j < m_columns; ++j) {
                    const T sum = dot<T>(column + i + 1, u(j) + i + 1, m_rows - i - 1);
                    addMultiple(sum / h, column + i, u(j) + i, m_rows - i);
                }
                scale(column[i] / h, column + i, m_rows - i);
            }
            column[i] += 1;  // a column without a reflection is 0
        }
    }

    bool isNegligible(T value) const { return std::fabs(value) + m_norm == m_norm; }

    // Makes element k of the superdiagonal negligible, and w[k] a singular value.
    bool diagonalize(long k, int maxIterations)
    {
        for (int iteration = 1;; ++iteration) {
            long first = k;
            bool mustCancel = false;
            for (; first > 0 && !isNegligible(m_e[first]); --first) {
                if (isNegligible(m_w[first - 1])) {
                    mustCancel = true;
                    break;
                }
            }
            if (mustCancel)
                cancel(first, k);
            if (first == k) {
                if (m_w[k] < 0) {
                    m_w[k] = -m_w[k];
                    scale(T(-1), v(k), m_columns);
                }
                return true;
            }
            if (iteration >= maxIterations) {
                return false;
            }
            step(first, k);
        }
    }

    // Rotates e[first] away, where the value of the diagonal above it is negligible.
    void cancel(long first, long k)
    {
        T c = 0, s = 1;
        for (long i = first; i <= k; ++i) {
            const T f = s * m_e[i];
            m_e[i] *= c;
            if (isNegligible(f))
                return;
            const T g = m_w[i];
            m_w[i] = std::hypot(f, g);
            c = g / m_w[i];
            s = -f / m_w[i];
            rotate(c, s, u(first - 1), u(i), m_rows);
        }
    }

    // A QR step on the elements [first, k], with the shift of their lower 2 x 2 corner.
    void step(long first, long k)
    {
        const T z = m_w[k];
        T x = m_w[first];
        const T corner = m_w[k - 1];
        const T h = m_e[k];
        const T g = m_e[k - 1];
        T f = ((corner - z) * (corner + z) + (g - h) * (g + h)) / (2 * h * corner);
        f = ((x - z) * (x + z) + h * (corner / (f + std::copysign(std::hypot(f, T(1)), f)) - h)) / x;
        T c = 1, s = 1;
        for (long j = first; j < k; ++j) {
            const T side = c * m_e[j + 1];
            const T corner2 = s * m_e[j + 1];
            T y = m_w[j + 1];
            T length = std::hypot(f, corner2);
            m_e[j] = length;
            if (length != 0) {  // else any rotation does
                c = f / length;
                s = corner2 / length;
            }
            f = x * c + side * s;
            const T rest = side * c - x * s;
            const T below = y * s;
            y *= c;
            rotate(c, s, v(j), v(j + 1), m_columns);
            length = std::hypot(f, below);
            m_w[j] = length;
            if (length != 0) {
                c = f / length;
                s = below / length;
            }
            f = c * rest + s * y;
            x = c * y - s * rest;
            rotate(c, s, u(j), u(j + 1), m_rows);
        }
        m_e[first] = 0;
        m_e[k] = f;
        m_w[k] = x;
    }

    ZbDMatrix<T> m_u;
    long m_rows;
    long m_columns;
    ZbDMatrix<T> m_v;
    ZbDVector<T> m_w;                              // the diagonal
    ZbDVector<T> m_e;                              // m_e[i] lies above m_w[i]; m_e[0] is 0
    ZbDVector<T> m_columnDivisors, m_rowDivisors;  // h of the reflection that made m_w[i], m_e[i]
    ZbDVector<T> m_row;                            // m_columns for the reflection of a row
    ZbDVector<T> m_products;                       // m_rows
    T m_norm = 0;                                  // what is negligible is so beside this
};

}  // namespace

template <typename T>
int ZbDMatrix<T>::SVD(ZbDMatrix& U, ZbDVector<T>& w, ZbDMatrix& V, int maxIterations) const
{
    const bool isWide = m_numCols > m_numRows;
    // Of a wide matrix the columns of the transposed one are its rows, which are there already.
    ZbDMatrix columns = isWide ? *this : transpose();
    T largest = 0;
    bool isFinite = true;
    for (const T value : columns.m_elements) {
        isFinite &= std::isfinite(value);
        largest = std::max(largest, std::fabs(value));
    }
    // Scaled by a power of two, which is exact, so that no product overflows or vanishes.
    const int exponent = largest > 0 && isFinite ? std::ilogb(largest) : 0;
    for (T& value : columns.m_elements)
        value = std::scalbn(value, -exponent);
    Decomposition<T> parts(std::move(columns));
    if (!isFinite || !parts.run(maxIterations)) {
        std::printf("no convergence in %d svd iterations \n", maxIterations);
        return 0;
    }
    ZbDVector<T> values = parts.w();
    for (T& value : values)
        value = std::scalbn(value, exponent);
    // The outputs change together, once there is memory for all.
    ZbDMatrix left = (isWide ? parts.v() : parts.u()).transpose();
    ZbDMatrix right = (isWide ? parts.u() : parts.v()).transpose();
    U = std::move(left);
    V = std::move(right);
    w = std::move(values);
    return 1;
}

template int ZbDMatrix<float>::SVD(ZbDMatrix&, ZbDVector<float>&, ZbDMatrix&, int) const;
template int ZbDMatrix<double>::SVD(ZbDMatrix&, ZbDVector<double>&, ZbDMatrix&, int) const;

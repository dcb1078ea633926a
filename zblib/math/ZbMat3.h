#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/math/ZbMatBase.h>
#include <zblib/math/ZbVec3.h>

#include <iosfwd>

/// A matrix of 3 x 3 numbers; see ZbMatBase for what the matrices have in common.
template <typename T>
class ZbMat3 : public ZbMatBase<ZbMat3<T>, T, 3>
{
    using Base = ZbMatBase<ZbMat3<T>, T, 3>;
    using Base::m_rows;

public:
    ZbMat3() noexcept = default;
    constexpr ZbMat3(T a00, T a01, T a02, T a10, T a11, T a12, T a20, T a21, T a22) noexcept
    {
        setValue(a00, a01, a02, a10, a11, a12, a20, a21, a22);
    }
    constexpr ZbMat3(const ZbVec3<T>& row0, const ZbVec3<T>& row1, const ZbVec3<T>& row2) noexcept
        : ZbMat3(row0.x, row0.y, row0.z, row1.x, row1.y, row1.z, row2.x, row2.y, row2.z)
    {
    }
    /// All nine elements are value, not the diagonal alone.
    template <typename Scalar>
    requires std::is_arithmetic_v<Scalar>
    explicit constexpr ZbMat3(Scalar value) noexcept  // a template, or a literal 0 might be a pointer
        : ZbMat3(T(value), T(value), T(value), T(value), T(value), T(value), T(value), T(value), T(value))
    {
    }
    explicit constexpr ZbMat3(const T (*values)[3]) noexcept { setValue(values); }
    /// From another element type.
    template <std::floating_point U>
    explicit constexpr ZbMat3(const ZbMat3<U>& m) noexcept
    {
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j)
                m_rows[i][j] = T(m[i][j]);
        }
    }

    using Base::setValue;
    constexpr void setValue(T a00, T a01, T a02, T a10, T a11, T a12, T a20, T a21, T a22) noexcept
    {
        const T values[3][3] = {{a00, a01, a02}, {a10, a11, a12}, {a20, a21, a22}};
        setValue(values);
    }

    constexpr T det() const noexcept
    {
        return m_rows[0][0] * (m_rows[1][1] * m_rows[2][2] - m_rows[1][2] * m_rows[2][1]) -
               m_rows[0][1] * (m_rows[1][0] * m_rows[2][2] - m_rows[1][2] * m_rows[2][0]) +
               m_rows[0][2] * (m_rows[1][0] * m_rows[2][1] - m_rows[1][1] * m_rows[2][0]);
    }
    /// The determinant of what remains without row i and column j. It has no sign of its own place: the cofactor
    /// is subdet(i, j) where i + j is even, and -subdet(i, j) where it is odd.
    constexpr T subdet(int i, int j) const noexcept
    {
        const int row0 = i == 0 ? 1 : 0, row1 = i == 2 ? 1 : 2;
        const int column0 = j == 0 ? 1 : 0, column1 = j == 2 ? 1 : 2;
        return m_rows[row0][column0] * m_rows[row1][column1] - m_rows[row0][column1] * m_rows[row1][column0];
    }

    /// The inverse. Where the determinant is exactly 0 it is the adjugate, without a word; that is meant.
    constexpr ZbMat3 inverse() const noexcept
    {
        const T determinant = det();
        return inverse(determinant == 0 ? T(1) : determinant);
    }
    /// The adjugate divided by determinant, for callers who know it.
    constexpr ZbMat3 inverse(T determinant) const noexcept
    {
        ZbMat3 result;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                const T minor = subdet(j, i);
                result[i][j] = ((i + j) % 2 == 0 ? minor : -minor) / determinant;
            }
        }
        return result;
    }
    /// The same for a symmetric matrix: six of the nine elements are computed, from the upper triangle.
    constexpr ZbMat3 symmInverse(T determinant) const noexcept
    {
        const T a = m_rows[0][0], b = m_rows[0][1], c = m_rows[0][2];
        const T d = m_rows[1][1], e = m_rows[1][2], f = m_rows[2][2];
        const T i00 = (d * f - e * e) / determinant, i01 = (c * e - b * f) / determinant;
        const T i02 = (b * e - c * d) / determinant, i11 = (a * f - c * c) / determinant;
        const T i12 = (b * c - a * e) / determinant, i22 = (a * d - b * b) / determinant;
        return {i00, i01, i02, i01, i11, i12, i02, i12, i22};
    }

    /// Factors this matrix in place, as ZbMat4::LUDecomposition.
    ZB_API bool LUDecomposition(int index[3], T& d) noexcept;

    /// dst = src * this, src as a row.
    constexpr void multVecMatrix(const ZbVec3<T>& src, ZbVec3<T>& dst) const noexcept
    {
        this->multRow(src, dst);
    }
    /// dst = this * src, src as a column.
    constexpr void multMatrixVec(const ZbVec3<T>& src, ZbVec3<T>& dst) const noexcept
    {
        this->multColumn(src, dst);
    }

    /// Eigenvalues and eigenvectors of a symmetric matrix by cyclic Jacobi rotations.
    ///
    /// Reads the upper triangle. Eigenvalue i belongs to the vector i; the vectors are orthonormal and form a
    /// right-handed system in the order in which the rotations leave them; nothing is sorted. nrot receives
    /// the number of rotations. Accurate to a few units in the last place of the largest eigenvalue, for equal
    /// eigenvalues too, unless differences of eigenvalues exceed T. Without convergence after 50 sweeps, which only values that are not finite bring about,
    /// writes "Too many iterations in routine jacobi" to standard error, leaves the vectors as they were and
    /// returns the eigenvalues of the last sweep. Golub and Van Loan, Matrix Computations, section 8.5.
    ZB_API void jacobi(T evalues[3], ZbVec3<T> evectors[3], int& nrot) const noexcept;

    /// Eigenvalues and eigenvectors of any matrix in closed form: ZbMat3_EigenAnalysis::compEigen3x3, which says
    /// what they are. Returns the number of real eigenvalues, 3 or 1.
    ZB_API int solveEigenSystem(T evalues[3], ZbVec3<T> evectors[3]) const noexcept;
};

using ZbMat3f = ZbMat3<float>;
using ZbMat3d = ZbMat3<double>;

static_assert(ZbDetail::isPacked<ZbMat3f, float, 9> && ZbDetail::isPacked<ZbMat3d, double, 9>);

/// Writes the nine elements row by row with single blanks between them, in the format of the stream.
ZB_API std::ostream& operator<<(std::ostream& stream, const ZbMat3f& m);
ZB_API std::ostream& operator<<(std::ostream& stream, const ZbMat3d& m);

#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/math/ZbMatBase.h>
#include <zblib/math/ZbVec3.h>
#include <zblib/math/ZbVec4.h>

#include <concepts>
#include <cstddef>
#include <cstdio>

#if defined(ZBLIB_HAVE_INVENTOR) && ZBLIB_HAVE_INVENTOR
#include <Inventor/SbMatrix.h>
#endif

template <typename T>
class ZbRot;

/// A matrix of 4 x 4 numbers: a transformation of space.
///
/// Points are rows multiplied from the left, so an affine matrix has its translation in its last row and
/// (0, 0, 0, 1) in its last column. See ZbMatBase for what the matrices have in common.
template <typename T>
class ZbMat4 : public ZbMatBase<ZbMat4<T>, T, 4>
{
    using Base = ZbMatBase<ZbMat4<T>, T, 4>;
    using Base::m_rows;

public:
    ZbMat4() noexcept = default;
    constexpr ZbMat4(T a00, T a01, T a02, T a03, T a10, T a11, T a12, T a13, T a20, T a21, T a22, T a23,
                     T a30, T a31, T a32, T a33) noexcept
    {
        setValue(a00, a01, a02, a03, a10, a11, a12, a13, a20, a21, a22, a23, a30, a31, a32, a33);
    }
    ZbMat4(std::nullptr_t) = delete;  // nor a literal 0
    explicit constexpr ZbMat4(const T (*values)[4]) noexcept { setValue(values); }
    /// From another element type.
    template <std::floating_point U>
    explicit constexpr ZbMat4(const ZbMat4<U>& m) noexcept
    {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j)
                m_rows[i][j] = T(m[i][j]);
        }
    }

    static constexpr ZbMat4 identity() noexcept { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; }

    using Base::setValue;
    constexpr void setValue(T a00, T a01, T a02, T a03, T a10, T a11, T a12, T a13, T a20, T a21, T a22,
                            T a23, T a30, T a31, T a32, T a33) noexcept
    {
        const T values[4][4] = {
            {a00, a01, a02, a03}, {a10, a11, a12, a13}, {a20, a21, a22, a23}, {a30, a31, a32, a33}};
        setValue(values);
    }

    /// this = this * m, the same as *=, and this = m * this.
    constexpr ZbMat4& multRight(const ZbMat4& m) noexcept { return *this = *this * m; }
    constexpr ZbMat4& multLeft(const ZbMat4& m) noexcept { return *this = m * *this; }

    // ---- vectors

    /// dst = src * this: the transformation of a point. It is extended with 1, and the result is divided by its
    /// fourth element, whatever that is.
    constexpr void multVecMatrix(const ZbVec3<T>& src, ZbVec3<T>& dst) const noexcept
    {
        const ZbVec3<T> p = src;
        const T w = p.x * m_rows[0][3] + p.y * m_rows[1][3] + p.z * m_rows[2][3] + m_rows[3][3];
        for (int j = 0; j < 3; ++j)
            dst[j] = (p.x * m_rows[0][j] + p.y * m_rows[1][j] + p.z * m_rows[2][j] + m_rows[3][j]) / w;
    }
    /// dst = src * this, without a division.
    constexpr void multVecMatrix(const ZbVec4<T>& src, ZbVec4<T>& dst) const noexcept
    {
        this->multRow(src, dst);
    }
    /// dst = this * src, the point as a column; extended and divided like a row.
    constexpr void multMatrixVec(const ZbVec3<T>& src, ZbVec3<T>& dst) const noexcept
    {
        const ZbVec3<T> p = src;
        const T w = m_rows[3][0] * p.x + m_rows[3][1] * p.y + m_rows[3][2] * p.z + m_rows[3][3];
        for (int i = 0; i < 3; ++i)
            dst[i] = (m_rows[i][0] * p.x + m_rows[i][1] * p.y + m_rows[i][2] * p.z + m_rows[i][3]) / w;
    }
    /// dst = this * src, without a division.
    constexpr void multMatrixVec(const ZbVec4<T>& src, ZbVec4<T>& dst) const noexcept
    {
        this->multColumn(src, dst);
    }
    /// dst = src * the upper left 3 x 3 elements: the transformation of a direction.
    constexpr void multDirMatrix(const ZbVec3<T>& src, ZbVec3<T>& dst) const noexcept
    {
        const ZbVec3<T> p = src;
        for (int j = 0; j < 3; ++j)
            dst[j] = p.x * m_rows[0][j] + p.y * m_rows[1][j] + p.z * m_rows[2][j];
    }

    /// The same for count vectors at once, to the last bit. src and dst are the same array or do not overlap.
    ZB_API void multVecMatrix(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept;
    ZB_API void multMatrixVec(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept;
    ZB_API void multDirMatrix(const ZbVec3<T>* src, ZbVec3<T>* dst, long count) const noexcept;

    // ---- composing

    /// The diagonal (s, s, s, 1).
    constexpr void setScale(T s) noexcept { setScale(ZbVec3<T>(s, s, s)); }
    constexpr void setScale(const ZbVec3<T>& s) noexcept
    {
        setValue(s.x, 0, 0, 0, 0, s.y, 0, 0, 0, 0, s.z, 0, 0, 0, 0, 1);
    }
    constexpr void setTranslate(const ZbVec3<T>& t) noexcept
    {
        setValue(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, t.x, t.y, t.z, 1);
    }
    /// The rotation's matrix.
    constexpr void setRotate(const ZbRot<T>& r) noexcept { r.getValue(*this); }
    constexpr ZbMat4& operator=(const ZbRot<T>& r) noexcept
    {
        setRotate(r);
        return *this;
    }

    /// Scales a point by s along the axes of the scale orientation so, rotates it by r, both about the centre c,
    /// and translates it by t: T(-c) R(so)^-1 S(s) R(so) R(r) T(c) T(t).
    ///
    /// A part that is the identity is left out, with its rounding.
    ZB_API void setTransform(const ZbVec3<T>& t, const ZbRot<T>& r, const ZbVec3<T>& s, const ZbRot<T>& so,
                             const ZbVec3<T>& c) noexcept;
    /// About the origin, scaled along the coordinate axes.
    ZB_API void setTransform(const ZbVec3<T>& t, const ZbRot<T>& r, const ZbVec3<T>& s) noexcept;

    // ---- decomposing

    /// The parts from which setTransform composes this matrix again, about the centre c, which the caller
    /// chooses. What the last column has beside (0, 0, 0, 1) is ignored.
    ///
    /// The scale factors are all negative where the matrix reflects and none is where it does not. Composed
    /// again, no element of the upper left 3 x 3 differs by more than 16 units in the last place of the largest
    /// |s|, singular and nearly singular matrices included; the translation differs by that times the length of
    /// c more.
    ZB_API void getTransform(ZbVec3<T>& t, ZbRot<T>& r, ZbVec3<T>& s, ZbRot<T>& so,
                             const ZbVec3<T>& c = ZbVec3<T>(0, 0, 0)) const noexcept;

    /// The factors of this matrix = r S r^T u T proj, where r is a rotation, S the scaling by s, u a rotation,
    /// T the translation by t, and proj is (0, 0, 0, 1) outside its last column.
    ///
    /// Signs and accuracy as by getTransform; proj is the identity of an affine matrix. The last column of another
    /// one comes back to a few units in the last place of the largest |s| times |proj|, which is nothing of it left
    /// where the smallest |s| is below the precision of T times the largest. Returns false where the
    /// upper left 3 x 3 is singular. The factors give the matrix then as well: if it is not affine, they are all
    /// identities but proj, which is the matrix itself.
    ZB_API bool factor(ZbMat4& r, ZbVec3<T>& s, ZbMat4& u, ZbVec3<T>& t, ZbMat4& proj) const noexcept;

    /// Eigenvalues and eigenvectors of the upper left 3 x 3 elements, as by ZbMat3::jacobi.
    ZB_API void jacobi3(T evalues[3], ZbVec3<T> evectors[3], int& nrot) const noexcept;

    // ---- determinants and inverses

    /// The determinant of the upper left 3 x 3 elements.
    constexpr T det3() const noexcept { return det3(0, 1, 2, 0, 1, 2); }
    /// The determinant of the elements in the rows r1, r2, r3 and the columns c1, c2, c3.
    constexpr T det3(int r1, int r2, int r3, int c1, int c2, int c3) const noexcept
    {
        const T *a = m_rows[r1], *b = m_rows[r2], *c = m_rows[r3];
        return a[c1] * (b[c2] * c[c3] - b[c3] * c[c2]) - a[c2] * (b[c1] * c[c3] - b[c3] * c[c1]) +
               a[c3] * (b[c1] * c[c2] - b[c2] * c[c1]);
    }
    constexpr T det4() const noexcept
    {
        return m_rows[0][0] * det3(1, 2, 3, 1, 2, 3) - m_rows[0][1] * det3(1, 2, 3, 0, 2, 3) +
               m_rows[0][2] * det3(1, 2, 3, 0, 1, 3) - m_rows[0][3] * det3(1, 2, 3, 0, 1, 2);
    }
    constexpr T det() const noexcept { return det4(); }

    /// The inverse: of the identity the identity, else by affine_inverse where that applies, else by factors.
    ///
    /// The result for a singular matrix is what the failed LUDecomposition leaves of it, without a word; that is
    /// meant. An affine matrix that is singular to affine_inverse goes through the factors as well.
    ZB_API ZbMat4 inverse() const noexcept;
    /// Inverts an affine matrix; in and out may be the same.
    ///
    /// Returns false, and leaves out as it is, where the last column of in is not exactly (0, 0, 0, 1), or
    /// where its upper left 3 x 3 counts as singular: the determinant, in double, is less than 1e-15 times the
    /// sum of the absolute values of its six products, or those are all 0.
    ZB_API static bool affine_inverse(const ZbMat4& in, ZbMat4& out) noexcept;

    /// Replaces this matrix by its factors L and U, where L U is this matrix with its rows exchanged, L has ones
    /// on the diagonal, which are not stored, and U lies on and above it.
    ///
    /// Partial pivoting: the pivot is the first of the largest absolute values of its column, rows are not
    /// scaled. index[i] receives the row that is now row i, and d 1 or -1 for an even or odd number of exchanges.
    /// Returns false at a pivot of exactly 0; the matrix is then reduced up to its column.
    ZB_API bool LUDecomposition(int index[4], T& d) noexcept;
    /// Solves A x = b, x and b as columns, for a matrix A of which this and index are the factors. b holds the
    /// right side and receives x.
    ZB_API void LUBackSubstitution(const int index[4], T b[4]) const noexcept;

    /// Four lines, one a row: each element by "%10.5g" with a tab behind it, the last with a newline.
    ZB_API void print(std::FILE* file) const noexcept;

#if defined(ZBLIB_HAVE_INVENTOR) && ZBLIB_HAVE_INVENTOR
    /// To and from the scene graph, element by element. (Templates, because they need Coin's library: only who
    /// uses them has to link it.)
    template <std::same_as<SbMatrix> Matrix>
    ZbMat4(const Matrix& m) noexcept
    {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j)
                m_rows[i][j] = m[i][j];
        }
    }
    template <std::same_as<SbMatrix> Matrix>
    operator Matrix() const noexcept
    {
        Matrix m;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j)
                m[i][j] = float(m_rows[i][j]);
        }
        return m;
    }
#endif
};

using ZbMat4f = ZbMat4<float>;
using ZbMat4d = ZbMat4<double>;

static_assert(ZbDetail::isPacked<ZbMat4f, float, 16> && ZbDetail::isPacked<ZbMat4d, double, 16>);

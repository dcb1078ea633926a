#pragma once

#include <zblib/math/ZbMatBase.h>
#include <zblib/math/ZbVec2.h>

#include <cstddef>

/// A matrix of 2 x 2 numbers; see ZbMatBase for what the matrices have in common.
template <typename T>
class ZbMat2 : public ZbMatBase<ZbMat2<T>, T, 2>
{
    using Base = ZbMatBase<ZbMat2<T>, T, 2>;
    using Base::m_rows;

public:
    ZbMat2() noexcept = default;
    constexpr ZbMat2(T a00, T a01, T a10, T a11) noexcept { setValue(a00, a01, a10, a11); }
    constexpr ZbMat2(const ZbVec2<T>& row0, const ZbVec2<T>& row1) noexcept
        : ZbMat2(row0.x, row0.y, row1.x, row1.y)
    {
    }
    ZbMat2(std::nullptr_t) = delete;  // nor a literal 0
    explicit constexpr ZbMat2(const T (*values)[2]) noexcept { setValue(values); }
    /// From another element type.
    template <std::floating_point U>
    explicit constexpr ZbMat2(const ZbMat2<U>& m) noexcept
    {
        for (int i = 0; i < 2; ++i) {
            for (int j = 0; j < 2; ++j)
                m_rows[i][j] = T(m[i][j]);
        }
    }

    using Base::setValue;
    constexpr void setValue(T a00, T a01, T a10, T a11) noexcept
    {
        const T values[2][2] = {{a00, a01}, {a10, a11}};
        setValue(values);
    }

    constexpr T det() const noexcept { return m_rows[0][0] * m_rows[1][1] - m_rows[0][1] * m_rows[1][0]; }

    /// The inverse: the adjugate times 1 / det(). Where the determinant is exactly 0 it is the adjugate itself,
    /// without a word; that is meant.
    constexpr ZbMat2 inverse() const noexcept
    {
        const T determinant = det();
        const T scale = determinant == 0 ? T(1) : 1 / determinant;
        return {m_rows[1][1] * scale, -m_rows[0][1] * scale, -m_rows[1][0] * scale, m_rows[0][0] * scale};
    }

    /// The eigenvalues, each as (real part, imaginary part): of two real ones the larger first, of a conjugate
    /// pair the one with the positive imaginary part.
    void calcComplexEigenValues(ZbVec2<T>& e1, ZbVec2<T>& e2) const noexcept
    {
        const T mean = this->trace() / 2;
        const T discriminant = this->trace() * this->trace() / 4 - det();
        if (discriminant >= 0) {
            const T root = std::sqrt(discriminant);
            e1 = ZbVec2<T>(mean + root, 0);
            e2 = ZbVec2<T>(mean - root, 0);
        } else {
            const T root = std::sqrt(-discriminant);
            e1 = ZbVec2<T>(mean, root);
            e2 = ZbVec2<T>(mean, -root);
        }
    }

    /// Vectors v1 and v2, as columns, that belong to the real eigenvalues l1 and l2: m v1 = l1 v1, m v2 = l2 v2.
    ///
    /// They are perpendicular to the longer row of m - l, not normalised, and only as good as the eigenvalue is.
    /// Where all vectors belong to it, because m is a multiple of the unit matrix, v1 is (1, 0) and v2 is (0, 1).
    constexpr void calcEigenVectors(T l1, T l2, ZbVec2<T>& v1, ZbVec2<T>& v2) const noexcept
    {
        const auto vectorOf = [this](T l, const ZbVec2<T>& any) {
            const ZbVec2<T> row0(m_rows[0][0] - l, m_rows[0][1]), row1(m_rows[1][0], m_rows[1][1] - l);
            const ZbVec2<T> row = row0.length2() < row1.length2() ? row1 : row0;
            return row == ZbVec2<T>(0, 0) ? any : ZbVec2<T>(-row.y, row.x);
        };
        v1 = vectorOf(l1, ZbVec2<T>(1, 0));
        v2 = vectorOf(l2, ZbVec2<T>(0, 1));
    }

    /// dst = src * this, src as a row.
    constexpr void multVecMatrix(const ZbVec2<T>& src, ZbVec2<T>& dst) const noexcept
    {
        this->multRow(src, dst);
    }
    /// dst = this * src, src as a column.
    constexpr void multMatrixVec(const ZbVec2<T>& src, ZbVec2<T>& dst) const noexcept
    {
        this->multColumn(src, dst);
    }
    friend constexpr ZbVec2<T> operator*(const ZbVec2<T>& row, const ZbMat2& m) noexcept
    {
        ZbVec2<T> result(0, 0);
        m.multVecMatrix(row, result);
        return result;
    }
    friend constexpr ZbVec2<T> operator*(const ZbMat2& m, const ZbVec2<T>& column) noexcept
    {
        ZbVec2<T> result(0, 0);
        m.multMatrixVec(column, result);
        return result;
    }
};

using ZbMat2f = ZbMat2<float>;
using ZbMat2d = ZbMat2<double>;

static_assert(ZbDetail::isPacked<ZbMat2f, float, 4> && ZbDetail::isPacked<ZbMat2d, double, 4>);

#pragma once

#include <zblib/foundation/ZbExport.h>
#include <zblib/math/ZbMatBase.h>
#include <zblib/math/ZbVec2.h>

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

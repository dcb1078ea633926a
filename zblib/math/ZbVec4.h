#pragma once

#include <zblib/containers/ZbHash.h>
#include <zblib/math/ZbVec3.h>

#include <cstddef>

/// Four numbers: a homogeneous point, a voxel and a time step.
///
/// See ZbVec3 for what the vectors have in common.
template <typename T>
class ZbVec4
{
    static_assert(std::is_arithmetic_v<T>);
    using Real = ZbDetail::VecReal<T>;

public:
    T x, y, z, w;

    ZbVec4() noexcept = default;
    constexpr ZbVec4(T xValue, T yValue, T zValue, T wValue) noexcept
        : x(xValue), y(yValue), z(zValue), w(wValue)
    {
    }
    /// From 4 numbers.
    ZbVec4(std::nullptr_t) = delete;  // nor a literal 0
    explicit constexpr ZbVec4(const T* values) noexcept
        : x(values[0]), y(values[1]), z(values[2]), w(values[3])
    {
    }
    /// From another element type, where a conversion cannot leave its range: to float or double.
    template <typename U>
    requires std::floating_point<T>
    explicit constexpr ZbVec4(const ZbVec4<U>& v) noexcept : x(T(v.x)), y(T(v.y)), z(T(v.z)), w(T(v.w)) {}

    constexpr void setValue(T xValue, T yValue, T zValue, T wValue) noexcept
    {
        *this = ZbVec4(xValue, yValue, zValue, wValue);
    }
    constexpr void setValue(const T* values) noexcept { *this = ZbVec4(values); }
    /// Writes 4 numbers.
    constexpr void getValue(T* values) const noexcept
    {
        getValue(values[0], values[1], values[2], values[3]);
    }
    constexpr void getValue(T& xValue, T& yValue, T& zValue, T& wValue) const noexcept
    {
        xValue = x;
        yValue = y;
        zValue = z;
        wValue = w;
    }

    /// i is in [0, 4).
    constexpr T& operator[](int i) noexcept { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
    constexpr const T& operator[](int i) const noexcept { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }

    constexpr ZbVec4& operator+=(const ZbVec4& v) noexcept { return *this = *this + v; }
    constexpr ZbVec4& operator-=(const ZbVec4& v) noexcept { return *this = *this - v; }
    constexpr ZbVec4& operator*=(T s) noexcept { return *this = *this * s; }
    constexpr ZbVec4& operator/=(T s) noexcept { return *this = *this / s; }

    friend constexpr ZbVec4 operator-(const ZbVec4& a) noexcept { return {-a.x, -a.y, -a.z, -a.w}; }
    friend constexpr ZbVec4 operator+(const ZbVec4& a, const ZbVec4& b) noexcept
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};
    }
    friend constexpr ZbVec4 operator-(const ZbVec4& a, const ZbVec4& b) noexcept
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w};
    }
    friend constexpr ZbVec4 operator*(const ZbVec4& a, T s) noexcept
    {
        return {a.x * s, a.y * s, a.z * s, a.w * s};
    }
    friend constexpr ZbVec4 operator*(T s, const ZbVec4& a) noexcept { return a * s; }
    friend constexpr ZbVec4 operator/(const ZbVec4& a, T s) noexcept
    {
        return {a.x / s, a.y / s, a.z / s, a.w / s};
    }
    friend constexpr bool operator==(const ZbVec4& a, const ZbVec4& b) noexcept = default;

    constexpr T dot(const ZbVec4& v) const noexcept { return x * v.x + y * v.y + z * v.z + w * v.w; }
    /// The products and quotients of the elements.
    constexpr ZbVec4 compprod(const ZbVec4& v) const noexcept { return {x * v.x, y * v.y, z * v.z, w * v.w}; }
    constexpr ZbVec4 compquot(const ZbVec4& v) const noexcept { return {x / v.x, y / v.y, z / v.z, w / v.w}; }

    constexpr T length2() const noexcept { return dot(*this); }
    Real length() const noexcept
    {
        if constexpr (std::is_integral_v<T>)
            return ZbVec4<Real>(*this).length();
        else
            return std::sqrt(length2());
    }

    /// Divides by the length; a vector of length 0 stays as it is.
    void normalize() noexcept requires std::floating_point<T>
    {
        const T norm = length();
        if (norm != 0)
            *this /= norm;
    }

    /// Whether the distance is at most eps.
    constexpr bool equals(const ZbVec4& v, T eps) const noexcept requires std::floating_point<T>
    {
        return eps * eps >= (*this - v).length2();
    }
};

using ZbVec4f = ZbVec4<float>;
using ZbVec4d = ZbVec4<double>;
using ZbVec4i = ZbVec4<int>;

static_assert(ZbDetail::isPacked<ZbVec4f, float, 4> && ZbDetail::isPacked<ZbVec4d, double, 4>);
static_assert(ZbDetail::isPacked<ZbVec4i, int, 4>);

/// Five bits of each element, the first element's highest.
constexpr unsigned int zbhash(const ZbVec4i& v) noexcept
{
    return static_cast<unsigned int>((v.x & 31) << 15 | (v.y & 31) << 10 | (v.z & 31) << 5 | (v.w & 31));
}

/// The elements folded with the factor f into a table of m places.
constexpr unsigned int zbhash(const ZbVec4i& v, int f, int m) noexcept
{
    return static_cast<unsigned int>(
        ZbDetail::hashStep(ZbDetail::hashStep(ZbDetail::hashStep(v.x, f, v.y, m), f, v.z, m), f, v.w, m));
}

constexpr unsigned int hash2(const ZbVec4i& v, int m) noexcept
{
    return static_cast<unsigned int>(m) - zbhash(v, m, m);
}

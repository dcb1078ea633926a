#pragma once

#include <zblib/containers/ZbHash.h>
#include <zblib/math/ZbVec3.h>

#include <cstddef>

/// A pair of numbers: a pixel, the size of an image, a point of the plane.
///
/// See ZbVec3 for what the vectors have in common.
template <typename T>
class ZbVec2
{
    static_assert(std::is_arithmetic_v<T>);
    using Real = ZbDetail::VecReal<T>;

public:
    T x, y;

    ZbVec2() noexcept = default;
    constexpr ZbVec2(T xValue, T yValue) noexcept : x(xValue), y(yValue) {}
    /// From 2 numbers.
    ZbVec2(std::nullptr_t) = delete;  // nor a literal 0
    explicit constexpr ZbVec2(const T* values) noexcept : x(values[0]), y(values[1]) {}
    /// From another element type, where a conversion cannot leave its range: to float or double.
    template <typename U>
    requires std::floating_point<T>
    explicit constexpr ZbVec2(const ZbVec2<U>& v) noexcept : x(T(v.x)), y(T(v.y)) {}

    constexpr void setValue(T xValue, T yValue) noexcept { *this = ZbVec2(xValue, yValue); }
    constexpr void setValue(const T* values) noexcept { *this = ZbVec2(values); }
    /// Writes 2 numbers.
    constexpr void getValue(T* values) const noexcept { getValue(values[0], values[1]); }
    constexpr void getValue(T& xValue, T& yValue) const noexcept
    {
        xValue = x;
        yValue = y;
    }

    /// i is in [0, 2).
    constexpr T& operator[](int i) noexcept { return i == 0 ? x : y; }
    constexpr const T& operator[](int i) const noexcept { return i == 0 ? x : y; }

    constexpr ZbVec2& operator+=(const ZbVec2& v) noexcept { return *this = *this + v; }
    constexpr ZbVec2& operator-=(const ZbVec2& v) noexcept { return *this = *this - v; }
    constexpr ZbVec2& operator*=(T s) noexcept { return *this = *this * s; }
    constexpr ZbVec2& operator/=(T s) noexcept { return *this = *this / s; }

    friend constexpr ZbVec2 operator-(const ZbVec2& a) noexcept { return {-a.x, -a.y}; }
    friend constexpr ZbVec2 operator+(const ZbVec2& a, const ZbVec2& b) noexcept
    {
        return {a.x + b.x, a.y + b.y};
    }
    friend constexpr ZbVec2 operator-(const ZbVec2& a, const ZbVec2& b) noexcept
    {
        return {a.x - b.x, a.y - b.y};
    }
    friend constexpr ZbVec2 operator*(const ZbVec2& a, T s) noexcept { return {a.x * s, a.y * s}; }
    friend constexpr ZbVec2 operator*(T s, const ZbVec2& a) noexcept { return a * s; }
    friend constexpr ZbVec2 operator/(const ZbVec2& a, T s) noexcept { return {a.x / s, a.y / s}; }
    friend constexpr bool operator==(const ZbVec2& a, const ZbVec2& b) noexcept = default;

    constexpr T dot(const ZbVec2& v) const noexcept { return x * v.x + y * v.y; }
    /// The signed area of the parallelogram: positive where v lies counter-clockwise of this, y upwards.
    constexpr T cross(const ZbVec2& v) const noexcept { return x * v.y - y * v.x; }
    /// The products and quotients of the elements.
    constexpr ZbVec2 compprod(const ZbVec2& v) const noexcept { return {x * v.x, y * v.y}; }
    constexpr ZbVec2 compquot(const ZbVec2& v) const noexcept { return {x / v.x, y / v.y}; }

    constexpr T length2() const noexcept { return dot(*this); }
    Real length() const noexcept
    {
        if constexpr (std::is_integral_v<T>)
            return ZbVec2<Real>(*this).length();
        else
            return std::sqrt(length2());
    }
    Real distance(const ZbVec2& v) const noexcept { return (ZbVec2<Real>(*this) - ZbVec2<Real>(v)).length(); }
    /// The larger of |x| and |y|.
    constexpr T infnorm() const noexcept
    {
        const T absX = ZbDetail::absolute(x), absY = ZbDetail::absolute(y);
        return absX < absY ? absY : absX;
    }

    /// Divides by the length; a vector of length 0 stays as it is.
    void normalize() noexcept requires std::floating_point<T>
    {
        const T norm = length();
        if (norm != 0)
            *this /= norm;
    }

    /// The angle between two vectors, in [0, pi], as by ZbVec3::angle.
    double angle(const ZbVec2& v) const noexcept
    {
        const ZbVec2<double> a(*this), b(v);
        return ZbDetail::angleBetween(a.dot(b), a.length() * b.length());
    }

    /// Whether the distance is at most eps.
    constexpr bool equals(const ZbVec2& v, T eps) const noexcept requires std::floating_point<T>
    {
        return eps * eps >= (*this - v).length2();
    }

    /// 1 where the triangle a, b, c runs counter-clockwise (y upwards), -1 where it runs clockwise, 0 where its
    /// doubled area is at most eps.
    static constexpr int orientation(const ZbVec2& a, const ZbVec2& b, const ZbVec2& c, T eps) noexcept
    {
        const T area = doubledArea(a, b, c);
        return area > eps ? 1 : area < -eps ? -1 : 0;
    }

    /// The coordinates (l0, l1, l2) for which this point is l0 a + l1 b + l2 c and whose sum is 1.
    ///
    /// l0 and l1 become exactly 0 or 1 where they are closer to it than eps; l2 is 1 - l0 - l1, whatever that
    /// gives. Infinite or not numbers where the triangle has no area.
    constexpr ZbVec3<T> computeBarycentric(const ZbVec2& a, const ZbVec2& b, const ZbVec2& c,
                                           T eps) const noexcept requires std::floating_point<T>
    {
        const auto snapped = [eps](T l) {
            return ZbDetail::absolute(l) < eps ? T(0) : ZbDetail::absolute(1 - l) < eps ? T(1) : l;
        };
        const T area = doubledArea(a, b, c);
        const T l0 = snapped(doubledArea(*this, b, c) / area);
        const T l1 = snapped(doubledArea(a, *this, c) / area);
        return {l0, l1, 1 - l0 - l1};
    }

    /// Whether this point lies in the triangle or on its border: none of its barycentric coordinates is negative.
    ///
    /// l0 and l1 are snapped first, l2 is what they leave, so that eps widens only two of the three sides. False where
    /// there is no area.
    constexpr bool isInTriangle(const ZbVec2& a, const ZbVec2& b, const ZbVec2& c,
                                T eps) const noexcept requires std::floating_point<T>
    {
        const ZbVec3<T> l = computeBarycentric(a, b, c, eps);
        return l.x >= 0 && l.y >= 0 && l.z >= 0;
    }

private:
    static constexpr T doubledArea(const ZbVec2& a, const ZbVec2& b, const ZbVec2& c) noexcept
    {
        return a.x * (b.y - c.y) - b.x * (a.y - c.y) + c.x * (a.y - b.y);
    }
};

using ZbVec2f = ZbVec2<float>;
using ZbVec2d = ZbVec2<double>;
using ZbVec2i = ZbVec2<int>;

static_assert(ZbDetail::isPacked<ZbVec2f, float, 2> && ZbDetail::isPacked<ZbVec2d, double, 2>);
static_assert(ZbDetail::isPacked<ZbVec2i, int, 2>);

/// Five bits of each element, the first element's highest.
constexpr unsigned int zbhash(const ZbVec2i& v) noexcept
{
    return static_cast<unsigned int>((v.x & 31) << 5 | (v.y & 31));
}

/// The elements folded with the factor f into a table of m places.
constexpr unsigned int zbhash(const ZbVec2i& v, int f, int m) noexcept
{
    return static_cast<unsigned int>(ZbDetail::hashStep(v.x, f, v.y, m));
}

constexpr unsigned int hash2(const ZbVec2i& v, int m) noexcept
{
    return static_cast<unsigned int>(m) - zbhash(v, m, m);
}

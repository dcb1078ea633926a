#pragma once

#include <zblib/containers/ZbHash.h>
#include <zblib/math/ZbMath.h>

#include <cmath>
#include <concepts>
#include <cstddef>
#include <limits>
#include <numbers>
#include <type_traits>

#if defined(ZBLIB_HAVE_INVENTOR) && ZBLIB_HAVE_INVENTOR
#include <Inventor/SbVec3f.h>
#include <Inventor/SbVec3i32.h>
#endif

namespace ZbDetail
{

// What lengths are computed in: the element type, and double for integers.
template <typename T>
using VecReal = std::conditional_t<std::floating_point<T>, T, double>;

template <typename Value, typename T, int count>
inline constexpr bool isPacked =
    sizeof(Value) == count * sizeof(T) &&
    alignof(Value) == alignof(T) && std::is_trivially_copyable_v<Value>&& std::is_standard_layout_v<Value>;

// The smallest integer, whose negative does not exist, becomes the largest.
template <typename T>
constexpr T absolute(T value) noexcept
{
    if constexpr (std::is_integral_v<T>) {
        if (value == std::numeric_limits<T>::min())
            return std::numeric_limits<T>::max();
    }
    return value < 0 ? -value : value;
}

inline double angleBetween(double dot, double lengths) noexcept
{
    if (lengths == 0)
        return std::numbers::pi / 2;
    const double cosine = dot / lengths;
    return cosine < -1 ? std::numbers::pi : cosine > 1 ? 0 : std::acos(cosine);
}

}  // namespace ZbDetail

/// Three numbers: a point or direction in space, a voxel, the dimensions of a grid.
///
/// ZbVec2, ZbVec3 and ZbVec4 are plain values over float, double or int: the elements lie one after the other
/// with nothing else in the object, so an array of vectors is an array of numbers. They are uninitialised where
/// no value is given. Everything is computed in the element type, from the first element to the last, except
/// where double is named; sums and products of ints must fit an int, while their lengths and distances
/// are doubles. Nothing throws; a division of reals by zero gives what floating point gives, and ints may not be
/// divided by zero. Thread-safe as ints are.
///
/// By convention points and directions are rows that are multiplied to a matrix from the left (ZbMat4).
template <typename T>
class ZbVec3
{
    static_assert(std::is_arithmetic_v<T>);
    using Real = ZbDetail::VecReal<T>;

public:
    T x, y, z;

    ZbVec3() noexcept = default;
    constexpr ZbVec3(T xValue, T yValue, T zValue) noexcept : x(xValue), y(yValue), z(zValue) {}
    /// From 3 numbers.
    ZbVec3(std::nullptr_t) = delete;  // nor a literal 0
    explicit constexpr ZbVec3(const T* values) noexcept : x(values[0]), y(values[1]), z(values[2]) {}
    /// From another element type, where a conversion cannot leave its range: to float or double.
    template <typename U>
    requires std::floating_point<T>
    explicit constexpr ZbVec3(const ZbVec3<U>& v) noexcept : x(T(v.x)), y(T(v.y)), z(T(v.z)) {}

    constexpr void setValue(T xValue, T yValue, T zValue) noexcept { *this = ZbVec3(xValue, yValue, zValue); }
    constexpr void setValue(const T* values) noexcept { *this = ZbVec3(values); }
    /// Writes 3 numbers.
    constexpr void getValue(T* values) const noexcept { getValue(values[0], values[1], values[2]); }
    constexpr void getValue(T& xValue, T& yValue, T& zValue) const noexcept
    {
        xValue = x;
        yValue = y;
        zValue = z;
    }

    /// i is in [0, 3).
    constexpr T& operator[](int i) noexcept { return i == 0 ? x : i == 1 ? y : z; }
    constexpr const T& operator[](int i) const noexcept { return i == 0 ? x : i == 1 ? y : z; }

    constexpr ZbVec3& operator+=(const ZbVec3& v) noexcept { return *this = *this + v; }
    constexpr ZbVec3& operator-=(const ZbVec3& v) noexcept { return *this = *this - v; }
    constexpr ZbVec3& operator*=(T s) noexcept { return *this = *this * s; }
    constexpr ZbVec3& operator/=(T s) noexcept { return *this = *this / s; }

    friend constexpr ZbVec3 operator-(const ZbVec3& a) noexcept { return {-a.x, -a.y, -a.z}; }
    friend constexpr ZbVec3 operator+(const ZbVec3& a, const ZbVec3& b) noexcept
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend constexpr ZbVec3 operator-(const ZbVec3& a, const ZbVec3& b) noexcept
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    friend constexpr ZbVec3 operator*(const ZbVec3& a, T s) noexcept { return {a.x * s, a.y * s, a.z * s}; }
    friend constexpr ZbVec3 operator*(T s, const ZbVec3& a) noexcept { return a * s; }
    friend constexpr ZbVec3 operator/(const ZbVec3& a, T s) noexcept { return {a.x / s, a.y / s, a.z / s}; }
    friend constexpr bool operator==(const ZbVec3& a, const ZbVec3& b) noexcept = default;

    constexpr T dot(const ZbVec3& v) const noexcept { return x * v.x + y * v.y + z * v.z; }
    constexpr ZbVec3 cross(const ZbVec3& v) const noexcept
    {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }
    /// The products and quotients of the elements.
    constexpr ZbVec3 compprod(const ZbVec3& v) const noexcept { return {x * v.x, y * v.y, z * v.z}; }
    constexpr ZbVec3 compquot(const ZbVec3& v) const noexcept { return {x / v.x, y / v.y, z / v.z}; }

    constexpr T length2() const noexcept { return dot(*this); }
    Real length() const noexcept
    {
        if constexpr (std::is_integral_v<T>)
            return ZbVec3<Real>(*this).length();
        else
            return std::sqrt(length2());
    }
    Real distance(const ZbVec3& v) const noexcept { return (ZbVec3<Real>(*this) - ZbVec3<Real>(v)).length(); }
    /// The largest of |x|, |y| and z. That z counts with its sign, so that a negative one never wins, is meant.
    constexpr T infnorm() const noexcept
    {
        const T absX = ZbDetail::absolute(x), absY = ZbDetail::absolute(y);
        const T larger = absX < absY ? absY : absX;
        return larger < z ? z : larger;
    }

    /// Divides by the length; a vector of length 0 stays as it is.
    void normalize() noexcept requires std::floating_point<T>
    {
        const T norm = length();
        if (norm != 0)
            *this /= norm;
    }

    /// The angle between two vectors, in [0, pi], computed in double. pi / 2 where the product of the lengths is
    /// 0; a cosine that rounding takes out of [-1, 1] gives exactly pi or 0.
    double angle(const ZbVec3& v) const noexcept
    {
        const ZbVec3<double> a(*this), b(v);
        return ZbDetail::angleBetween(a.dot(b), a.length() * b.length());
    }

    /// Whether the distance is at most eps.
    constexpr bool equals(const ZbVec3& v, T eps) const noexcept requires std::floating_point<T>
    {
        return eps * eps >= (*this - v).length2();
    }
    /// Whether the distance is at most eps times the length of the longer vector.
    constexpr bool equalsRelative(const ZbVec3& v, T eps) const noexcept requires std::floating_point<T>
    {
        const T a = length2(), b = v.length2();
        return (*this - v).length2() <= eps * eps * (a < b ? b : a);
    }

    /// The point at t of the way from here to v.
    constexpr ZbVec3 lerp(const ZbVec3& v, T t) const noexcept requires std::floating_point<T>
    {
        return *this + t * (v - *this);
    }

    /// The signed unit axis that the vector runs along most. Of axes that are equal in that the first of +X, -X,
    /// +Y, -Y, +Z, -Z is taken; it is +X for a vector of length 0.
    constexpr ZbVec3 getClosestAxis() const noexcept
    {
        ZbVec3 closest(1, 0, 0);
        Real best = -1;
        for (int axis = 0; axis < 3; ++axis) {
            for (const T sign : {T(1), T(-1)}) {
                // The product with a unit axis is the element itself, with the axis' sign.
                const Real product = Real(sign) * Real((*this)[axis]);
                if (product > best) {
                    best = product;
                    closest = ZbVec3(0, 0, 0);
                    closest[axis] = sign;
                }
            }
        }
        return closest;
    }

    /// -1, 0 or 1 as a lies before b, at b or behind it, by x, then y, then z.
    static constexpr int compareXcoord(const ZbVec3& a, const ZbVec3& b) noexcept
    {
        for (int i = 0; i < 3; ++i) {
            if (a[i] < b[i])
                return -1;
            if (a[i] > b[i])
                return 1;
        }
        return 0;
    }

    /// The next integers at or below the elements of v, or at or above them. What does not fit an int is
    /// clamped; NaN gives 0.
    template <std::floating_point U>
    void setFloor(const ZbVec3<U>& v) noexcept requires std::same_as<T, int>
    {
        setRounded(v, [](U value) { return std::floor(value); });
    }
    template <std::floating_point U>
    void setCeil(const ZbVec3<U>& v) noexcept requires std::same_as<T, int>
    {
        setRounded(v, [](U value) { return std::ceil(value); });
    }

#if defined(ZBLIB_HAVE_INVENTOR) && ZBLIB_HAVE_INVENTOR
    /// To and from the scene graph, element by element.
    ZbVec3(const SbVec3f& v) noexcept requires std::floating_point<T> : x(v[0]), y(v[1]), z(v[2]) {}
    operator SbVec3f() const noexcept requires std::floating_point<T>
    {
        return SbVec3f(float(x), float(y), float(z));
    }
    ZbVec3(const SbVec3i32& v) noexcept requires std::same_as<T, int> : x(v[0]), y(v[1]), z(v[2]) {}
    operator SbVec3i32() const noexcept requires std::same_as<T, int>
    {
        return SbVec3i32(x, y, z);
    }
#endif

private:
    template <typename U, typename Round>
    void setRounded(const ZbVec3<U>& v, Round round) noexcept
    {
        for (int i = 0; i < 3; ++i)
            (*this)[i] = ZbDetail::clampedToInteger<int>(round(v[i]), [](U value) { return int(value); });
    }
};

using ZbVec3f = ZbVec3<float>;
using ZbVec3d = ZbVec3<double>;
using ZbVec3i = ZbVec3<int>;

static_assert(ZbDetail::isPacked<ZbVec3f, float, 3> && ZbDetail::isPacked<ZbVec3d, double, 3>);
static_assert(ZbDetail::isPacked<ZbVec3i, int, 3>);

/// Five bits of each element, the first element's highest.
constexpr unsigned int zbhash(const ZbVec3i& v) noexcept
{
    return static_cast<unsigned int>((v.x & 31) << 10 | (v.y & 31) << 5 | (v.z & 31));
}

/// The elements folded with the factor f into a table of m places.
constexpr unsigned int zbhash(const ZbVec3i& v, int f, int m) noexcept
{
    return static_cast<unsigned int>(ZbDetail::hashStep(ZbDetail::hashStep(v.x, f, v.y, m), f, v.z, m));
}

constexpr unsigned int hash2(const ZbVec3i& v, int m) noexcept
{
    return static_cast<unsigned int>(m) - zbhash(v, m, m);
}

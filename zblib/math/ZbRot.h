#pragma once

#include <zblib/math/ZbMat3.h>
#include <zblib/math/ZbMat4.h>
#include <zblib/math/ZbVec3.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <type_traits>

/// A rotation in space as a quaternion (x, y, z, w), where (x, y, z) is the axis times sin(angle / 2), and w is
/// cos(angle / 2).
///
/// Rotates row vectors: r1 * r2 applies r1 first and then r2, as do the matrices. The identity is (0, 0, 0, 1).
/// A plain value over float or double: four numbers with nothing else in the object, uninitialised where no value
/// is given. Only normalize() makes its length 1; what is computed from rotations is only as long as they were.
/// Angles are in radians. Computed in T except where double is named. Nothing throws. Thread-safe as floats are.
template <typename T>
class ZbRot
{
    static_assert(std::is_floating_point_v<T>);

public:
    ZbRot() noexcept = default;
    constexpr ZbRot(T x, T y, T z, T w) noexcept : m_values{x, y, z, w} {}
    /// From 4 numbers.
    ZbRot(std::nullptr_t) = delete;  // nor a literal 0
    explicit constexpr ZbRot(const T* values) noexcept : ZbRot(values[0], values[1], values[2], values[3]) {}
    /// From another element type.
    template <std::floating_point U>
    explicit constexpr ZbRot(const ZbRot<U>& r) noexcept : ZbRot(T(r[0]), T(r[1]), T(r[2]), T(r[3]))
    {
    }
    ZbRot(const ZbVec3<T>& axis, T angle) noexcept { setValue(axis, angle); }
    ZbRot(const ZbVec3<T>& from, const ZbVec3<T>& to) noexcept { setValue(from, to); }
    ZbRot(const ZbVec3<T>& from1, const ZbVec3<T>& from2, const ZbVec3<T>& to1, const ZbVec3<T>& to2) noexcept
    {
        setValue(from1, from2, to1, to2);
    }
    explicit ZbRot(const ZbMat4<T>& m) noexcept { setValue(m); }

    constexpr void setValue(T x, T y, T z, T w) noexcept { *this = ZbRot(x, y, z, w); }
    constexpr void setValue(const T* values) noexcept { *this = ZbRot(values); }
    constexpr void getValue(T& x, T& y, T& z, T& w) const noexcept
    {
        x = m_values[0];
        y = m_values[1];
        z = m_values[2];
        w = m_values[3];
    }
    /// The four numbers, which live as long as the rotation.
    constexpr const T* getValue() const noexcept { return m_values; }
    /// i is in [0, 4).
    constexpr T& operator[](int i) noexcept { return m_values[i]; }
    constexpr const T& operator[](int i) const noexcept { return m_values[i]; }
    friend constexpr bool operator==(const ZbRot& a, const ZbRot& b) noexcept = default;

    /// The rotation about axis, which need not be of length 1. An axis of length 0 is used as it is.
    void setValue(const ZbVec3<T>& axis, T angle) noexcept;
    /// The axis, of length 1, and the angle. An angle so small that the axis is lost is 0, about (0, 0, 1).
    /// A w above 1, as products of tiny rotations may have by rounding, gives an angle that is not a number.
    void getValue(ZbVec3<T>& axis, T& angle) const noexcept;

    /// The shortest rotation that turns the direction from into the direction to. For opposite directions it is
    /// the half turn about from x (1, 0, 0) or, where from runs along x, about from x (0, 1, 0).
    void setValue(const ZbVec3<T>& from, const ZbVec3<T>& to) noexcept;
    /// The rotation that turns from1 into to1 and then, about to1, turns the image of from2 towards to2. All
    /// four are expected to be of length 1.
    void setValue(const ZbVec3<T>& from1, const ZbVec3<T>& from2, const ZbVec3<T>& to1,
                  const ZbVec3<T>& to2) noexcept;

    /// From the upper left 3 x 3 elements of a rotation's matrix; m[3][3], usually 1, enters too.
    void setValue(const ZbMat4<T>& m) noexcept;
    /// The matrix that rotates row vectors. The quaternion is used as it is, whatever its length.
    constexpr void getValue(ZbMat4<T>& m) const noexcept;
    constexpr void getValue(ZbMat3<T>& m) const noexcept;

    /// First a, then b. Not normalised.
    friend constexpr ZbRot operator*(const ZbRot& a, const ZbRot& b) noexcept { return product(a, b); }
    constexpr ZbRot& operator*=(const ZbRot& r) noexcept { return *this = *this * r; }

    /// (-x, -y, -z, w) / norm().
    constexpr ZbRot& invert() noexcept { return *this = inverse(); }
    constexpr ZbRot inverse() const noexcept
    {
        const T squares = norm();
        return {-m_values[0] / squares, -m_values[1] / squares, -m_values[2] / squares,
                m_values[3] / squares};
    }
    /// The squared length.
    constexpr T norm() const noexcept
    {
        return m_values[0] * m_values[0] + m_values[1] * m_values[1] + m_values[2] * m_values[2] +
               m_values[3] * m_values[3];
    }
    /// Makes the length 1; the reciprocal is formed in double. Zero becomes infinite or not a number.
    void normalize() noexcept
    {
        const T scale = T(1 / std::sqrt(double(norm())));
        for (T& value : m_values)
            value *= scale;
    }

    /// dst = src rotated; both may be the same object.
    constexpr void multVec(const ZbVec3<T>& src, ZbVec3<T>& dst) const noexcept
    {
        ZbMat3<T> m;
        setElements(m);
        m.multVecMatrix(src, dst);
    }

    /// The rotation about the same axis by factor times the angle.
    void scaleAngle(T factor) noexcept
    {
        ZbVec3<T> axis;
        T angle;
        getValue(axis, angle);
        setValue(axis, factor * angle);
    }

    /// The rotation at t of the way from r0 to r1, at constant angular speed along the shorter arc; along the
    /// chord where they nearly coincide. Not normalised.
    static ZbRot slerp(const ZbRot& r0, const ZbRot& r1, T t) noexcept;

private:
    constexpr void setElements(ZbMat3<T>& m) const noexcept;
    void storeElements(ZbMat3<T>& m) const noexcept;
    static constexpr ZbRot product(const ZbRot& first, const ZbRot& second) noexcept;

    T m_values[4];
};

// ---- mechanics

template <typename T>
void ZbRot<T>::setValue(const ZbVec3<T>& axis, T angle) noexcept
{
    ZbVec3<T> unit = axis;
    unit.normalize();
    const ZbVec3<T> part = unit * std::sin(angle / 2);
    setValue(part.x, part.y, part.z, std::cos(angle / 2));
}

template <typename T>
void ZbRot<T>::getValue(ZbVec3<T>& axis, T& angle) const noexcept
{
    const ZbVec3<T> part(m_values);
    const T length = part.length();
    if (length > 1e-5) {
        axis = part / length;
        angle = 2 * std::acos(m_values[3]);
    } else {
        axis = ZbVec3<T>(0, 0, 1);
        angle = 0;
    }
}

template <typename T>
void ZbRot<T>::setValue(const ZbVec3<T>& from, const ZbVec3<T>& to) noexcept
{
    ZbVec3<T> unitFrom = from, unitTo = to;
    unitFrom.normalize();
    unitTo.normalize();
    const T d = unitFrom.dot(unitTo);
    if (d > 0.99999) {
        setValue(0, 0, 0, 1);
    } else if (d < -0.99999) {
        ZbVec3<T> axis = unitFrom.cross(ZbVec3<T>(1, 0, 0));
        if (axis.length() < 1e-5)
            axis = unitFrom.cross(ZbVec3<T>(0, 1, 0));
        axis.normalize();
        setValue(axis.x, axis.y, axis.z, 0);
    } else {
        ZbVec3<T> axis = from.cross(to);
        axis.normalize();
        axis *= T(std::sqrt((1 - double(d)) / 2));
        setValue(axis.x, axis.y, axis.z, T(std::sqrt((1 + double(d)) / 2)));
    }
}

template <typename T>
void ZbRot<T>::setValue(const ZbVec3<T>& from1, const ZbVec3<T>& from2, const ZbVec3<T>& to1,
                        const ZbVec3<T>& to2) noexcept
{
    const ZbRot first(from1, to1);
    ZbVec3<T> image;
    first.multVec(from2, image);
    const T cosine = image.dot(to2);
    T angle = std::acos(cosine < -1 ? T(-1) : cosine > 1 ? T(1) : cosine);
    // A float's 2 pi, in double as well: callers compare with what they have.
    if (image.cross(to2).dot(to1) < 0)
        angle = T(6.2831855f) - angle;
    *this = first * ZbRot(to1, angle);
}

template <typename T>
void ZbRot<T>::setValue(const ZbMat4<T>& m) noexcept
{
    const T trace = m[0][0] + m[1][1] + m[2][2];
    const int i = m[0][0] > m[1][1] ? (m[0][0] > m[2][2] ? 0 : 2) : (m[1][1] > m[2][2] ? 1 : 2);
    if (trace > m[i][i]) {
        const T w = T(std::sqrt(double(trace + m[3][3])) / 2);
        const T w4 = 4 * w;
        setValue((m[1][2] - m[2][1]) / w4, (m[2][0] - m[0][2]) / w4, (m[0][1] - m[1][0]) / w4, w);
    } else {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        m_values[i] = T(std::sqrt(double(m[i][i] - m[j][j] - m[k][k] + m[3][3])) / 2);
        const T q4 = 4 * m_values[i];
        m_values[j] = (m[i][j] + m[j][i]) / q4;
        m_values[k] = (m[i][k] + m[k][i]) / q4;
        m_values[3] = (m[j][k] - m[k][j]) / q4;
    }
}

template <typename T>
constexpr void ZbRot<T>::setElements(ZbMat3<T>& m) const noexcept
{
    const auto& [x, y, z, w] = m_values;
    m.setValue(1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (z * x - y * w),  //
               2 * (x * y - z * w), 1 - 2 * (z * z + x * x), 2 * (y * z + x * w),  //
               2 * (z * x + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y));
}

template <typename T>
constexpr void ZbRot<T>::getValue(ZbMat3<T>& m) const noexcept
{
    if constexpr (std::is_same_v<T, float>) {
        if (!std::is_constant_evaluated())
            return storeElements(m);
    }
    setElements(m);
}

// The same products and sums, three elements at once, for matrices that go to memory.
template <typename T>
void ZbRot<T>::storeElements(ZbMat3<T>& m) const noexcept
{
    using Row [[gnu::vector_size(4 * sizeof(T))]] = T;
    Row q;
    std::memcpy(&q, m_values, sizeof q);
    const Row squares = q * q;
    const Row products = q * __builtin_shufflevector(q, q, 1, 2, 0, 0);  // xy, yz, zx
    const Row byW = __builtin_shufflevector(q, q, 2, 0, 1, 1) * __builtin_shufflevector(q, q, 3, 3, 3, 3);
    const Row diagonal = 1 - 2 * (__builtin_shufflevector(squares, squares, 1, 2, 0, 0) +
                                  __builtin_shufflevector(squares, squares, 2, 0, 1, 1));
    const Row plus = 2 * (products + byW), minus = 2 * (products - byW);  // m01 m12 m20, m10 m21 m02
    const Row a = __builtin_shufflevector(diagonal, plus, 0, 4, 1, 5);    // m00 m01 m11 m12
    const Row b = __builtin_shufflevector(plus, minus, 2, 2, 5, 5);       // m20 m20 m21 m21
    const Row first = __builtin_shufflevector(a, minus, 0, 1, 6, 4),
              second = __builtin_shufflevector(a, b, 2, 3, 4, 6);
    T* target = m[0];
    std::memcpy(target, &first, sizeof first);
    std::memcpy(target + 4, &second, sizeof second);
    target[8] = diagonal[2];
}

template <typename T>
constexpr void ZbRot<T>::getValue(ZbMat4<T>& m) const noexcept
{
    ZbMat3<T> block;
    getValue(block);
    m.setValue(block[0][0], block[0][1], block[0][2], 0,  //
               block[1][0], block[1][1], block[1][2], 0,  //
               block[2][0], block[2][1], block[2][2], 0,  //
               0, 0, 0, 1);
}

// The Hamilton product of second and first in this order, with eight multiplications in place of sixteen.
template <typename T>
constexpr ZbRot<T> ZbRot<T>::product(const ZbRot& first, const ZbRot& second) noexcept
{
    const auto& [x1, y1, z1, w1] = second.m_values;
    const auto& [x2, y2, z2, w2] = first.m_values;
    const T a = (w1 + x1) * (w2 + x2);
    const T b = (z1 - y1) * (y2 - z2);
    const T c = (w1 - x1) * (y2 + z2);
    const T d = (y1 + z1) * (w2 - x2);
    const T e = (x1 + z1) * (x2 + y2);
    const T f = (x1 - z1) * (x2 - y2);
    const T g = (w1 + y1) * (w2 - z2);
    const T h = (w1 - y1) * (w2 + z2);
    const T sumEF = e + f, sumGH = g + h, differenceEF = e - f, differenceGH = g - h;
    return {a - T(0.5) * (sumEF + sumGH), c + T(0.5) * (differenceEF + differenceGH),
            d + T(0.5) * (differenceEF - differenceGH), b + T(0.5) * (sumGH - sumEF)};
}

template <typename T>
ZbRot<T> ZbRot<T>::slerp(const ZbRot& r0, const ZbRot& r1, T t) noexcept
{
    T cosine = r0[0] * r1[0] + r0[1] * r1[1] + r0[2] * r1[2] + r0[3] * r1[3];
    const bool negate = cosine < 0;
    if (negate)
        cosine = -cosine;
    T a = 1 - t, b = t;
    if (1 - cosine > 1e-5) {
        const T angle = std::acos(cosine), sine = std::sin(angle);
        a = std::sin((1 - t) * angle) / sine;
        b = std::sin(t * angle) / sine;
    }
    if (negate)
        b = -b;
    return {a * r0[0] + b * r1[0], a * r0[1] + b * r1[1], a * r0[2] + b * r1[2], a * r0[3] + b * r1[3]};
}

using ZbRotf = ZbRot<float>;
using ZbRotd = ZbRot<double>;

static_assert(ZbDetail::isPacked<ZbRotf, float, 4> && ZbDetail::isPacked<ZbRotd, double, 4>);

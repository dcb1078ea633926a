#pragma once

#include <zblib/containers/ZbHash.h>

#if defined(ZBLIB_HAVE_INVENTOR) && ZBLIB_HAVE_INVENTOR
#include <Inventor/SbVec3i32.h>
#endif

/// Three ints: a voxel, the dimensions of a grid.
///
/// A plain value: its elements lie one after the other with nothing else in the object, so an array of
/// vectors is an array of ints. Products and sums must fit an int. Uninitialised where nothing is given.
class ZbVec3i
{
public:
    int x, y, z;

    ZbVec3i() noexcept = default;
    constexpr ZbVec3i(int xValue, int yValue, int zValue) noexcept : x(xValue), y(yValue), z(zValue) {}
    /// From 3 ints.
    explicit constexpr ZbVec3i(const int* values) noexcept : x(values[0]), y(values[1]), z(values[2]) {}

    constexpr void setValue(int xValue, int yValue, int zValue) noexcept
    {
        *this = ZbVec3i(xValue, yValue, zValue);
    }
    constexpr void setValue(const int* values) noexcept { *this = ZbVec3i(values); }
    /// Writes 3 ints.
    constexpr void getValue(int* values) const noexcept
    {
        values[0] = x;
        values[1] = y;
        values[2] = z;
    }

    /// i is in [0, 3).
    constexpr int& operator[](int i) noexcept { return i == 0 ? x : i == 1 ? y : z; }
    constexpr const int& operator[](int i) const noexcept { return i == 0 ? x : i == 1 ? y : z; }

    constexpr ZbVec3i& operator+=(const ZbVec3i& v) noexcept { return *this = *this + v; }
    constexpr ZbVec3i& operator-=(const ZbVec3i& v) noexcept { return *this = *this - v; }
    constexpr ZbVec3i& operator*=(int s) noexcept { return *this = *this * s; }
    constexpr ZbVec3i& operator/=(int s) noexcept { return *this = *this / s; }

    friend constexpr ZbVec3i operator-(const ZbVec3i& a) noexcept { return {-a.x, -a.y, -a.z}; }
    friend constexpr ZbVec3i operator+(const ZbVec3i& a, const ZbVec3i& b) noexcept
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend constexpr ZbVec3i operator-(const ZbVec3i& a, const ZbVec3i& b) noexcept
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    friend constexpr ZbVec3i operator*(const ZbVec3i& a, int s) noexcept
    {
        return {a.x * s, a.y * s, a.z * s};
    }
    friend constexpr ZbVec3i operator/(const ZbVec3i& a, int s) noexcept
    {
        return {a.x / s, a.y / s, a.z / s};
    }
    friend constexpr ZbVec3i operator*(int s, const ZbVec3i& a) noexcept { return a * s; }
    friend constexpr bool operator==(const ZbVec3i& a, const ZbVec3i& b) noexcept = default;

    constexpr int dot(const ZbVec3i& v) const noexcept { return x * v.x + y * v.y + z * v.z; }
    /// The products and quotients of the elements.
    constexpr ZbVec3i compprod(const ZbVec3i& v) const noexcept { return {x * v.x, y * v.y, z * v.z}; }
    constexpr ZbVec3i compquot(const ZbVec3i& v) const noexcept { return {x / v.x, y / v.y, z / v.z}; }

    /// -1, 0 or 1 as a lies before b, at b or behind it, by x, then y, then z.
    static constexpr int compareXcoord(const ZbVec3i& a, const ZbVec3i& b) noexcept
    {
        for (int i = 0; i < 3; ++i) {
            if (a[i] != b[i])
                return a[i] < b[i] ? -1 : 1;
        }
        return 0;
    }

#if defined(ZBLIB_HAVE_INVENTOR) && ZBLIB_HAVE_INVENTOR
    /// To and from the scene graph.
    ZbVec3i(const SbVec3i32& v) noexcept : x(v[0]), y(v[1]), z(v[2]) {}
    operator SbVec3i32() const noexcept
    {
        return SbVec3i32(x, y, z);
    }
#endif
};

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

#pragma once

#include <zblib/containers/ZbHash.h>

/// Four ints, such as a voxel and a time step.
///
/// A plain value: its elements lie one after the other with nothing else in the object, so an array of
/// vectors is an array of ints. Products and sums must fit an int. Uninitialised where nothing is given.
class ZbVec4i
{
public:
    int x, y, z, w;

    ZbVec4i() noexcept = default;
    constexpr ZbVec4i(int xValue, int yValue, int zValue, int wValue) noexcept
        : x(xValue), y(yValue), z(zValue), w(wValue)
    {
    }
    /// From 4 ints.
    explicit constexpr ZbVec4i(const int* values) noexcept
        : x(values[0]), y(values[1]), z(values[2]), w(values[3])
    {
    }

    constexpr void setValue(int xValue, int yValue, int zValue, int wValue) noexcept
    {
        *this = ZbVec4i(xValue, yValue, zValue, wValue);
    }
    constexpr void setValue(const int* values) noexcept { *this = ZbVec4i(values); }
    /// Writes 4 ints.
    constexpr void getValue(int* values) const noexcept
    {
        values[0] = x;
        values[1] = y;
        values[2] = z;
        values[3] = w;
    }

    /// i is in [0, 4).
    constexpr int& operator[](int i) noexcept { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }
    constexpr const int& operator[](int i) const noexcept { return i == 0 ? x : i == 1 ? y : i == 2 ? z : w; }

    constexpr ZbVec4i& operator+=(const ZbVec4i& v) noexcept { return *this = *this + v; }
    constexpr ZbVec4i& operator-=(const ZbVec4i& v) noexcept { return *this = *this - v; }
    constexpr ZbVec4i& operator*=(int s) noexcept { return *this = *this * s; }
    constexpr ZbVec4i& operator/=(int s) noexcept { return *this = *this / s; }

    friend constexpr ZbVec4i operator-(const ZbVec4i& a) noexcept { return {-a.x, -a.y, -a.z, -a.w}; }
    friend constexpr ZbVec4i operator+(const ZbVec4i& a, const ZbVec4i& b) noexcept
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w};
    }
    friend constexpr ZbVec4i operator-(const ZbVec4i& a, const ZbVec4i& b) noexcept
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w};
    }
    friend constexpr ZbVec4i operator*(const ZbVec4i& a, int s) noexcept
    {
        return {a.x * s, a.y * s, a.z * s, a.w * s};
    }
    friend constexpr ZbVec4i operator/(const ZbVec4i& a, int s) noexcept
    {
        return {a.x / s, a.y / s, a.z / s, a.w / s};
    }
    friend constexpr ZbVec4i operator*(int s, const ZbVec4i& a) noexcept { return a * s; }
    friend constexpr bool operator==(const ZbVec4i& a, const ZbVec4i& b) noexcept = default;

    constexpr int dot(const ZbVec4i& v) const noexcept { return x * v.x + y * v.y + z * v.z + w * v.w; }
    /// The products and quotients of the elements.
    constexpr ZbVec4i compprod(const ZbVec4i& v) const noexcept
    {
        return {x * v.x, y * v.y, z * v.z, w * v.w};
    }
    constexpr ZbVec4i compquot(const ZbVec4i& v) const noexcept
    {
        return {x / v.x, y / v.y, z / v.z, w / v.w};
    }
};

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

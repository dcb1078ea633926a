#pragma once

#include <zblib/containers/ZbHash.h>

/// A pair of ints: a pixel, the size of an image.
///
/// A plain value: its elements lie one after the other with nothing else in the object, so an array of
/// vectors is an array of ints. Products and sums must fit an int. Uninitialised where nothing is given.
class ZbVec2i
{
public:
    int x, y;

    ZbVec2i() noexcept = default;
    constexpr ZbVec2i(int xValue, int yValue) noexcept : x(xValue), y(yValue) {}
    /// From 2 ints.
    explicit constexpr ZbVec2i(const int* values) noexcept : x(values[0]), y(values[1]) {}

    constexpr void setValue(int xValue, int yValue) noexcept { *this = ZbVec2i(xValue, yValue); }
    constexpr void setValue(const int* values) noexcept { *this = ZbVec2i(values); }
    /// Writes 2 ints.
    constexpr void getValue(int* values) const noexcept
    {
        values[0] = x;
        values[1] = y;
    }

    /// i is in [0, 2).
    constexpr int& operator[](int i) noexcept { return i == 0 ? x : y; }
    constexpr const int& operator[](int i) const noexcept { return i == 0 ? x : y; }

    constexpr ZbVec2i& operator+=(const ZbVec2i& v) noexcept { return *this = *this + v; }
    constexpr ZbVec2i& operator-=(const ZbVec2i& v) noexcept { return *this = *this - v; }
    constexpr ZbVec2i& operator*=(int s) noexcept { return *this = *this * s; }
    constexpr ZbVec2i& operator/=(int s) noexcept { return *this = *this / s; }

    friend constexpr ZbVec2i operator-(const ZbVec2i& a) noexcept { return {-a.x, -a.y}; }
    friend constexpr ZbVec2i operator+(const ZbVec2i& a, const ZbVec2i& b) noexcept
    {
        return {a.x + b.x, a.y + b.y};
    }
    friend constexpr ZbVec2i operator-(const ZbVec2i& a, const ZbVec2i& b) noexcept
    {
        return {a.x - b.x, a.y - b.y};
    }
    friend constexpr ZbVec2i operator*(const ZbVec2i& a, int s) noexcept { return {a.x * s, a.y * s}; }
    friend constexpr ZbVec2i operator/(const ZbVec2i& a, int s) noexcept { return {a.x / s, a.y / s}; }
    friend constexpr ZbVec2i operator*(int s, const ZbVec2i& a) noexcept { return a * s; }
    friend constexpr bool operator==(const ZbVec2i& a, const ZbVec2i& b) noexcept = default;

    constexpr int dot(const ZbVec2i& v) const noexcept { return x * v.x + y * v.y; }
    /// The products and quotients of the elements.
    constexpr ZbVec2i compprod(const ZbVec2i& v) const noexcept { return {x * v.x, y * v.y}; }
    constexpr ZbVec2i compquot(const ZbVec2i& v) const noexcept { return {x / v.x, y / v.y}; }
};

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

#pragma once

#include <zblib/math/ZbMath.h>

#include <cmath>
#include <complex>
#include <concepts>
#include <limits>
#include <numbers>
#include <utility>

/// Eigenvalues and eigenvectors of any real 3 x 3 matrix in closed form.
///
/// Function templates over float and double, and over the complex numbers of each where a vector belongs to a
/// complex eigenvalue. A vector v to the value l solves M v = l v, v as a column. ZbMat3::solveEigenSystem is
/// the form for ZbMat3. For symmetric matrices ZbMat3::jacobi is slower, and accurate where eigenvalues lie close
/// together, while this loses up to half of the digits there. Nothing throws, allocates or checks: what cannot
/// be divided becomes infinite or not a number. Thread-safe. Cardano's formula in its trigonometric form and
/// Gaussian elimination with complete pivoting; see any algebra textbook.
namespace ZbMat3_EigenAnalysis
{

template <typename T>
constexpr T sqr(T x) noexcept
{
    return x * x;
}

template <typename T>
constexpr T cube(T x) noexcept
{
    return x * x * x;
}

/// The squared magnitude.
template <std::floating_point T>
constexpr T val2(T x) noexcept
{
    return x * x;
}

template <std::floating_point T>
constexpr T val2(const std::complex<T>& x) noexcept
{
    return x.real() * x.real() + x.imag() * x.imag();
}

/// The characteristic polynomial l^3 + a l^2 + b l + c of m.
template <typename T>
constexpr void charPolynom3(const T (&m)[3][3], T& a, T& b, T& c) noexcept
{
    const T minor0 = m[1][1] * m[2][2] - m[1][2] * m[2][1];
    const T minor1 = m[0][0] * m[2][2] - m[0][2] * m[2][0];
    const T minor2 = m[0][0] * m[1][1] - m[0][1] * m[1][0];
    a = -(m[0][0] + m[1][1] + m[2][2]);
    b = minor0 + minor1 + minor2;
    c = -(m[0][0] * minor0 - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
          m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]));
}

/// The roots of x^3 + a x^2 + b x + c.
///
/// Returns 3 where all are real, or 1 where r1 is and the others are r2 + i r3 and r2 - i r3. Three distinct ones
/// are descending. Whether roots coincide is decided by comparing with the machine epsilon as it is, whatever the
/// size of the coefficients: scale them to the order of 1 where that matters.
template <std::floating_point T>
int solveCubic(T a, T b, T c, T& r1, T& r2, T& r3) noexcept
{
    constexpr T epsilon = std::numeric_limits<T>::epsilon();
    const T shift = a / 3;
    const T p = b - a * a / 3;
    const T q = 2 * cube(a) / 27 - a * b / 3 + c;
    const T discriminant = sqr(q / 2) + cube(p / 3);
    if (std::fabs(discriminant) < epsilon) {
        if (std::fabs(p) >= epsilon) {
            r1 = 3 * q / p - shift;
            r2 = r3 = -3 * q / (2 * p) - shift;
        } else {
            r1 = r2 = r3 = -shift;
        }
        return 3;
    }
    if (discriminant > 0) {
        const T root = std::sqrt(discriminant);
        const T u = ZbCbrt(-q / 2 + root);
        const T v = ZbCbrt(-q / 2 - root);
        r1 = u + v - shift;
        r2 = -(u + v) / 2 - shift;
        r3 = std::numbers::sqrt3_v<T> / 2 * (u - v);
        return 1;
    }
    const T k = std::sqrt(-3 / p);
    const T x = cube(k) * (-q / 2);
    // Only the upper end is clamped, as always: x below -1 by rounding gives no numbers.
    const T phi = x >= 1 ? T(0) : std::acos(x) / 3;
    const T r = std::sqrt(-4 * p / 3);
    constexpr T third = std::numbers::pi_v<T> / 3;
    r1 = r * std::cos(phi) - shift;
    r2 = -r * std::cos(phi + third) - shift;
    r3 = -r * std::cos(phi - third) - shift;
    return 3;
}

/// Row and column of the first largest element, by val2, of the lower right part of m that begins at (k, k).
template <typename T>
constexpr std::pair<int, int> maxElement(const T (&m)[3][3], int k) noexcept
{
    int row = k, column = k;
    auto largest = val2(m[k][k]);
    for (int i = k; i < 3; ++i) {
        for (int j = k; j < 3; ++j) {
            const auto size = val2(m[i][j]);
            row = size > largest ? i : row;
            column = size > largest ? j : column;
            largest = size > largest ? size : largest;
        }
    }
    return {row, column};
}

template <typename T>
constexpr void swapRows(T (&m)[3][3], int i, int j) noexcept
{
    for (int k = 0; k < 3; ++k)
        std::swap(m[i][k], m[j][k]);
}

template <typename T>
constexpr void swapColumns(T (&m)[3][3], int i, int j) noexcept
{
    for (int k = 0; k < 3; ++k)
        std::swap(m[k][i], m[k][j]);
}

/// A vector v that belongs to the eigenvalue lambda of m. One of its elements is 1; it is not normalised.
///
/// Of a real matrix lambda and v may be complex; of a complex one they are.
/// Infinite or not a number where m - lambda has a rank below 2, such as for a multiple of the unit matrix.
template <typename T, typename Value>
constexpr void computeEV(const T (&m)[3][3], const Value& lambda, Value (&v)[3]) noexcept
{
    Value a[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            a[i][j] = m[i][j];
        a[i][i] -= lambda;
    }
    // What the exchanges of rows and columns bring where: rows and columns themselves stay.
    const auto [pivotRow, pivotColumn] = maxElement(a, 0);
    const int rows[3] = {pivotRow, pivotRow == 1 ? 0 : 1, pivotRow == 2 ? 0 : 2};
    const int columns[3] = {pivotColumn, pivotColumn == 1 ? 0 : 1, pivotColumn == 2 ? 0 : 2};
    const Value* top = a[pivotRow];
    const Value pivot = top[pivotColumn];
    Value rest[2][2];
    for (int i = 0; i < 2; ++i) {
        const Value* row = a[rows[i + 1]];
        const Value factor = row[pivotColumn] / pivot;
        for (int j = 0; j < 2; ++j)
            rest[i][j] = row[columns[j + 1]] - factor * top[columns[j + 1]];
    }
    int largest = 0;
    for (int i = 1; i < 4; ++i)
        largest = val2(rest[i / 2][i % 2]) > val2(rest[largest / 2][largest % 2]) ? i : largest;
    const Value* row = rest[largest / 2];
    const int j = largest % 2, column1 = columns[1 + j], column2 = columns[2 - j];
    const Value second = -row[1 - j] / row[j];
    v[column2] = 1;
    v[column1] = second;
    v[pivotColumn] = -(top[column1] * second + top[column2]) / pivot;
}

/// All eigenvalues and eigenvectors of m, in the order of solveCubic, unsorted and not normalised.
///
/// Returns the number of real eigenvalues: 3, or 1 where only l1 and v1 are real; then l2 + i l3 and v2 + i v3
/// are an eigenvalue and its vector, and the last ones are conjugate to them.
template <std::floating_point T>
int compEigen3x3(const T (&m)[3][3], T& l1, T& l2, T& l3, T (&v1)[3], T (&v2)[3], T (&v3)[3]) noexcept
{
    T a, b, c;
    charPolynom3(m, a, b, c);
    const int realCount = solveCubic(a, b, c, l1, l2, l3);
    computeEV(m, l1, v1);
    if (realCount == 3) {
        computeEV(m, l2, v2);
        computeEV(m, l3, v3);
    } else {
        std::complex<T> v[3];
        computeEV(m, std::complex<T>(l2, l3), v);
        for (int i = 0; i < 3; ++i) {
            v2[i] = v[i].real();
            v3[i] = v[i].imag();
        }
    }
    return realCount;
}

}  // namespace ZbMat3_EigenAnalysis

#pragma once

#include <cstring>
#include <type_traits>

/// What the square matrices ZbMat2, ZbMat3 and ZbMat4 have in common: the elements, row after row, and the
/// arithmetic that does not depend on the size. Not a class to use by itself.
///
/// The matrices are plain values over float or double, uninitialised where no value is given. Sums of products
/// are formed in the element type, from the first product to the last. Vectors are rows that are multiplied from
/// the left: the product A * B transforms by A first and then by B. The source and the target of an operation
/// may be the same object. Nothing throws or allocates. Thread-safe as floats are.
///
/// Most is inline: a program that is compiled for machines with fused multiply-add needs -ffp-contract=off to get the
/// same bits as the library, and as on other machines.
template <typename Mat, typename T, int N>
class ZbMatBase
{
    static_assert(std::is_floating_point_v<T>);

public:
    /// Row i, in [0, N).
    constexpr T* operator[](int i) noexcept { return m_rows[i]; }
    constexpr const T* operator[](int i) const noexcept { return m_rows[i]; }

    constexpr void setValue(const T (*values)[N]) noexcept
    {
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j)
                m_rows[i][j] = values[i][j];
        }
    }
    constexpr void getValue(T (*values)[N]) const noexcept
    {
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j)
                values[i][j] = m_rows[i][j];
        }
    }

    friend constexpr Mat operator-(const Mat& a) noexcept
    {
        return a.map([](T value) { return -value; });
    }
    friend constexpr Mat operator+(const Mat& a, const Mat& b) noexcept
    {
        return a.map(b, [](T left, T right) { return left + right; });
    }
    friend constexpr Mat operator-(const Mat& a, const Mat& b) noexcept
    {
        return a.map(b, [](T left, T right) { return left - right; });
    }
    friend constexpr Mat operator*(const Mat& a, T s) noexcept
    {
        return a.map([s](T value) { return value * s; });
    }
    friend constexpr Mat operator*(T s, const Mat& a) noexcept { return a * s; }
    friend constexpr Mat operator/(const Mat& a, T s) noexcept
    {
        return a.map([s](T value) { return value / s; });
    }
    friend constexpr bool operator==(const Mat& a, const Mat& b) noexcept
    {
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j) {
                if (a[i][j] != b[i][j])
                    return false;
            }
        }
        return true;
    }

    /// The matrix product.
    friend constexpr Mat operator*(const Mat& a, const Mat& b) noexcept { return product(a, b); }

    constexpr Mat& operator+=(const Mat& a) noexcept { return self() = self() + a; }
    constexpr Mat& operator-=(const Mat& a) noexcept { return self() = self() - a; }
    constexpr Mat& operator*=(T s) noexcept { return self() = self() * s; }
    constexpr Mat& operator/=(T s) noexcept { return self() = self() / s; }
    /// this = this * a.
    constexpr Mat& operator*=(const Mat& a) noexcept { return self() = self() * a; }

    constexpr Mat transpose() const noexcept
    {
        Mat result;
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j)
                result[i][j] = m_rows[j][i];
        }
        return result;
    }

    /// The sum of the diagonal.
    constexpr T trace() const noexcept
    {
        T sum = m_rows[0][0];
        for (int i = 1; i < N; ++i)
            sum += m_rows[i][i];
        return sum;
    }

protected:
    ZbMatBase() noexcept = default;

    template <typename Function>
    constexpr Mat map(Function function) const noexcept
    {
        Mat result;
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j)
                result[i][j] = function(m_rows[i][j]);
        }
        return result;
    }
    template <typename Function>
    constexpr Mat map(const Mat& other, Function function) const noexcept
    {
        Mat result;
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j)
                result[i][j] = function(m_rows[i][j], other[i][j]);
        }
        return result;
    }

    // Both vectors are read before target is written: it may be source.
    template <typename Vec>
    constexpr void multRow(const Vec& source, Vec& target) const noexcept
    {
        const Vec row = source;
        for (int j = 0; j < N; ++j) {
            T sum = row[0] * m_rows[0][j];
            for (int i = 1; i < N; ++i)
                sum += row[i] * m_rows[i][j];
            target[j] = sum;
        }
    }
    template <typename Vec>
    constexpr void multColumn(const Vec& source, Vec& target) const noexcept
    {
        const Vec column = source;
        for (int i = 0; i < N; ++i) {
            T sum = m_rows[i][0] * column[0];
            for (int j = 1; j < N; ++j)
                sum += m_rows[i][j] * column[j];
            target[i] = sum;
        }
    }

    T m_rows[N][N];

private:
    constexpr Mat& self() noexcept { return static_cast<Mat&>(*this); }
    constexpr const Mat& self() const noexcept { return static_cast<const Mat&>(*this); }

    static constexpr Mat product(const Mat& a, const Mat& b) noexcept
    {
        if constexpr (N == 4) {
            if (!std::is_constant_evaluated())
                return productOfRows(a, b);
        }
        Mat result;
        for (int i = 0; i < N; ++i) {
            for (int j = 0; j < N; ++j) {
                T sum = a[i][0] * b[0][j];
                for (int k = 1; k < N; ++k)
                    sum += a[i][k] * b[k][j];
                result[i][j] = sum;
            }
        }
        return result;
    }

    // The same products and sums, four elements of a row at once.
    static Mat productOfRows(const Mat& a, const Mat& b) noexcept requires(N == 4)
    {
        using Row [[gnu::vector_size(N * sizeof(T))]] = T;
        // One by one: the compiler keeps an array that is filled at once on the stack as well.
        Row b0, b1, b2, b3;
        std::memcpy(&b0, b[0], sizeof b0);
        std::memcpy(&b1, b[1], sizeof b1);
        std::memcpy(&b2, b[2], sizeof b2);
        std::memcpy(&b3, b[3], sizeof b3);
        Mat result;
        for (int i = 0; i < N; ++i) {
            const Row sum = a[i][0] * b0 + a[i][1] * b1 + a[i][2] * b2 + a[i][3] * b3;
            std::memcpy(result[i], &sum, sizeof sum);
        }
        return result;
    }
};

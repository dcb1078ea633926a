#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <type_traits>

/// The element type, and the number of rows, of a small matrix.
template <typename Mat>
using MatElement = std::remove_reference_t<decltype(Mat()[0][0])>;
template <typename Mat>
inline constexpr int matSize = sizeof(Mat) == 4 * sizeof(MatElement<Mat>)   ? 2
                               : sizeof(Mat) == 9 * sizeof(MatElement<Mat>) ? 3
                                                                            : 4;

/// Random numbers, vectors and matrices for tests, the same ones at every run.
class RandomNumbers
{
public:
    explicit RandomNumbers(unsigned seed) : m_generator(seed) {}

    double operator()(double low = -1, double high = 1)
    {
        return std::uniform_real_distribution<double>(low, high)(m_generator);
    }
    template <typename Vec>
    Vec vector(double low = -1, double high = 1)
    {
        using T = std::remove_reference_t<decltype(Vec()[0])>;
        Vec v;
        for (int i = 0; i < int(sizeof(Vec) / sizeof(T)); ++i)
            v[i] = T((*this)(low, high));
        return v;
    }
    template <typename Mat>
    Mat matrix()
    {
        Mat m;
        for (int i = 0; i < matSize<Mat>; ++i)
            std::generate(m[i], m[i] + matSize<Mat>, [this] { return MatElement<Mat>((*this)()); });
        return m;
    }

private:
    std::mt19937 m_generator;
};

/// Of the elements in the rows [first, end), which are all rows by default.
template <typename Mat>
double largestDifference(const Mat& a, const Mat& b, int first = 0, int end = matSize<Mat>)
{
    double largest = 0;
    for (int i = first; i < end; ++i) {
        for (int j = 0; j < matSize<Mat>; ++j)
            largest = std::max(largest, std::fabs(double(a[i][j]) - double(b[i][j])));
    }
    return largest;
}

#include <zblib/math/ZbBandMatrix.h>
#include <zblib/math/ZbDMatrix.h>

#include <zblib/foundation/ZbProgressInterface.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

template class ZbDVector<float>;

namespace
{

template <typename T>
ZbDMatrix<T> randomMatrix(int n, int m, unsigned int seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<T> element(-1, 1);
    ZbDMatrix<T> result(n, m);
    std::generate(result.row(0), result.row(0) + long(n) * m, [&] { return element(generator); });
    return result;
}

template <typename T>
std::vector<T*> rowsOf(ZbDMatrix<T>& m)
{
    std::vector<T*> rows;
    for (int i = 0; i < m.numRows(); ++i)
        rows.push_back(m.row(i));
    return rows;
}

// The factors by the textbook's loops. Returns the column without a pivot, or -1.
template <typename T>
int factorPlain(ZbDMatrix<T>& a, T& det)
{
    const int n = a.numRows();
    det = 1;
    for (int k = 0; k < n; ++k) {
        int pivot = k;
        for (int i = k; i < n; ++i) {
            if (std::fabs(a(i, k)) >= std::fabs(a(pivot, k)))
                pivot = i;
        }
        if (pivot != k) {
            std::swap_ranges(a.row(k), a.row(k) + n, a.row(pivot));
            det = -det;
        }
        det *= a(k, k);
        if (a(k, k) == 0)
            return k;
        const T reciprocal = 1 / a(k, k);
        for (int i = k + 1; i < n; ++i) {
            a(i, k) *= reciprocal;
            for (int j = k + 1; j < n; ++j)
                a(i, j) -= a(i, k) * a(k, j);
        }
    }
    return -1;
}

class Recorder : public ZbProgressInterface
{
public:
    void setProgressValueGlobal(float value) override { values.push_back(value); }
    bool wasInterrupted(bool) override { return ++questions > allowed; }

    std::vector<float> values;
    int questions = 0;
    int allowed = 1000;
};

template <typename T>
class ZbDMatrixTest : public testing::Test
{
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbDMatrixTest, Reals);

}  // namespace

TYPED_TEST(ZbDMatrixTest, ownsAndCopiesItsElements)
{
    ZbDMatrix<TypeParam> m(2, 3);
    EXPECT_EQ(m(1, 2), 0);
    m(0, 2) = 5;
    m(1, 0) = 7;
    EXPECT_EQ(m.row(0)[3], 7);
    ZbDMatrix<TypeParam> copy = m;
    EXPECT_EQ(copy, m);
    copy(0, 0) = 1;
    EXPECT_NE(copy, m);
    EXPECT_EQ(m.transpose()(2, 0), 5);
    const ZbDMatrix<TypeParam> moved = std::move(copy);
    EXPECT_EQ(moved(0, 0), 1);
    m = moved;
    EXPECT_EQ(m(0, 0), 1);
    EXPECT_EQ(ZbDMatrix<TypeParam>(-3, 4).numRows(), 0);
}

TYPED_TEST(ZbDMatrixTest, factorsAreThoseOfThePlainLoops)
{
    for (const int n : {1, 2, 5, 15, 16, 17, 31, 33, 48, 100, 290, 560}) {
        SCOPED_TRACE(n);
        auto m = randomMatrix<TypeParam>(n, n, unsigned(n));
        if (n > 2) {
            for (int j = 0; j < n; ++j)
                m(1, j) = std::round(m(1, j));  // ties of pivots, elements of 0
        }
        auto expected = m;
        TypeParam expectedDet;
        ASSERT_EQ(factorPlain(expected, expectedDet), -1);
        ZbDMatrix<TypeParam> factors(n, n);
        TypeParam det = 0;
        EXPECT_EQ(m.solveLRdecomp(rowsOf(factors).data(), nullptr, 0, det), 0);
        EXPECT_EQ(factors, expected);
        EXPECT_EQ(det, expectedDet);
    }
}

TYPED_TEST(ZbDMatrixTest, solvesForSeveralRightSides)
{
    for (const int n : {1, 3, 20, 130}) {
        SCOPED_TRACE(n);
        const auto m = randomMatrix<TypeParam>(n, n, unsigned(n) + 7);
        ZbDMatrix<TypeParam> factors(n, n), sides = randomMatrix<TypeParam>(3, n, 9);
        std::fill(sides.row(1), sides.row(1) + n, TypeParam(0));
        const auto b = sides;
        TypeParam det;
        testing::internal::CaptureStdout();
        EXPECT_EQ(m.solveLRdecomp(rowsOf(factors).data(), rowsOf(sides).data(), 3, det), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        for (int side = 0; side < 3; ++side) {
            double squares = 0, size = 0;
            for (int i = 0; i < n; ++i) {
                double rest = b(side, i);
                for (int j = 0; j < n; ++j)
                    rest -= double(m(i, j)) * sides(side, j);
                squares += rest * rest;
                size += double(b(side, i)) * b(side, i);
            }
            EXPECT_LE(squares, 1e-10 * size);
        }
    }
}

TYPED_TEST(ZbDMatrixTest, solvesForAnySizeOfRightSide)
{
    using Limits = std::numeric_limits<TypeParam>;
    const auto m = randomMatrix<TypeParam>(20, 20, 5), b = randomMatrix<TypeParam>(1, 20, 6);
    const auto solved = [&](TypeParam scale) {
        ZbDMatrix<TypeParam> factors(20, 20), side = b;
        std::for_each(side.row(0), side.row(0) + 20, [scale](TypeParam& value) { value *= scale; });
        TypeParam det;
        EXPECT_EQ(m.solveLRdecomp(rowsOf(factors).data(), rowsOf(side).data(), 1, det), 0);
        return side;
    };
    const ZbDMatrix<TypeParam> x = solved(1);
    // Squares of these are beyond a double, or 0.
    for (const TypeParam scale : {std::ldexp(TypeParam(1), Limits::max_exponent - 20),
                                  std::ldexp(TypeParam(1), Limits::min_exponent + 60)}) {
        const auto scaled = solved(scale);
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(scaled(0, i) / scale, x(0, i)) << scale;
    }
    for (const TypeParam bad : {Limits::quiet_NaN(), Limits::infinity()})
        EXPECT_TRUE(std::isnan(solved(bad)(0, 0)));
}

TYPED_TEST(ZbDMatrixTest, solvingFails)
{
    const auto solve = [](const ZbDMatrix<TypeParam>& m, ZbProgressInterface* progress = nullptr) {
        ZbDMatrix<TypeParam> factors(m.numRows(), m.numCols()), side(1, m.numRows());
        side(0, 0) = 77;
        TypeParam det = 5;
        testing::internal::CaptureStderr();
        EXPECT_EQ(m.solveLRdecomp(rowsOf(factors).data(), rowsOf(side).data(), 1, det, progress), 1);
        EXPECT_EQ(side(0, 0), 77);
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(solve(ZbDMatrix<TypeParam>(2, 3)), "ZbDMatrix::solveLRdecomp: must be a square matrix.\n");
    ZbDMatrix<TypeParam> m = randomMatrix<TypeParam>(50, 50, 3);
    for (int i = 0; i < 50; ++i)
        m(i, 30) = 0;
    EXPECT_EQ(solve(m), "ZbDMatrix::solveLRdecomp: Singular Matrix-2\ni, n: 30 50\n");
    m = randomMatrix<TypeParam>(50, 50, 3);
    Recorder progress;
    progress.allowed = 2;
    EXPECT_EQ(solve(m, &progress), "");
    EXPECT_EQ(progress.values, (std::vector<float>{1 / 50.f, 21 / 50.f, 41 / 50.f}));
}

TEST(ZbDMatrixTest, warnsOfLargeResiduals)
{
    // The solution is so large that the residual cannot be small.
    constexpr int n = 10;
    ZbDMatrix<float> m(n, n), factors(n, n), side(1, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            m(i, j) = 1 / float(i + j + 1);
        side(0, i) = i % 2 == 0 ? 1.f : -1.f;
    }
    float det;
    testing::internal::CaptureStdout();
    EXPECT_EQ(m.solveLRdecomp(rowsOf(factors).data(), rowsOf(side).data(), 1, det), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("Warning: norm(residuum) / norm(rhs) = ", 0), 0u);
}

TYPED_TEST(ZbDMatrixTest, singularValues)
{
    const struct {
        int n, m, rank;
    } cases[] = {{0, 0, 0},    {1, 1, 1},    {5, 5, 5}, {7, 3, 3},   {3, 7, 3},  {40, 40, 40},
                 {60, 20, 20}, {20, 61, 20}, {9, 9, 0}, {12, 12, 4}, {15, 6, 1}, {0, 4, 0}};
    for (const auto& [n, m, rank] : cases) {
        SCOPED_TRACE(testing::Message() << n << " x " << m << ", rank " << rank);
        auto matrix = randomMatrix<TypeParam>(n, m, unsigned(100 * n + m));
        for (int i = rank; i < n; ++i) {  // the other rows are sums of the first
            for (int j = 0; j < m; ++j) {
                matrix(i, j) = 0;
                for (int k = 0; k < rank && rank < std::min(n, m); ++k)
                    matrix(i, j) += matrix(k, j) * TypeParam((i + k) % 3);
            }
        }
        if (rank == std::min(n, m))
            matrix = randomMatrix<TypeParam>(n, m, unsigned(100 * n + m));
        ZbDMatrix<TypeParam> u, v;
        ZbDVector<TypeParam> w;
        ASSERT_EQ(matrix.SVD(u, w, v), 1);
        const int k = std::min(n, m);
        ASSERT_EQ(u.numRows(), n);
        ASSERT_EQ(u.numCols(), k);
        ASSERT_EQ(v.numRows(), m);
        ASSERT_EQ(v.numCols(), k);
        ASSERT_EQ(w.size(), k);
        const double tolerance = 20 * std::numeric_limits<TypeParam>::epsilon() * std::sqrt(double(n + m));
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < m; ++j) {
                double sum = 0;
                for (int l = 0; l < k; ++l)
                    sum += double(u(i, l)) * w[l] * v(j, l);
                EXPECT_NEAR(sum, matrix(i, j), tolerance * 10);
            }
        }
        for (const auto* vectors : {&u, &v}) {
            for (int i = 0; i < k; ++i) {
                for (int j = 0; j < k; ++j) {
                    double sum = 0;
                    for (int l = 0; l < vectors->numRows(); ++l)
                        sum += double((*vectors)(l, i)) * (*vectors)(l, j);
                    if (i == j && std::fabs(sum) < 0.5)
                        EXPECT_LE(w[i], tolerance);  // none is needed
                    else
                        EXPECT_NEAR(sum, i == j, tolerance);
                }
            }
        }
        long large = 0;
        for (const TypeParam value : w) {
            EXPECT_GE(value, 0);
            large += value > tolerance * 10;
        }
        EXPECT_EQ(large, rank);
    }
}

// Rows and columns of very different size: nothing may be divided by what vanishes beside the rest.
TYPED_TEST(ZbDMatrixTest, singularValuesOfGradedMatrices)
{
    ZbDMatrix<TypeParam> u, v;
    ZbDVector<TypeParam> w;
    for (int round = 0; round < 200; ++round) {
        const int n = 2 + round % 7, m = 2 + round / 7 % 7, k = std::min(n, m);
        auto matrix = randomMatrix<TypeParam>(n, m, unsigned(round));
        double largest = 0;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < m; ++j) {
                const int rowGrade = round % 3 == 1 ? i : -i, columnGrade = round % 4 < 2 ? j : -j;
                matrix(i, j) *=
                    std::pow(TypeParam(10), TypeParam((rowGrade + columnGrade) * (1 + round % 3)));
                if (round % 2 == 0 && i != j)
                    matrix(i, j) = 0;
                largest = std::max(largest, std::fabs(double(matrix(i, j))));
            }
        }
        SCOPED_TRACE(testing::Message() << "round " << round << ", " << n << " x " << m);
        ASSERT_EQ(matrix.SVD(u, w, v), 1);
        const double tolerance = 30 * std::numeric_limits<TypeParam>::epsilon();
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < m; ++j) {
                double sum = 0;
                for (int l = 0; l < k; ++l)
                    sum += double(u(i, l)) * w[l] * v(j, l);
                EXPECT_NEAR(sum, matrix(i, j), tolerance * largest);
            }
        }
        for (const auto* vectors : {&u, &v}) {
            for (int i = 0; i < k * k; ++i) {
                double sum = 0;
                for (int l = 0; l < vectors->numRows(); ++l)
                    sum += double((*vectors)(l, i / k)) * (*vectors)(l, i % k);
                EXPECT_NEAR(sum, i / k == i % k, tolerance);
            }
        }
    }
    ZbDMatrix<TypeParam> extremes(2, 2);
    extremes(0, 0) = TypeParam(1e20);
    extremes(1, 1) = TypeParam(1e-20);
    ASSERT_EQ(extremes.SVD(u, w, v), 1);
    EXPECT_EQ(w[0], TypeParam(1e20));
    EXPECT_NEAR(w[1] / TypeParam(1e-20), 1, 1e-4);  // denormal beside the other
    EXPECT_EQ(std::fabs(u(1, 1) * v(1, 1)), 1);

    ZbDMatrix<TypeParam> diagonal(2, 2);
    diagonal(0, 0) = 3;
    diagonal(1, 1) = -4;
    EXPECT_EQ(diagonal.SVD(u, w, diagonal), 1);  // in its own place
    EXPECT_EQ(std::max(w[0], w[1]), 4);
    EXPECT_EQ(std::min(w[0], w[1]), 3);
}

TYPED_TEST(ZbDMatrixTest, singularValuesWithoutEnd)
{
    auto matrix = randomMatrix<TypeParam>(6, 6, 1);
    ZbDMatrix<TypeParam> u(1, 1), v;
    ZbDVector<TypeParam> w;
    testing::internal::CaptureStdout();
    EXPECT_EQ(matrix.SVD(u, w, v, 1), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "no convergence in 1 svd iterations \n");
    EXPECT_EQ(u.numRows(), 1);
    for (const TypeParam bad :
         {std::numeric_limits<TypeParam>::quiet_NaN(), std::numeric_limits<TypeParam>::infinity()}) {
        matrix(2, 3) = bad;
        testing::internal::CaptureStdout();
        EXPECT_EQ(matrix.SVD(u, w, v), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "no convergence in 30 svd iterations \n");
    }
    // Far from 1, where squares would overflow or vanish.
    for (const TypeParam size :
         {std::numeric_limits<TypeParam>::max() / 100, std::numeric_limits<TypeParam>::min() * 100}) {
        auto scaled = randomMatrix<TypeParam>(4, 3, 1);
        const auto original = scaled;
        std::for_each(scaled.row(0), scaled.row(0) + 12, [size](TypeParam& value) { value *= size; });
        ZbDVector<TypeParam> expected;
        EXPECT_EQ(original.SVD(u, expected, v), 1);
        ASSERT_EQ(scaled.SVD(u, w, v), 1) << size;
        for (long i = 0; i < 3; ++i)
            EXPECT_NEAR(w[i] / size, expected[i], 1e-4);
    }
}

TEST(ZbDVector, isAnArrayThatComputes)
{
    const ZbDVector<float> a = {1, 2, 3}, b = {4, 5, 6};
    EXPECT_EQ(a + b, (ZbDVector<float>{5, 7, 9}));
    EXPECT_EQ((b - a) * 2 / 3, (ZbDVector<float>{2, 2, 2}));
    EXPECT_EQ(a.dot(b), 32);
    EXPECT_EQ((ZbDVector<double>{3, 4}).length(), 5);
}

TYPED_TEST(ZbDMatrixTest, bandsAreSolved)
{
    const struct {
        int n, m1, m2;
    } cases[] = {{1, 0, 0}, {1, 2, 2}, {5, 1, 1}, {20, 2, 2}, {20, 0, 3}, {20, 3, 0}, {4, 9, 7}, {30, 5, 1}};
    for (const auto& [n, m1, m2] : cases) {
        SCOPED_TRACE(testing::Message() << n << " rows, " << m1 << " + " << m2);
        std::mt19937 generator(unsigned(n + 100 * m1));
        std::uniform_real_distribution<TypeParam> element(-1, 1);
        ZbBandMatrix<TypeParam> band(n, m1, m2);
        ZbDMatrix<TypeParam> dense(n, n);
        for (int i = 0; i < n; ++i) {
            // Short rows are filled with zeros; what lies outside of the matrix is ignored.
            ZbDArray<TypeParam> row(i % 4 == 3 ? m1 + 1 : m1 + m2 + 1);
            for (long k = 0; k < row.size(); ++k) {
                row[k] = element(generator) + TypeParam(k == m1);
                const long j = i - m1 + k;
                if (j >= 0 && j < n)
                    dense(i, int(j)) = row[k];
            }
            band.setRow(i, row);
        }
        ZbBandMatrix<TypeParam> copy = band;
        band.decompose();
        copy.decompose();
        copy = ZbBandMatrix<TypeParam>(copy);
        ZbDVector<TypeParam> b(n), x;
        for (TypeParam& value : b)
            value = element(generator);
        band.solve(b, x);
        ASSERT_EQ(x.size(), n);
        for (int i = 0; i < n; ++i) {
            double rest = b[i], size = 1;
            for (int j = 0; j < n; ++j) {
                rest -= double(dense(i, j)) * x[j];
                size = std::max(size, std::fabs(double(x[j])));
            }
            EXPECT_NEAR(rest, 0, 20 * std::numeric_limits<TypeParam>::epsilon() * size) << i;
        }
        copy.solve(b, b);  // in place
        EXPECT_EQ(b, x);
    }
}

TEST(ZbBandMatrix, singularOnesGetATinyPivot)
{
    ZbBandMatrix<float> band(2, 0, 0);
    band.setRow(0, ZbDArray<float>{2});
    band.decompose();
    ZbDVector<float> x;
    band.solve(ZbDVector<float>{4, 3}, x);
    EXPECT_EQ(x, (ZbDVector<float>{2, 3 / 1.0e-20f}));
    band.solve(ZbDVector<float>{4}, x);  // missing values are 0
    EXPECT_EQ(x, (ZbDVector<float>{2, 0}));
}

TEST(ZbBandMatrix, factorsInCompactStorage)
{
    // (1 2 0 / 4 5 6 / 0 7 8), one diagonal on either side. 4 is the first pivot, 7 the second.
    double a[] = {99, 1, 2, 4, 5, 6, 7, 8, 99};
    double al[3] = {}, d = 0;
    int pivots[4] = {-1, 0, 0, 0};
    bandec(a, 3, 1, 1, al, pivots, d);
    EXPECT_EQ(d, 1);
    EXPECT_EQ((std::vector<int>(pivots, pivots + 4)), (std::vector<int>{-1, 2, 3, 3}));
    EXPECT_EQ(al[0], 0.25);
    EXPECT_EQ(al[1], 0.75 / 7);
    EXPECT_EQ((std::vector<double>(a, a + 5)), (std::vector<double>{4, 5, 6, 7, 8}));
    EXPECT_EQ(a[6], -1.5 - al[1] * 8);
    double b[] = {3, 15, 15};
    banbks(a, 3, 1, 1, al, pivots, b);
    for (const double value : b)
        EXPECT_NEAR(value, 1, 1e-14);
}

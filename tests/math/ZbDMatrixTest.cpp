#include <zblib/math/ZbBandMatrix.h>
#include <zblib/math/ZbDMatrix.h>

#include <zblib/foundation/ZbProgressInterface.h>

#include "tests/support/RandomNumbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

template class ZbDVector<float>;

namespace
{

template <typename T>
ZbDMatrix<T> randomMatrix(int n, int m, unsigned seed)
{
    RandomNumbers random(seed);
    ZbDMatrix<T> result(n, m);
    std::generate(result.row(0), result.row(0) + long(n) * m, [&] { return T(random()); });
    return result;
}

// a b in double, whatever they are.
template <typename A, typename B>
ZbDMatrix<double> product(const ZbDMatrix<A>& a, const ZbDMatrix<B>& b)
{
    ZbDMatrix<double> result(a.numRows(), b.numCols());
    for (int i = 0; i < a.numRows(); ++i) {
        for (int k = 0; k < a.numCols(); ++k) {
            for (int j = 0; j < b.numCols(); ++j)
                result(i, j) += double(a(i, k)) * b(k, j);
        }
    }
    return result;
}

template <typename A, typename B>
double largestDifferenceOf(const ZbDMatrix<A>& a, const ZbDMatrix<B>& b)
{
    double largest = 0;
    for (int i = 0; i < a.numRows(); ++i) {
        for (int j = 0; j < a.numCols(); ++j)
            largest = std::fmax(largest, std::fabs(double(a(i, j)) - b(i, j)));
    }
    return largest;
}

// Solves m x = b for the rows of sides, and returns what solveLRdecomp does.
template <typename T>
int solve(const ZbDMatrix<T>& m, ZbDMatrix<T>& sides, ZbDMatrix<T>& factors, T& det,
          ZbProgressInterface* progress = nullptr)
{
    factors.resize(m.numRows(), m.numCols());
    std::vector<T*> rows, right;
    for (int i = 0; i < m.numRows(); ++i)
        rows.push_back(factors.row(i));
    for (int i = 0; i < sides.numRows(); ++i)
        right.push_back(sides.row(i));
    return m.solveLRdecomp(rows.data(), right.data(), sides.numRows(), det, progress);
}

// The factors by the textbook's loops.
template <typename T>
void factorPlain(ZbDMatrix<T>& a, T& det)
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
        const T reciprocal = 1 / a(k, k);
        for (int i = k + 1; i < n; ++i) {
            a(i, k) *= reciprocal;
            for (int j = k + 1; j < n; ++j)
                a(i, j) -= a(i, k) * a(k, j);
        }
    }
}

class Recorder : public ZbProgressInterface
{
public:
    void setProgressValueGlobal(float value) override { values.push_back(value); }
    bool wasInterrupted(bool) override { return values.size() > 2; }

    std::vector<float> values;
};

template <typename T>
class ZbDMatrixTest : public testing::Test
{
public:
    using Limits = std::numeric_limits<T>;
    ZbDMatrix<T> u, v, factors;
    ZbDVector<T> w;
    T det = 5;

    // Decomposes m, and compares in units of the largest value. Values that are 0 need no vectors.
    void expectDecomposition(const ZbDMatrix<T>& m, double tolerance)
    {
        ASSERT_EQ(m.SVD(u, w, v), 1);
        const int k = std::min(m.numRows(), m.numCols());
        ASSERT_EQ(std::vector({u.numRows(), u.numCols(), v.numRows(), v.numCols(), int(w.size())}),
                  std::vector({m.numRows(), k, m.numCols(), k, k}));
        const double size = largestDifferenceOf(m, ZbDMatrix<T>(m.numRows(), m.numCols()));
        ZbDMatrix<T> unit(k, k);
        ZbDMatrix<double> diagonal(k, k);
        for (int i = 0; i < k; ++i) {
            EXPECT_GE(w[i], 0);
            unit(i, i) = 1;
            diagonal(i, i) = w[i];
        }
        EXPECT_LE(largestDifferenceOf(product(product(u, diagonal), v.transpose()), m), tolerance * size);
        EXPECT_LE(largestDifferenceOf(product(u.transpose(), u), unit), tolerance);
        EXPECT_LE(largestDifferenceOf(product(v.transpose(), v), unit), tolerance);
    }
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
    m = std::move(copy);
    EXPECT_EQ(m(0, 0), 1);
    EXPECT_EQ(ZbDMatrix<TypeParam>(-3, 4).numRows(), 0);
}

TYPED_TEST(ZbDMatrixTest, factorsAreThoseOfThePlainLoops)
{
    for (const int n : {1, 2, 5, 15, 16, 17, 31, 33, 48, 100, 290, 560}) {
        SCOPED_TRACE(n);
        auto m = randomMatrix<TypeParam>(n, n, unsigned(n));
        for (int j = 0; n > 2 && j < n; ++j)
            m(1, j) = std::round(m(1, j));  // ties of pivots, elements of 0
        auto expected = m;
        TypeParam expectedDet;
        factorPlain(expected, expectedDet);
        ZbDMatrix<TypeParam> none;
        EXPECT_EQ(solve(m, none, this->factors, this->det), 0);
        EXPECT_EQ(this->factors, expected);
        EXPECT_EQ(this->det, expectedDet);
    }
}

TYPED_TEST(ZbDMatrixTest, solvesForSeveralRightSides)
{
    for (const int n : {1, 3, 20, 130}) {
        SCOPED_TRACE(n);
        const auto m = randomMatrix<TypeParam>(n, n, unsigned(n) + 7);
        auto sides = randomMatrix<TypeParam>(3, n, 9);
        std::fill(sides.row(1), sides.row(1) + n, TypeParam(0));
        const auto b = sides;
        testing::internal::CaptureStdout();
        EXPECT_EQ(solve(m, sides, this->factors, this->det), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_LE(largestDifferenceOf(product(sides, m.transpose()), b), 1e-5 * std::sqrt(n));
        EXPECT_EQ(sides(1, n - 1), 0);
    }
}

TYPED_TEST(ZbDMatrixTest, solvesForAnySizeOfRightSide)
{
    const auto m = randomMatrix<TypeParam>(20, 20, 5);
    const auto solved = [&](TypeParam scale) {
        auto side = randomMatrix<TypeParam>(1, 20, 6);
        std::for_each(side.row(0), side.row(0) + 20, [scale](TypeParam& value) { value *= scale; });
        EXPECT_EQ(solve(m, side, this->factors, this->det), 0);
        return side;
    };
    const auto x = solved(1);
    for (const int exponent : {TestFixture::Limits::max_exponent - 20,
                               TestFixture::Limits::min_exponent + 60}) {  // no squares there
        const TypeParam scale = std::ldexp(TypeParam(1), exponent);
        const auto scaled = solved(scale);
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(scaled(0, i) / scale, x(0, i)) << exponent;
    }
    for (const TypeParam bad : {TestFixture::Limits::quiet_NaN(), TestFixture::Limits::infinity()})
        EXPECT_TRUE(std::isnan(solved(bad)(0, 0)));
}

TYPED_TEST(ZbDMatrixTest, solvingFails)
{
    const auto message = [&](const ZbDMatrix<TypeParam>& m, ZbProgressInterface* progress = nullptr) {
        ZbDMatrix<TypeParam> side(1, m.numRows());
        side(0, 0) = 77;
        testing::internal::CaptureStderr();
        EXPECT_EQ(solve(m, side, this->factors, this->det, progress), 1);
        EXPECT_EQ(side(0, 0), 77);
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(message(ZbDMatrix<TypeParam>(2, 3)), "ZbDMatrix::solveLRdecomp: must be a square matrix.\n");
    auto m = randomMatrix<TypeParam>(50, 50, 3);
    Recorder progress;
    EXPECT_EQ(message(m, &progress), "");
    EXPECT_EQ(progress.values, (std::vector<float>{1 / 50.f, 21 / 50.f, 41 / 50.f}));
    for (int i = 0; i < 50; ++i)
        m(i, 30) = 0;
    EXPECT_EQ(message(m), "ZbDMatrix::solveLRdecomp: Singular Matrix-2\ni, n: 30 50\n");
}

TEST(ZbDMatrixTest, warnsOfLargeResiduals)
{
    // The solution is so large that the residual cannot be small.
    constexpr int n = 10;
    ZbDMatrix<float> m(n, n), factors, side(1, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            m(i, j) = 1 / float(i + j + 1);
        side(0, i) = i % 2 == 0 ? 1.f : -1.f;
    }
    float det;
    testing::internal::CaptureStdout();
    EXPECT_EQ(solve(m, side, factors, det), 0);
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
        for (int i = rank; rank < std::min(n, m) && i < n; ++i) {  // the other rows are sums of the first
            for (int j = 0; j < m; ++j) {
                matrix(i, j) = 0;
                for (int k = 0; k < rank; ++k)
                    matrix(i, j) += matrix(k, j) * TypeParam((i + k) % 3);
            }
        }
        const double tolerance = 30 * TestFixture::Limits::epsilon() * std::sqrt(double(n + m));
        this->expectDecomposition(matrix, tolerance);
        EXPECT_EQ(std::ranges::count_if(this->w, [&](TypeParam value) { return value > tolerance * 10; }),
                  rank);
    }
    ZbDMatrix<TypeParam> diagonal(2, 2);
    diagonal(0, 0) = 3;
    diagonal(1, 1) = -4;
    EXPECT_EQ(diagonal.SVD(this->u, this->w, diagonal), 1);  // in its own place
    EXPECT_EQ(std::max(this->w[0], this->w[1]), 4);
    EXPECT_EQ(std::min(this->w[0], this->w[1]), 3);
}

// Rows and columns of very different size: nothing may be divided by what vanishes beside the rest.
TYPED_TEST(ZbDMatrixTest, singularValuesOfGradedMatrices)
{
    for (int round = 0; round < 200; ++round) {
        const int n = 2 + round % 7, m = 2 + round / 7 % 7;
        SCOPED_TRACE(testing::Message() << "round " << round << ", " << n << " x " << m);
        auto matrix = randomMatrix<TypeParam>(n, m, unsigned(round));
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < m; ++j) {
                const int grade = (round % 3 == 1 ? i : -i) + (round % 4 < 2 ? j : -j);
                matrix(i, j) *= std::pow(TypeParam(10), TypeParam(grade * (1 + round % 3)));
                if (round % 2 == 0 && i != j)
                    matrix(i, j) = 0;
            }
        }
        this->expectDecomposition(matrix, 30 * TestFixture::Limits::epsilon());
    }
    ZbDMatrix<TypeParam> extremes(2, 2);
    extremes(0, 0) = TypeParam(1e20);
    extremes(1, 1) = TypeParam(1e-20);
    this->expectDecomposition(extremes, TestFixture::Limits::epsilon());
    EXPECT_NEAR(this->w[1] / TypeParam(1e-20), 1, 1e-4);  // denormal beside the other
    // Near the ends of the range, where squares overflow or vanish.
    for (const TypeParam size : {TestFixture::Limits::max() / 100, TestFixture::Limits::min() * 100}) {
        auto scaled = randomMatrix<TypeParam>(4, 3, 1);
        std::for_each(scaled.row(0), scaled.row(0) + 12, [size](TypeParam& value) { value *= size; });
        this->expectDecomposition(scaled, 1e-5);
    }
}

TYPED_TEST(ZbDMatrixTest, singularValuesWithoutEnd)
{
    auto matrix = randomMatrix<TypeParam>(6, 6, 1);
    const auto message = [&](int maxIterations) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(matrix.SVD(this->u, this->w, this->v, maxIterations), 0);
        EXPECT_EQ(this->u.numRows() + this->w.size(), 0);
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(message(1), "no convergence in 1 svd iterations \n");
    for (const TypeParam bad : {TestFixture::Limits::quiet_NaN(), TestFixture::Limits::infinity()}) {
        matrix(2, 3) = bad;
        EXPECT_EQ(message(30), "no convergence in 30 svd iterations \n");
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
        RandomNumbers random(unsigned(n + 100 * m1));
        ZbBandMatrix<TypeParam> band(n, m1, m2);
        ZbDMatrix<TypeParam> dense(n, n), solution(n, 1), right(n, 1);
        ZbDVector<TypeParam> b(n), x;
        for (int i = 0; i < n; ++i) {
            b[i] = right(i, 0) = TypeParam(random());
            // Short rows are filled with zeros; what lies outside of the matrix is ignored.
            ZbDArray<TypeParam> row(i % 4 == 3 ? m1 + 1 : m1 + m2 + 1);
            for (long k = 0; k < row.size(); ++k) {
                row[k] = TypeParam(random()) + TypeParam(k == m1);
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
        band.solve(b, x);
        ASSERT_EQ(x.size(), n);
        std::copy(x.begin(), x.end(), solution.row(0));
        const double size = 1 + largestDifferenceOf(solution, ZbDMatrix<TypeParam>(n, 1));
        EXPECT_LE(largestDifferenceOf(product(dense, solution), right),
                  20 * TestFixture::Limits::epsilon() * size);
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

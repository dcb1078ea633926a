#include <zblib/math/ZbMat2d.h>
#include <zblib/math/ZbMat2f.h>
#include <zblib/math/ZbMat3d.h>
#include <zblib/math/ZbMat3f.h>
#include <zblib/math/ZbMat4d.h>
#include <zblib/math/ZbMat4f.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

template class ZbMat2<float>;
template class ZbMat3<double>;

namespace
{

// The element type and the size of a matrix.
template <typename Mat>
using ElementOf = std::remove_reference_t<decltype(Mat()[0][0])>;
template <typename Mat>
constexpr int sizeOf = sizeof(Mat) == 4 * sizeof(ElementOf<Mat>)   ? 2
                       : sizeof(Mat) == 9 * sizeof(ElementOf<Mat>) ? 3
                                                                   : 4;

// Random elements in [-1, 1], the same ones for every type.
template <typename Mat>
Mat randomMatrix(std::mt19937& generator)
{
    std::uniform_real_distribution<float> element(-1, 1);
    Mat m;
    for (int i = 0; i < sizeOf<Mat>; ++i)
        std::generate(m[i], m[i] + sizeOf<Mat>, [&] { return element(generator); });
    return m;
}

template <typename Mat>
double largestDifference(const Mat& a, const Mat& b)
{
    double largest = 0;
    for (int i = 0; i < sizeOf<Mat>; ++i) {
        for (int j = 0; j < sizeOf<Mat>; ++j)
            largest = std::max(largest, std::fabs(double(a[i][j]) - double(b[i][j])));
    }
    return largest;
}

template <typename Mat>
class ZbMat : public testing::Test
{
};
using Matrices = testing::Types<ZbMat2f, ZbMat2d, ZbMat3f, ZbMat3d, ZbMat4f, ZbMat4d>;
TYPED_TEST_SUITE(ZbMat, Matrices);

}  // namespace

TYPED_TEST(ZbMat, computesElementByElement)
{
    using T = ElementOf<TypeParam>;
    constexpr int n = sizeOf<TypeParam>;
    T values[n][n], copy[n][n];
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            values[i][j] = T(10 * i + j + 1);
    }
    const TypeParam m(values);
    m.getValue(copy);
    EXPECT_EQ(copy[n - 1][0], 10 * n - 9);
    EXPECT_EQ(m.trace(), n == 2 ? 13 : n == 3 ? 36 : 70);
    EXPECT_EQ(m.transpose()[0][n - 1], m[n - 1][0]);
    EXPECT_EQ(m.transpose().transpose(), m);
    EXPECT_EQ((m + m)[1][0], 22);
    EXPECT_EQ(3 * m - m, m * 2);
    EXPECT_EQ(-m, m - 2 * m);
    EXPECT_EQ((m / 3)[0][1], T(2) / 3);  // a quotient, not a product with 1 / 3
    TypeParam other = m;
    other *= 4;
    other += m;
    other -= 2 * m;
    other /= 3;
    EXPECT_EQ(other, m);
    other[n - 1][n - 1] = -1;
    EXPECT_NE(other, m);
}

TYPED_TEST(ZbMat, productsSumInOrder)
{
    constexpr int n = sizeOf<TypeParam>;
    std::mt19937 generator(1);
    for (int round = 0; round < 20; ++round) {
        const auto a = randomMatrix<TypeParam>(generator), b = randomMatrix<TypeParam>(generator);
        const TypeParam product = a * b;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                auto sum = a[i][0] * b[0][j];
                for (int k = 1; k < n; ++k)
                    sum += a[i][k] * b[k][j];
                EXPECT_EQ(product[i][j], sum);
            }
        }
        TypeParam square = a;
        square *= square;
        EXPECT_EQ(square, a * a);
    }
}

TYPED_TEST(ZbMat, inverts)
{
    std::mt19937 generator(2);
    const double epsilon = std::numeric_limits<ElementOf<TypeParam>>::epsilon();
    TypeParam unit;
    for (int i = 0; i < sizeOf<TypeParam>; ++i) {
        for (int j = 0; j < sizeOf<TypeParam>; ++j)
            unit[i][j] = i == j;
    }
    EXPECT_EQ(unit.inverse(), unit);
    for (int round = 0; round < 200; ++round) {
        const auto m = randomMatrix<TypeParam>(generator);
        const auto inverse = m.inverse();
        const double size = largestDifference(inverse, TypeParam(inverse * 0));
        EXPECT_LE(largestDifference(inverse * m, unit), 60 * epsilon * size);
        // det has its sign, and the determinant of the product is the product of the determinants.
        const auto other = randomMatrix<TypeParam>(generator);
        EXPECT_NEAR((m * other).det(), m.det() * other.det(), 100 * epsilon);
    }
}

TEST(ZbMat2, multipliesVectorsFromBothSides)
{
    constexpr ZbMat2d m(ZbVec2d(1, 2), ZbVec2d(3, 4));
    static_assert(m * ZbVec2d(5, 6) == ZbVec2d(17, 39));
    static_assert(ZbVec2d(5, 6) * m == ZbVec2d(23, 34));
    static_assert(m.det() == -2 && m.inverse() == ZbMat2d(-2, 1, 1.5, -0.5));
    // Singular: the adjugate.
    static_assert(ZbMat2f(1, 2, 2, 4).inverse() == ZbMat2f(4, -2, -2, 1));
}

TEST(ZbMat3, inversesAndMinors)
{
    constexpr ZbMat3d m(2, 1, 0, 1, 3, 1, 0, 1, 4);
    static_assert(m.det() == 18);
    static_assert(m.subdet(0, 1) == 4 && m.subdet(1, 1) == 8 && m.subdet(2, 0) == 1 && m.subdet(1, 2) == 2);
    constexpr ZbMat3d adjugate(11, -4, 1, -4, 8, -2, 1, -2, 5);
    static_assert(m.inverse(1) == adjugate && m.symmInverse(1) == adjugate);
    static_assert(m.inverse(-2) == adjugate / -2 && m.symmInverse(-2) == adjugate / -2);
    EXPECT_EQ(m.inverse(), adjugate / 18);
    // Not symmetric, singular.
    static_assert(ZbMat3f(1, 2, 3, 4, 5, 6, 7, 8, 9).inverse() == ZbMat3f(-3, 6, -3, 6, -12, 6, -3, 6, -3));
    static_assert(ZbMat3f(7) == ZbMat3f(ZbVec3f(7, 7, 7), ZbVec3f(7, 7, 7), ZbVec3f(7, 7, 7)));

    ZbVec3d v(1, 2, 3);
    ZbMat3d(1, 2, 3, 4, 5, 6, 7, 8, 9).multVecMatrix(v, v);
    EXPECT_EQ(v, ZbVec3d(30, 36, 42));
    v = ZbVec3d(1, 2, 3);
    ZbMat3d(1, 2, 3, 4, 5, 6, 7, 8, 9).multMatrixVec(v, v);
    EXPECT_EQ(v, ZbVec3d(14, 32, 50));
}

TEST(ZbMat3, writesItsElementsWithBlanks)
{
    std::ostringstream stream;
    stream << ZbMat3d(1, 2.5, -3, 4, 5, 6, 7, 8, 1e-9);
    EXPECT_EQ(stream.str(), "1 2.5 -3 4 5 6 7 8 1e-09");
}

TEST(ZbMat4, transformsPointsAndDirections)
{
    ZbMat4d m;
    m.setTranslate(ZbVec3d(4, -5, 6));
    ZbVec3d v;
    m.multVecMatrix(ZbVec3d(0, 0, 0), v);
    EXPECT_EQ(v, ZbVec3d(4, -5, 6));
    m.multDirMatrix(v, v);
    EXPECT_EQ(v, ZbVec3d(4, -5, 6));

    m = ZbMat4d(1, 2, 3, 1, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1);
    v = ZbVec3d(1, 2, 3);
    m.multVecMatrix(v, v);  // w = 1 * 1 + 1
    EXPECT_EQ(v, ZbVec3d(40, 47, 54) / 2);
    v = ZbVec3d(1, 2, 3);
    m.multMatrixVec(v, v);  // w = 10 + 22 + 36 + 1
    EXPECT_EQ(v, ZbVec3d(15, 32, 50).compquot(ZbVec3d(69, 69, 69)));
    v = ZbVec3d(1, 2, 3);
    m.multDirMatrix(v, v);
    EXPECT_EQ(v, ZbVec3d(30, 36, 42));
    ZbVec4d w(1, 2, 3, 1);
    m.multVecMatrix(w, w);
    EXPECT_EQ(w, ZbVec4d(40, 47, 54, 2));
    w = ZbVec4d(1, 2, 3, 1);
    m.multMatrixVec(w, w);
    EXPECT_EQ(w, ZbVec4d(15, 32, 50, 69));

    // Nothing guards the division.
    m = ZbMat4d::identity() * 0.0;
    m.multVecMatrix(ZbVec3d(1, 2, 3), v);
    EXPECT_TRUE(std::isnan(v.x));
}

TEST(ZbMat4, multipliesFromTheLeftAndTheRight)
{
    ZbMat4f scale, translation, m;
    scale.setScale(ZbVec3f(2, 3, 4));
    translation.setTranslate(ZbVec3f(1, 1, 1));
    m = scale;
    m.multRight(translation);
    EXPECT_EQ(ZbVec3f(m[3]), ZbVec3f(1, 1, 1));
    m = scale;
    m.multLeft(translation);
    EXPECT_EQ(ZbVec3f(m[3]), ZbVec3f(2, 3, 4));
    m.setScale(2);
    EXPECT_EQ(m.multLeft(m), ZbMat4f(4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1));
}

namespace
{

template <typename T>
class ZbMat4Arrays : public testing::Test
{
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbMat4Arrays, Reals);

}  // namespace

TYPED_TEST(ZbMat4Arrays, agreeWithTheFormsForOneVector)
{
    using Mat = ZbMat4<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    std::mt19937 generator(3);
    const auto m = randomMatrix<Mat>(generator);
    for (const long count : {0, 1, 2, 7, 8, 9, 127, 128, 129, 300}) {
        SCOPED_TRACE(count);
        std::vector<Vec> source(size_t(count) + 1, Vec(77, 77, 77));
        std::uniform_real_distribution<TypeParam> element(-9, 9);
        for (long i = 0; i < count; ++i)
            source[size_t(i)] = Vec(element(generator), element(generator), element(generator));
        const auto check = [&](auto one, auto many) {
            std::vector<Vec> target(source.size(), Vec(77, 77, 77)), same = source;
            many(source.data(), target.data());
            many(same.data(), same.data());
            EXPECT_EQ(same, target);
            EXPECT_EQ(target.back(), Vec(77, 77, 77));
            for (long i = 0; i < count; ++i) {
                Vec expected;
                one(source[size_t(i)], expected);
                EXPECT_EQ(target[size_t(i)], expected) << i;
            }
        };
        check([&](const Vec& v, Vec& result) { m.multVecMatrix(v, result); },
              [&](const Vec* v, Vec* result) { m.multVecMatrix(v, result, count); });
        check([&](const Vec& v, Vec& result) { m.multMatrixVec(v, result); },
              [&](const Vec* v, Vec* result) { m.multMatrixVec(v, result, count); });
        check([&](const Vec& v, Vec& result) { m.multDirMatrix(v, result); },
              [&](const Vec* v, Vec* result) { m.multDirMatrix(v, result, count); });
    }
}

TEST(ZbMat4, determinants)
{
    const ZbMat4d m(1, 0, 2, -1, 3, 0, 0, 5, 2, 1, 4, -3, 1, 0, 5, 0);
    EXPECT_EQ(m.det4(), 30);
    EXPECT_EQ(m.det(), 30);
    EXPECT_EQ(m.det3(), 6);
    EXPECT_EQ(m.det3(0, 1, 3, 0, 2, 3), -30);
    EXPECT_EQ(m.det3(1, 0, 3, 0, 2, 3), 30);
}

TEST(ZbMat4, affineInverse)
{
    const ZbMat4f untouched = ZbMat4f::identity() * 5;
    const auto inverted = [&](const ZbMat4f& m) {
        ZbMat4f result = untouched;
        const bool isInverted = ZbMat4f::affine_inverse(m, result);
        EXPECT_EQ(isInverted, result != untouched);
        return isInverted;
    };
    ZbMat4f m(2, 0, 0, 0, 0, 0, 4, 0, 0, 8, 0, 0, 1, 2, 3, 1);
    EXPECT_TRUE(inverted(m));
    ZbMat4f inverse;
    ZbMat4f::affine_inverse(m, inverse);
    EXPECT_EQ(inverse, ZbMat4f(0.5, 0, 0, 0, 0, 0, 0.125, 0, 0, 0.25, 0, 0, -0.5, -0.75, -0.25, 1));
    EXPECT_EQ(m.inverse(), inverse);
    ZbMat4f::affine_inverse(m, m);
    EXPECT_EQ(m, inverse);

    for (int i = 0; i < 4; ++i) {
        ZbMat4f other = ZbMat4f::identity() * 2;
        other[3][3] = 1;
        EXPECT_TRUE(inverted(other));
        other[i][3] += 1e-6f;
        EXPECT_FALSE(inverted(other)) << i;
    }
    // Singular: exactly, as far as double can tell, and with no products at all.
    EXPECT_FALSE(inverted(ZbMat4f(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 1, 1, 1, 1)));
    EXPECT_FALSE(inverted(ZbMat4f(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1)));
    const auto nearlySingular = [](double above) {
        ZbMat4d d(1, 1, 0, 0, 1, 1 + above, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1);
        return ZbMat4d::affine_inverse(d, d);
    };
    EXPECT_FALSE(nearlySingular(0x1p-50));  // 2^-50 over 2 is below 1e-15
    EXPECT_TRUE(nearlySingular(0x1p-48));
}

TEST(ZbMat4, failedInverseIsTheWorkingCopy)
{
    // Rows are exchanged, then the second column has no pivot.
    const ZbMat4d m(1, 1, 2, 3, 4, 4, 8, 16, 2, 2, 0, 0, 0, 0, 1, 2);
    const ZbMat4d reduced(4, 4, 8, 16, 0.25, 0, 0, -1, 0.5, 0, -4, -8, 0, 0, 1, 2);
    EXPECT_EQ(m.inverse(), reduced);
    int index[4];
    double d = 0;
    ZbMat4d copy = m;
    EXPECT_FALSE(copy.LUDecomposition(index, d));
    EXPECT_EQ(copy, reduced);
    // Affine but singular: the block is found to be singular first, then the factors fail as well.
    const ZbMat4d zero(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 1);
    EXPECT_EQ(zero.inverse(), ZbMat4d(1, 2, 3, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TYPED_TEST(ZbMat4Arrays, inverseIsThatOfTheFactors)
{
    std::mt19937 generator(8);
    for (int round = 0; round < 300; ++round) {
        auto m = randomMatrix<ZbMat4<TypeParam>>(generator);
        if (round % 2 == 1) {
            for (int i = 0; i < 16; ++i)
                m[i / 4][i % 4] = std::round(m[i / 4][i % 4] * 2);  // ties, and elements of 0
        }
        auto factors = m;
        int index[4];
        TypeParam d;
        if (!factors.LUDecomposition(index, d)) {
            EXPECT_EQ(m.inverse(), factors);
            continue;
        }
        const auto inverse = m.inverse();
        for (int j = 0; j < 4; ++j) {
            TypeParam column[4] = {};
            column[j] = 1;
            factors.LUBackSubstitution(index, column);
            for (int i = 0; i < 4; ++i)
                EXPECT_EQ(inverse[i][j], column[i]);
        }
    }
}

TYPED_TEST(ZbMat, factorsGiveTheMatrix)
{
    constexpr int n = sizeOf<TypeParam>;
    if constexpr (n > 2) {
        std::mt19937 generator(4);
        for (int round = 0; round < 100; ++round) {
            const auto m = randomMatrix<TypeParam>(generator);
            auto factors = m;
            int index[n];
            ElementOf<TypeParam> d;
            ASSERT_TRUE(factors.LUDecomposition(index, d));
            auto lower = factors, upper = factors;
            TypeParam permuted;
            double determinant = d;
            for (int i = 0; i < n; ++i) {
                for (int j = 0; j < n; ++j) {
                    EXPECT_TRUE(i <= j || std::fabs(factors[i][j]) <= 1);  // the pivot was the largest
                    (i > j ? upper : lower)[i][j] = i == j;
                    upper[i][i] = factors[i][i];
                    permuted[i][j] = m[index[i]][j];
                }
                determinant *= factors[i][i];
            }
            const double epsilon = std::numeric_limits<ElementOf<TypeParam>>::epsilon();
            EXPECT_LE(largestDifference(lower * upper, permuted), 8 * epsilon);
            EXPECT_NEAR(determinant, m.det(), 16 * epsilon);
        }
    }
}

TEST(ZbMat4, printsAlignedRows)
{
    ZbMat4f m(1, -2.5f, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 1234567, 1e-10f);
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    m.print(file);
    std::rewind(file);
    char text[400] = {};
    EXPECT_GT(std::fread(text, 1, sizeof text - 1, file), 0u);
    std::fclose(file);
    EXPECT_STREQ(text, "         1\t      -2.5\t         3\t         4\n"
                       "         5\t         6\t         7\t         8\n"
                       "         9\t        10\t        11\t        12\n"
                       "        13\t        14\t1.2346e+06\t     1e-10\n");
}

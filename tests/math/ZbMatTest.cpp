#include <zblib/math/ZbMat2d.h>
#include <zblib/math/ZbMat2f.h>
#include <zblib/math/ZbMat3d.h>
#include <zblib/math/ZbMat3f.h>
#include <zblib/math/ZbMat4d.h>
#include <zblib/math/ZbMat4f.h>

#include "tests/support/RandomNumbers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <sstream>
#include <vector>

template class ZbMat2<float>;
template class ZbMat3<double>;

namespace
{

template <typename Mat>
class ZbMat : public testing::Test
{
};
using Matrices = testing::Types<ZbMat2f, ZbMat2d, ZbMat3f, ZbMat3d, ZbMat4f, ZbMat4d>;
TYPED_TEST_SUITE(ZbMat, Matrices);

template <typename T>
class ZbMat4Of : public testing::Test
{
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbMat4Of, Reals);

}  // namespace

TYPED_TEST(ZbMat, computesElementByElement)
{
    using T = MatElement<TypeParam>;
    constexpr int n = matSize<TypeParam>;
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
    constexpr int n = matSize<TypeParam>;
    RandomNumbers random(1);
    for (int round = 0; round < 20; ++round) {
        const auto a = random.matrix<TypeParam>(), b = random.matrix<TypeParam>();
        TypeParam expected, square = a;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                expected[i][j] = a[i][0] * b[0][j];
                for (int k = 1; k < n; ++k)
                    expected[i][j] += a[i][k] * b[k][j];
            }
        }
        EXPECT_EQ(a * b, expected);
        EXPECT_EQ(square *= square, a * a);
    }
}

TYPED_TEST(ZbMat, inverts)
{
    RandomNumbers random(2);
    const double epsilon = std::numeric_limits<MatElement<TypeParam>>::epsilon();
    TypeParam unit;
    for (int i = 0; i < matSize<TypeParam>; ++i) {
        for (int j = 0; j < matSize<TypeParam>; ++j)
            unit[i][j] = i == j;
    }
    EXPECT_EQ(unit.inverse(), unit);
    for (int round = 0; round < 200; ++round) {
        const auto m = random.matrix<TypeParam>(), other = random.matrix<TypeParam>();
        const double size = largestDifference(m.inverse(), TypeParam(m * 0));
        EXPECT_LE(largestDifference(m.inverse() * m, unit), 60 * epsilon * size);
        // det has its sign, and the determinant of the product is the product of the determinants.
        EXPECT_NEAR((m * other).det(), m.det() * other.det(), 100 * epsilon);
    }
}

TYPED_TEST(ZbMat, factorsGiveTheMatrix)
{
    constexpr int n = matSize<TypeParam>;
    if constexpr (n > 2) {
        RandomNumbers random(4);
        for (int round = 0; round < 100; ++round) {
            const auto m = random.matrix<TypeParam>();
            auto factors = m;
            int index[n];
            MatElement<TypeParam> d;
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
            const double epsilon = std::numeric_limits<MatElement<TypeParam>>::epsilon();
            EXPECT_LE(largestDifference(lower * upper, permuted), 8 * epsilon);
            EXPECT_NEAR(determinant, m.det(), 16 * epsilon);
        }
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

    ZbVec3d v(1, 2, 3), w = v;
    const ZbMat3d counting(1, 2, 3, 4, 5, 6, 7, 8, 9);
    counting.multVecMatrix(v, v);
    EXPECT_EQ(v, ZbVec3d(30, 36, 42));
    counting.multMatrixVec(w, w);
    EXPECT_EQ(w, ZbVec3d(14, 32, 50));

    std::ostringstream stream;
    stream << ZbMat3d(1, 2.5, -3, 4, 5, 6, 7, 8, 1e-9);
    EXPECT_EQ(stream.str(), "1 2.5 -3 4 5 6 7 8 1e-09");
}

TEST(ZbMat4, transformsPointsAndDirections)
{
    ZbMat4d m(1, 2, 3, 1, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1);
    ZbVec3d v(1, 2, 3);
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

    m.setTranslate(ZbVec3d(4, -5, 6));
    m.multVecMatrix(ZbVec3d(0, 0, 0), v);
    EXPECT_EQ(v, ZbVec3d(4, -5, 6));
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
    EXPECT_EQ(ZbVec3f(m.multRight(translation)[3]), ZbVec3f(1, 1, 1));
    m = scale;
    EXPECT_EQ(ZbVec3f(m.multLeft(translation)[3]), ZbVec3f(2, 3, 4));
    m.setScale(2);
    EXPECT_EQ(m.multLeft(m), ZbMat4f(4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1));
}

TYPED_TEST(ZbMat4Of, arrayFormsAreThoseForOneVector)
{
    using Vec = ZbVec3<TypeParam>;
    RandomNumbers random(3);
    const auto m = random.matrix<ZbMat4<TypeParam>>();
    for (const long count : {0, 1, 2, 7, 8, 9, 127, 128, 129, 300}) {
        SCOPED_TRACE(count);
        std::vector<Vec> source(size_t(count) + 1, Vec(77, 77, 77));
        for (long i = 0; i < count; ++i)
            source[size_t(i)] = random.vector<Vec>(-9, 9);
        const auto check = [&](auto transform) {
            std::vector<Vec> expected = source, target(source.size(), Vec(77, 77, 77)), same = source;
            transform(source.data(), target.data(), count);
            transform(same.data(), same.data(), count);
            for (size_t i = 0; i < size_t(count); ++i)
                transform(source[i], expected[i]);
            EXPECT_EQ(target, expected);
            EXPECT_EQ(same, expected);
        };
        check([&](auto&&... vectors) { m.multVecMatrix(vectors...); });
        check([&](auto&&... vectors) { m.multMatrixVec(vectors...); });
        check([&](auto&&... vectors) { m.multDirMatrix(vectors...); });
    }
    const Vec* const none = nullptr;
    m.multVecMatrix(none, static_cast<Vec*>(nullptr), 0);
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
    const auto isInverted = [](const auto& m) {
        const auto untouched = m * 5;
        auto result = untouched;
        const bool isDone = m.affine_inverse(m, result);
        EXPECT_EQ(isDone, result != untouched);
        return isDone;
    };
    ZbMat4f m(2, 0, 0, 0, 0, 0, 4, 0, 0, 8, 0, 0, 1, 2, 3, 1);
    const ZbMat4f inverse(0.5, 0, 0, 0, 0, 0, 0.125, 0, 0, 0.25, 0, 0, -0.5, -0.75, -0.25, 1);
    EXPECT_TRUE(isInverted(m));
    EXPECT_EQ(m.inverse(), inverse);
    ZbMat4f::affine_inverse(m, m);
    EXPECT_EQ(m, inverse);
    for (int i = 0; i < 4; ++i) {
        ZbMat4f other = m;
        other[i][3] += 1e-6f;
        EXPECT_FALSE(isInverted(other)) << i;
    }
    // Singular: exactly, as far as double can tell (2^-50 over 2 is below 1e-15), and with no products at all.
    EXPECT_FALSE(isInverted(ZbMat4f(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 1, 1, 1, 1)));
    EXPECT_FALSE(isInverted(ZbMat4f(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1)));
    EXPECT_FALSE(isInverted(ZbMat4d(1, 1, 0, 0, 1, 1 + 0x1p-50, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)));
    EXPECT_TRUE(isInverted(ZbMat4d(1, 1, 0, 0, 1, 1 + 0x1p-48, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1)));
}

TEST(ZbMat4, failedInverseIsTheWorkingCopy)
{
    // Rows are exchanged, then the second column has no pivot.
    const ZbMat4d m(1, 1, 2, 3, 4, 4, 8, 16, 2, 2, 0, 0, 0, 0, 1, 2);
    EXPECT_EQ(m.inverse(), ZbMat4d(4, 4, 8, 16, 0.25, 0, 0, -1, 0.5, 0, -4, -8, 0, 0, 1, 2));
    // Affine but singular: the block is found to be singular first, then the factors fail as well.
    const ZbMat4d zero(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 1);
    EXPECT_EQ(zero.inverse(), ZbMat4d(1, 2, 3, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TYPED_TEST(ZbMat4Of, inverseIsThatOfTheFactors)
{
    RandomNumbers random(8);
    for (int round = 0; round < 300; ++round) {
        auto m = random.matrix<ZbMat4<TypeParam>>();
        for (int i = 0; round % 2 == 1 && i < 16; ++i)
            m[i / 4][i % 4] = std::round(m[i / 4][i % 4] * 2);  // ties, and elements of 0
        auto factors = m, expected = m;
        int index[4];
        TypeParam d;
        if (factors.LUDecomposition(index, d)) {
            for (int j = 0; j < 4; ++j) {
                TypeParam column[4] = {};
                column[j] = 1;
                factors.LUBackSubstitution(index, column);
                for (int i = 0; i < 4; ++i)
                    expected[i][j] = column[i];
            }
        } else {
            expected = factors;
        }
        EXPECT_EQ(m.inverse(), expected);
    }
}

TEST(ZbMat4, printsAlignedRows)
{
    const ZbMat4f m(1, -2.5f, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 1234567, 1e-10f);
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

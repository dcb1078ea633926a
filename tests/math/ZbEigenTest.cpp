#include <zblib/math/ZbMat2d.h>
#include <zblib/math/ZbMat3_EigenAnalysis.h>
#include <zblib/math/ZbMat3d.h>
#include <zblib/math/ZbMat3f.h>
#include <zblib/math/ZbMat4d.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>

namespace
{

template <typename T>
class ZbEigen : public testing::Test
{
public:
    static constexpr T epsilon = std::numeric_limits<T>::epsilon();

    T uniform(T low, T high) { return std::uniform_real_distribution<T>(low, high)(m_generator); }

    ZbMat3<T> randomMatrix()
    {
        ZbMat3<T> m;
        for (int i = 0; i < 3; ++i)
            std::generate(m[i], m[i] + 3, [&] { return uniform(-1, 1); });
        return m;
    }

    // A symmetric matrix with the given eigenvalues, as far as rounding lets it have them.
    ZbMat3<T> symmetricMatrix(const ZbVec3<T>& values)
    {
        ZbVec3<T> axes[3];
        axes[0] = ZbVec3<T>(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1));
        axes[0].normalize();
        axes[1] = axes[0].cross(ZbVec3<T>(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)));
        axes[1].normalize();
        axes[2] = axes[0].cross(axes[1]);
        ZbMat3<T> m(T(0));
        for (int i = 0; i < 3; ++i) {
            for (int j = i; j < 3; ++j) {
                for (int k = 0; k < 3; ++k)
                    m[i][j] += values[k] * axes[k][i] * axes[k][j];
                m[j][i] = m[i][j];
            }
        }
        return m;
    }

    static T largest(const ZbMat3<T>& m)
    {
        T size = 0;
        for (int i = 0; i < 9; ++i)
            size = std::max(size, std::fabs(m[i / 3][i % 3]));
        return size;
    }

private:
    std::mt19937 m_generator{7};
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbEigen, Reals);

}  // namespace

TYPED_TEST(ZbEigen, jacobiDiagonalizesSymmetricMatrices)
{
    using Vec = ZbVec3<TypeParam>;
    for (int round = 0; round < 1000; ++round) {
        Vec spectrum(this->uniform(-1, 1), this->uniform(-1, 1), this->uniform(-1, 1));
        if (round % 4 == 1)
            spectrum.y =
                spectrum.x * (1 + TypeParam(round % 3) * 4 * this->epsilon);  // nearly or quite equal
        if (round % 4 == 2)
            spectrum = Vec(TypeParam(1e12), spectrum.y, TypeParam(1e-12));
        if (round % 4 == 3)
            spectrum *= TypeParam(1e-12);
        ZbMat3<TypeParam> m = this->symmetricMatrix(spectrum);
        if (round % 8 == 4)
            m[2][1] = m[1][0] = m[2][0] = 99;  // only the upper triangle is read
        TypeParam values[3];
        Vec vectors[3];
        int rotations = -1;
        m.jacobi(values, vectors, rotations);
        m = ZbMat3<TypeParam>(m[0][0], m[0][1], m[0][2], m[0][1], m[1][1], m[1][2], m[0][2], m[1][2],
                              m[2][2]);
        EXPECT_GT(rotations, 0);
        EXPECT_LT(rotations, 20);
        for (int i = 0; i < 3; ++i) {
            Vec image;
            m.multMatrixVec(vectors[i], image);
            EXPECT_LE(image.distance(vectors[i] * values[i]), 8 * this->epsilon * this->largest(m));
            for (int j = 0; j < 3; ++j)
                EXPECT_NEAR(vectors[i].dot(vectors[j]), i == j, 8 * this->epsilon);
        }
        EXPECT_GT(vectors[0].cross(vectors[1]).dot(vectors[2]), 0);

        ZbMat4<TypeParam> embedded(m[0][0], m[0][1], m[0][2], 7, m[1][0], m[1][1], m[1][2], 7, m[2][0],
                                   m[2][1], m[2][2], 7, 7, 7, 7, 7);
        TypeParam valuesOf4[3];
        Vec vectorsOf4[3];
        embedded.jacobi3(valuesOf4, vectorsOf4, rotations);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(valuesOf4[i], values[i]);
            EXPECT_EQ(vectorsOf4[i], vectors[i]);
        }
    }
}

TYPED_TEST(ZbEigen, jacobiWritesADiagonalAsItIs)
{
    TypeParam values[3] = {};
    ZbVec3<TypeParam> vectors[3];
    int rotations = -1;
    ZbMat3<TypeParam>(3, 0, 0, 0, -7, 0, 0, 0, 5).jacobi(values, vectors, rotations);
    EXPECT_EQ(ZbVec3<TypeParam>(values), (ZbVec3<TypeParam>(3, -7, 5)));  // not sorted
    EXPECT_EQ(vectors[1], (ZbVec3<TypeParam>(0, 1, 0)));
    EXPECT_EQ(rotations, 0);
}

TYPED_TEST(ZbEigen, jacobiGivesUpAfterFiftySweeps)
{
    TypeParam values[3] = {};
    const ZbVec3<TypeParam> untouched(1, 2, 3);
    ZbVec3<TypeParam> vectors[3] = {untouched, untouched, untouched};
    int rotations = 0;
    testing::internal::CaptureStderr();
    ZbMat3<TypeParam>(1, std::numeric_limits<TypeParam>::quiet_NaN(), 0, 0, 2, 0, 0, 0, 3)
        .jacobi(values, vectors, rotations);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Too many iterations in routine jacobi\n");
    EXPECT_EQ(vectors[0], untouched);
    EXPECT_EQ(vectors[2], untouched);
    EXPECT_EQ(values[2], 3);
}

TYPED_TEST(ZbEigen, closedFormSolvesAnyMatrix)
{
    using T = TypeParam;
    using Complex = std::complex<T>;
    int realCounts[4] = {};
    for (int round = 0; round < 1000; ++round) {
        const ZbMat3<T> m = this->randomMatrix();
        T values[3];
        ZbVec3<T> vectors[3];
        const int count = m.solveEigenSystem(values, vectors);
        ++realCounts[count];
        // Nearly equal eigenvalues have no vectors of their own.
        const T gap =
            count == 3 ? std::min(values[0] - values[1], values[1] - values[2]) : std::fabs(values[2]);
        if (gap < T(0.1))
            continue;
        const auto expectEigenvector = [&](const Complex& value, const ZbVec3<T>& real,
                                           const ZbVec3<T>& imaginary) {
            Complex v[3], error = 0;
            T size = 1;
            for (int i = 0; i < 3; ++i) {
                v[i] = Complex(real[i], imaginary[i]);
                size = std::max(size, std::abs(v[i]));
            }
            EXPECT_EQ(std::count(v, v + 3, Complex(1)), 1);
            for (int i = 0; i < 3; ++i)
                error = std::max(std::abs(error),
                                 std::abs(m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2] - value * v[i]));
            EXPECT_LE(std::abs(error), 1e5 * this->epsilon * size);  // sums of cube roots cancel
        };
        const ZbVec3<T> zero(0, 0, 0);
        expectEigenvector(values[0], vectors[0], zero);
        if (count == 3) {
            EXPECT_GT(values[0], values[1]);
            EXPECT_GT(values[1], values[2]);
            expectEigenvector(values[1], vectors[1], zero);
            expectEigenvector(values[2], vectors[2], zero);
        } else {
            EXPECT_EQ(count, 1);
            expectEigenvector(Complex(values[1], values[2]), vectors[1], vectors[2]);
        }
    }
    EXPECT_GT(realCounts[1], 100);
    EXPECT_GT(realCounts[3], 100);
}

TYPED_TEST(ZbEigen, closedFormOfSpecialMatrices)
{
    using Mat = ZbMat3<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    TypeParam values[3];
    Vec vectors[3];
    EXPECT_EQ(Mat(1, 0, 0, 0, 2, 0, 0, 0, 3).solveEigenSystem(values, vectors), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(values[i], 3 - i, 4 * this->epsilon);
        EXPECT_EQ(vectors[i][2 - i], 1);
        EXPECT_NEAR(vectors[i].length(), 1, 8 * this->epsilon);
    }
    EXPECT_EQ(Mat(1, 0, 0, 0, 1, 0, 0, 0, 1).solveEigenSystem(values, vectors), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(values[i], 1);
        EXPECT_FALSE(std::isfinite(vectors[i].length()));  // no pivot to divide by
    }
    // A quarter turn about z.
    EXPECT_EQ(Mat(0, -1, 0, 1, 0, 0, 0, 0, 1).solveEigenSystem(values, vectors), 1);
    EXPECT_NEAR(values[0], 1, 4 * this->epsilon);
    EXPECT_NEAR(values[1], 0, 4 * this->epsilon);
    EXPECT_NEAR(values[2], 1, 4 * this->epsilon);
    EXPECT_LE(vectors[0].distance(Vec(0, 0, 1)), 4 * this->epsilon);
    // The vector (x, y, 0) of i becomes (-y, x, 0) = i (x, y, 0); one of the two is 1.
    const std::complex<TypeParam> x(vectors[1].x, vectors[2].x), y(vectors[1].y, vectors[2].y);
    EXPECT_LE(std::abs(x - std::complex<TypeParam>(0, 1) * y), 8 * this->epsilon);
    EXPECT_NE(x == TypeParam(1), y == TypeParam(1));
    EXPECT_LE(std::fabs(vectors[1].z) + std::fabs(vectors[2].z), 8 * this->epsilon);
}

TYPED_TEST(ZbEigen, cubicRoots)
{
    using T = TypeParam;
    T r1, r2, r3;
    // (x - 2)^3, exactly.
    EXPECT_EQ(ZbMat3_EigenAnalysis::solveCubic(T(-6), T(12), T(-8), r1, r2, r3), 3);
    EXPECT_EQ(r1, 2);
    EXPECT_EQ(r2, 2);
    EXPECT_EQ(r3, 2);
    // (x - 4) (x + 2)^2 = x^3 - 12 x - 16: the single root first.
    EXPECT_EQ(ZbMat3_EigenAnalysis::solveCubic(T(0), T(-12), T(-16), r1, r2, r3), 3);
    EXPECT_EQ(r1, 4);
    EXPECT_EQ(r2, -2);
    EXPECT_EQ(r3, -2);
    // (x - 1) (x^2 + 1).
    EXPECT_EQ(ZbMat3_EigenAnalysis::solveCubic(T(-1), T(1), T(-1), r1, r2, r3), 1);
    EXPECT_NEAR(r1, 1, 4 * this->epsilon);
    EXPECT_NEAR(r2, 0, 4 * this->epsilon);
    EXPECT_NEAR(std::fabs(r3), 1, 4 * this->epsilon);
    // (x - 3) x (x + 5).
    EXPECT_EQ(ZbMat3_EigenAnalysis::solveCubic(T(2), T(-15), T(0), r1, r2, r3), 3);
    EXPECT_NEAR(r1, 3, 16 * this->epsilon);
    EXPECT_NEAR(r2, 0, 16 * this->epsilon);
    EXPECT_NEAR(r3, -5, 16 * this->epsilon);
    // The epsilon is absolute: small coefficients all count as a triple root.
    EXPECT_EQ(ZbMat3_EigenAnalysis::solveCubic(T(0), -this->epsilon / 4, T(0), r1, r2, r3), 3);
    EXPECT_EQ(r1, 0);
    EXPECT_EQ(r3, 0);

    T a, b, c;
    const T m[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 10}};
    ZbMat3_EigenAnalysis::charPolynom3(m, a, b, c);
    EXPECT_EQ(a, -16);
    EXPECT_EQ(b, -12);
    EXPECT_EQ(c, 3);
}

TEST(ZbMat3_EigenAnalysis, findsTheFirstLargestElement)
{
    using ZbMat3_EigenAnalysis::maxElement;
    double m[3][3] = {{1, -9, 9}, {3, 4, -5}, {6, 5, -5}};
    EXPECT_EQ(maxElement(m, 0), std::pair(0, 1));
    EXPECT_EQ(maxElement(m, 1), std::pair(1, 2));
    EXPECT_EQ(maxElement(m, 2), std::pair(2, 2));
    ZbMat3_EigenAnalysis::swapRows(m, 0, 2);
    ZbMat3_EigenAnalysis::swapColumns(m, 0, 1);
    EXPECT_EQ(m[0][0], 5);
    EXPECT_EQ(m[2][1], 1);
    const std::complex<float> z[3][3] = {{{3, 4}, 0, 0}, {0, 0, {0, -5.5f}}, {5, 0, 0}};
    EXPECT_EQ(maxElement(z, 0), std::pair(1, 2));
    EXPECT_EQ(ZbMat3_EigenAnalysis::val2(z[0][0]), 25);
    EXPECT_EQ(ZbMat3_EigenAnalysis::sqr(-3), 9);
    // (0 0 i / 0 3 0 / i 0 0) has the vector (1, 0, 1) for i, and (1, 0, -1) for -i.
    const std::complex<double> i(0, 1), symmetric[3][3] = {{0, 0, i}, {0, 3, 0}, {i, 0, 0}};
    std::complex<double> v[3];
    ZbMat3_EigenAnalysis::computeEV(symmetric, -i, v);
    EXPECT_EQ(v[0] / v[2], -1.0);
    EXPECT_EQ(v[1], 0.0);
    EXPECT_EQ(ZbMat3_EigenAnalysis::cube(-3), -27);
}

TYPED_TEST(ZbEigen, twoByTwo)
{
    using T = TypeParam;
    using Vec = ZbVec2<T>;
    Vec e1, e2;
    ZbMat2<T>(0, -1, 1, 0).calcComplexEigenValues(e1, e2);
    EXPECT_EQ(e1, Vec(0, 1));
    EXPECT_EQ(e2, Vec(0, -1));
    ZbMat2<T>(1, 2, 3, 2).calcComplexEigenValues(e1, e2);
    EXPECT_EQ(e1, Vec(4, 0));
    EXPECT_EQ(e2, Vec(-1, 0));

    for (int round = 0; round < 200; ++round) {
        ZbMat2<T> m(this->uniform(-1, 1), this->uniform(-1, 1), this->uniform(-1, 1), this->uniform(-1, 1));
        if (round % 4 == 1)
            m[0][1] = 0;
        if (round % 4 == 2)
            m[1][0] = 0;
        m.calcComplexEigenValues(e1, e2);
        if (e1.y != 0)
            continue;
        Vec v1, v2;
        m.calcEigenVectors(e1.x, e2.x, v1, v2);
        EXPECT_GT(v1.length() * v2.length(), 0);
        EXPECT_LE((m * v1).distance(v1 * e1.x), 16 * this->epsilon);
        EXPECT_LE((m * v2).distance(v2 * e2.x), 16 * this->epsilon);
    }
    Vec v1, v2;
    ZbMat2<T>(3, 0, 0, 3).calcEigenVectors(3, 3, v1, v2);
    EXPECT_EQ(v1, Vec(1, 0));
    EXPECT_EQ(v2, Vec(0, 1));
}

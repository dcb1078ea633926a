#include <zblib/math/ZbMat2d.h>
#include <zblib/math/ZbMat3_EigenAnalysis.h>
#include <zblib/math/ZbMat3d.h>
#include <zblib/math/ZbMat3f.h>
#include <zblib/math/ZbMat4d.h>

#include "tests/support/RandomNumbers.h"

#include <gtest/gtest.h>

#include <complex>
#include <limits>

namespace
{

// The steps as they are told, on a whole matrix. Returns the number of rotations.
template <typename T>
int jacobiPlain(ZbMat3<T> a, T (&d)[3], ZbMat3<T>& v)
{
    T b[3], z[3] = {};
    for (int i = 0; i < 3; ++i)
        d[i] = b[i] = a[i][i];
    v = ZbMat3<T>(1, 0, 0, 0, 1, 0, 0, 0, 1);
    for (int sweep = 0, count = 0;; ++sweep) {
        const T sum = std::fabs(a[0][1]) + std::fabs(a[0][2]) + std::fabs(a[1][2]);
        if (sum == 0)
            return count;
        for (const auto& [p, q] : {std::pair(0, 1), std::pair(0, 2), std::pair(1, 2)}) {
            const T g = 100 * std::fabs(a[p][q]);
            if (sweep > 4 && std::fabs(d[p]) + g == std::fabs(d[p]) &&
                std::fabs(d[q]) + g == std::fabs(d[q])) {
                a[p][q] = 0;
            } else if (std::fabs(a[p][q]) > (sweep < 4 ? T(0.2) * sum / 9 : 0)) {
                T h = d[q] - d[p], t = a[p][q] / h;
                if (std::fabs(h) + g != std::fabs(h)) {
                    const T theta = T(0.5) * h / a[p][q];
                    t = 1 / (std::fabs(theta) + std::sqrt(theta * theta + 1));
                    t = theta < 0 ? -t : t;
                }
                const T c = 1 / std::sqrt(t * t + 1), s = t * c, tau = s / (1 + c);
                h = t * a[p][q];
                z[p] -= h;
                z[q] += h;
                d[p] -= h;
                d[q] += h;
                a[p][q] = 0;
                const auto rotate = [s, tau](T& x, T& y) {
                    const T first = x, second = y;
                    x = first - s * (second + first * tau);
                    y = second + s * (first - second * tau);
                };
                const int o = 3 - p - q;
                rotate(a[std::min(o, p)][std::max(o, p)], a[std::min(o, q)][std::max(o, q)]);
                for (int i = 0; i < 3; ++i)
                    rotate(v[i][p], v[i][q]);
                ++count;
            }
        }
        for (int i = 0; i < 3; ++i) {
            d[i] = b[i] += z[i];
            z[i] = 0;
        }
    }
}

template <typename T>
class ZbEigen : public testing::Test
{
public:
    static constexpr T epsilon = std::numeric_limits<T>::epsilon();

    ZbVec3<T> randomDirection()
    {
        auto v = random.vector<ZbVec3<T>>();
        v.normalize();
        return v;
    }

    // A symmetric matrix with the given eigenvalues, as far as rounding lets it have them.
    ZbMat3<T> symmetricMatrix(const ZbVec3<T>& values)
    {
        ZbVec3<T> axes[3] = {randomDirection(), randomDirection()};
        axes[1] = axes[0].cross(axes[1]);
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

    RandomNumbers random{7};
    T eigenvalues[3] = {};
    ZbVec3<T> eigenvectors[3];
    int rotations = -1;
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbEigen, Reals);

}  // namespace

TYPED_TEST(ZbEigen, jacobiDiagonalizesSymmetricMatrices)
{
    using T = TypeParam;
    using Vec = ZbVec3<T>;
    for (int round = 0; round < 1000; ++round) {
        auto spectrum = this->random.template vector<Vec>();
        if (round % 4 == 1)
            spectrum.y = spectrum.x * (1 + T(round % 3) * 4 * this->epsilon);  // nearly or quite equal
        if (round % 4 == 2)
            spectrum = Vec(T(1e12), spectrum.y, T(1e-12));
        if (round % 4 == 3)
            spectrum *= T(1e-12);
        ZbMat3<T> m = this->symmetricMatrix(spectrum), v;
        if (round % 16 == 4)
            m = ZbMat3<T>(1, T(-round), 0, T(-round), 1, 0, 0, 0, 2);  // theta is 0
        ZbMat3<T> upper = m;
        if (round % 8 == 4)
            upper[2][1] = upper[1][0] = upper[2][0] = 99;  // only the upper triangle is read
        T expected[3];
        upper.jacobi(this->eigenvalues, this->eigenvectors, this->rotations);
        EXPECT_EQ(this->rotations, jacobiPlain(m, expected, v));
        EXPECT_TRUE(std::equal(expected, expected + 3, this->eigenvalues));
        const double size = largestDifference(m, ZbMat3<T>(T(0)));
        for (int i = 0; i < 3; ++i) {
            const Vec& vector = this->eigenvectors[i];
            EXPECT_EQ(vector, Vec(v[0][i], v[1][i], v[2][i]));
            Vec image;
            m.multMatrixVec(vector, image);
            EXPECT_LE(image.distance(vector * expected[i]), 8 * this->epsilon * size);
            for (int j = 0; j < 3; ++j)
                EXPECT_NEAR(vector.dot(this->eigenvectors[j]), i == j, 8 * this->epsilon);
        }

        const ZbMat4<T> embedded(m[0][0], m[0][1], m[0][2], 7, m[1][0], m[1][1], m[1][2], 7, m[2][0], m[2][1],
                                 m[2][2], 7, 7, 7, 7, 7);
        T valuesOf4[3];
        Vec vectorsOf4[3];
        embedded.jacobi3(valuesOf4, vectorsOf4, this->rotations);
        EXPECT_TRUE(std::equal(valuesOf4, valuesOf4 + 3, expected));
        EXPECT_TRUE(std::equal(vectorsOf4, vectorsOf4 + 3, this->eigenvectors));
    }
}

TYPED_TEST(ZbEigen, jacobiOfDiagonalsAndOfWhatIsNoNumber)
{
    using T = TypeParam;
    using Vec = ZbVec3<T>;
    ZbMat3<T>(3, 0, 0, 0, -7, 0, 0, 0, 5).jacobi(this->eigenvalues, this->eigenvectors, this->rotations);
    EXPECT_EQ(Vec(this->eigenvalues), Vec(3, -7, 5));  // not sorted
    EXPECT_EQ(this->eigenvectors[1], Vec(0, 1, 0));
    EXPECT_EQ(this->rotations, 0);

    std::fill(this->eigenvectors, this->eigenvectors + 3, Vec(1, 2, 3));
    testing::internal::CaptureStderr();
    ZbMat3<T>(1, std::numeric_limits<T>::quiet_NaN(), 0, 0, 2, 0, 0, 0, 3)
        .jacobi(this->eigenvalues, this->eigenvectors, this->rotations);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Too many iterations in routine jacobi\n");
    EXPECT_EQ(std::count(this->eigenvectors, this->eigenvectors + 3, Vec(1, 2, 3)), 3);  // untouched
    EXPECT_EQ(this->eigenvalues[2], 3);
}

TYPED_TEST(ZbEigen, closedFormSolvesAnyMatrix)
{
    using T = TypeParam;
    using Complex = std::complex<T>;
    auto& values = this->eigenvalues;
    auto& vectors = this->eigenvectors;
    int realCounts[4] = {};
    for (int round = 0; round < 1000; ++round) {
        const auto m = this->random.template matrix<ZbMat3<T>>();
        const int count = m.solveEigenSystem(values, vectors);
        ++realCounts[count];
        // Nearly equal eigenvalues have no vectors of their own.
        const T gap =
            count == 3 ? std::min(values[0] - values[1], values[1] - values[2]) : std::fabs(values[2]);
        if (gap < T(0.1))
            continue;
        const auto expectEigenvector = [&](const Complex& value, const ZbVec3<T>& real,
                                           const ZbVec3<T>& imaginary) {
            Complex v[3];
            T size = 1, error = 0;
            for (int i = 0; i < 3; ++i) {
                v[i] = Complex(real[i], imaginary[i]);
                size = std::max(size, std::abs(v[i]));
            }
            EXPECT_EQ(std::count(v, v + 3, Complex(1)), 1);
            for (int i = 0; i < 3; ++i)
                error = std::max(error,
                                 std::abs(m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2] - value * v[i]));
            EXPECT_LE(error, 1e5 * this->epsilon * size);  // sums of cube roots cancel
        };
        const ZbVec3<T> zero(0, 0, 0);
        expectEigenvector(values[0], vectors[0], zero);
        if (count == 3) {
            EXPECT_GT(gap, 0);
            expectEigenvector(values[1], vectors[1], zero);
            expectEigenvector(values[2], vectors[2], zero);
        } else {
            expectEigenvector(Complex(values[1], values[2]), vectors[1], vectors[2]);
        }
    }
    EXPECT_GT(std::min(realCounts[1], realCounts[3]), 100);
}

TYPED_TEST(ZbEigen, closedFormOfSpecialMatrices)
{
    using Mat = ZbMat3<TypeParam>;
    auto& values = this->eigenvalues;
    auto& vectors = this->eigenvectors;
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
    EXPECT_LE(ZbVec3<TypeParam>(values).distance(ZbVec3<TypeParam>(1, 0, 1)), 4 * this->epsilon);
    EXPECT_LE(vectors[0].distance(ZbVec3<TypeParam>(0, 0, 1)), 4 * this->epsilon);
    // The vector (x, y, 0) of i becomes (-y, x, 0) = i (x, y, 0); one of the two is 1.
    const std::complex<TypeParam> x(vectors[1].x, vectors[2].x), y(vectors[1].y, vectors[2].y);
    EXPECT_LE(std::abs(x - std::complex<TypeParam>(0, 1) * y), 8 * this->epsilon);
    EXPECT_NE(x == TypeParam(1), y == TypeParam(1));
    EXPECT_LE(std::fabs(vectors[1].z) + std::fabs(vectors[2].z), 8 * this->epsilon);
}

TYPED_TEST(ZbEigen, cubicRoots)
{
    using T = TypeParam;
    const struct {
        T coefficients[3];
        int count;
        ZbVec3<T> roots;
        int tolerance;
    } cases[] = {
        {{-6, 12, -8}, 3, {2, 2, 2}, 0},                // (x - 2)^3, exactly
        {{0, -12, -16}, 3, {4, -2, -2}, 0},             // (x - 4) (x + 2)^2: the single root first
        {{-1, 1, -1}, 1, {1, 0, 1}, 4},                 // (x - 1) (x^2 + 1)
        {{2, -15, 0}, 3, {3, 0, -5}, 16},               // (x - 3) x (x + 5)
        {{0, -this->epsilon / 4, 0}, 3, {0, 0, 0}, 0},  // the epsilon is absolute
    };
    for (const auto& [k, count, roots, tolerance] : cases) {
        ZbVec3<T> r;
        EXPECT_EQ(ZbMat3_EigenAnalysis::solveCubic(k[0], k[1], k[2], r.x, r.y, r.z), count);
        r.z = count == 1 ? std::fabs(r.z) : r.z;
        EXPECT_LE(r.distance(roots), T(tolerance) * this->epsilon);
    }
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
        auto m = this->random.template matrix<ZbMat2<T>>();
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

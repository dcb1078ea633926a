#include <zblib/math/ZbVec2f.h>
#include <zblib/math/ZbVec3d.h>
#include <zblib/math/ZbVec3i.h>
#include <zblib/math/ZbVec4f.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <numbers>

template class ZbVec2<float>;
template class ZbVec3<double>;
template class ZbVec3<int>;
template class ZbVec4<float>;

namespace
{

constexpr double pi = std::numbers::pi;

template <typename T>
class ZbVec : public testing::Test
{
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbVec, Reals);

}  // namespace

// All of this can be computed by the compiler.
static_assert(ZbVec3f(1, 2, 3).cross(ZbVec3f(4, 5, 6)) == ZbVec3f(-3, 6, -3));
static_assert(ZbVec2f(1, 2).cross(ZbVec2f(3, 4)) == -2);
static_assert(ZbVec4d(1, 2, 3, 4).compprod(ZbVec4d(5, 6, 7, 8)).compquot(ZbVec4d(5, 6, 7, 8))[3] == 4);
static_assert(ZbVec3d(ZbVec3f(1, 2, 3)).length2() == 14 &&
              2.f * ZbVec2f(1, 2) - ZbVec2f(1, 1) == ZbVec2f(1, 3));

TYPED_TEST(ZbVec, measuresLengths)
{
    using T = TypeParam;
    EXPECT_EQ(ZbVec2<T>(3, -4).length(), 5);
    EXPECT_EQ((ZbVec3<T>(1, 2, 3).distance(ZbVec3<T>(3, 5, 9))), 7);
    EXPECT_EQ(ZbVec4<T>(2, 4, 5, 6).length(), 9);
    EXPECT_EQ(ZbVec3i(2, 3, 6).length(), 7);

    EXPECT_EQ(ZbVec2<T>(3, -4).infnorm(), 4);
    EXPECT_EQ(ZbVec3<T>(-5, 4, 3).infnorm(), 5);
    EXPECT_EQ(ZbVec3<T>(-5, 4, 6).infnorm(), 6);
    EXPECT_EQ(ZbVec3<T>(1, -2, -6).infnorm(), 2);  // z with its sign
    EXPECT_EQ(ZbVec3i(0, 0, -6).infnorm(), 0);
    EXPECT_EQ(ZbVec3i(1, INT_MIN, 2).infnorm(), INT_MAX);  // the nearest there is
}

TYPED_TEST(ZbVec, normalizesAllButZero)
{
    using T = TypeParam;
    ZbVec2<T> two(0, -2);
    ZbVec3<T> three(2, 3, 6);
    ZbVec4<T> four(0, 0, 0, 0);
    two.normalize();
    three.normalize();
    four.normalize();
    EXPECT_EQ(two, (ZbVec2<T>(0, -1)));
    EXPECT_EQ(three, (ZbVec3<T>(T(2) / 7, T(3) / 7, T(6) / 7)));  // quotients, not products with 1 / 7
    EXPECT_EQ(four, (ZbVec4<T>(0, 0, 0, 0)));
}

TYPED_TEST(ZbVec, anglesAreInDouble)
{
    using Vec = ZbVec3<TypeParam>;
    EXPECT_EQ(Vec(1, 2, 3).angle(Vec(0, 0, 0)), pi / 2);
    EXPECT_EQ((ZbVec2<TypeParam>(0, 0).angle(ZbVec2<TypeParam>(0, 0))), pi / 2);
    EXPECT_DOUBLE_EQ(Vec(1, 0, 0).angle(Vec(-1, -1, 0)), 3 * pi / 4);
    EXPECT_DOUBLE_EQ((ZbVec2<TypeParam>(0, 2).angle(ZbVec2<TypeParam>(3, 3))), pi / 4);
    // Some of these cosines are larger than 1 by rounding. None may become a NaN.
    for (int i = 1; i < 200; ++i) {
        const Vec a(TypeParam(0.1) * TypeParam(i), TypeParam(1) / TypeParam(3), TypeParam(-0.7));
        EXPECT_NEAR(a.angle(a * 2), 0, 1e-7);
        EXPECT_NEAR(a.angle(a * -2), pi, 1e-7);
    }
    EXPECT_EQ(Vec(1, 1, 1).angle(Vec(2, 2, 2)), 0);  // sqrt(3) * sqrt(12) rounds to less than 6
    EXPECT_EQ(Vec(1, 1, 1).angle(Vec(-2, -2, -2)), pi);
    EXPECT_DOUBLE_EQ(ZbVec3i(INT_MAX, 0, 0).angle(ZbVec3i(INT_MAX, INT_MAX, 0)), pi / 4);
}

TYPED_TEST(ZbVec, comparesWithTolerance)
{
    using T = TypeParam;
    const T above = std::nextafter(T(5), T(6));
    EXPECT_TRUE((ZbVec2<T>(1, 1).equals(ZbVec2<T>(4, 5), 5)));
    EXPECT_FALSE((ZbVec2<T>(0, 0).equals(ZbVec2<T>(0, above), 5)));
    EXPECT_TRUE((ZbVec4<T>(1, 1, 0, 0).equals(ZbVec4<T>(1, 1, 3, -4), -5)));  // only the square counts
    const ZbVec3<T> a(0, 0, 4), b(0, 3, 4);
    EXPECT_TRUE(a.equalsRelative(b, T(0.6)));  // 3 is 0.6 of the longer one
    EXPECT_TRUE(b.equalsRelative(a, T(0.6)));
    EXPECT_FALSE(a.equalsRelative(b, T(0.59)));
    EXPECT_EQ(a.lerp(b, T(0.25)), (ZbVec3<T>(0, T(0.75), 4)));
    EXPECT_TRUE(std::isnan((ZbVec3<T>(std::numeric_limits<T>::max(), 0, 0)
                                .lerp(ZbVec3<T>(-std::numeric_limits<T>::max(), 0, 0), 0)
                                .x)));  // a + t * (v - a), not a blend of both
}

TEST(ZbVec3, closestAxis)
{
    const struct {
        ZbVec3d v, axis;
    } cases[] = {{{1, 1, 0}, {1, 0, 0}},   {{0, 0, 0}, {1, 0, 0}},      {{-3, 2, 2}, {-1, 0, 0}},
                 {{-3, 3, 0}, {-1, 0, 0}}, {{0, 0.1, -0.1}, {0, 1, 0}}, {{0, -2, 1}, {0, -1, 0}},
                 {{1, -2, 3}, {0, 0, 1}},  {{1, 2, -3}, {0, 0, -1}}};
    for (const auto& [v, axis] : cases) {
        EXPECT_EQ(v.getClosestAxis(), axis) << v.x << ' ' << v.y << ' ' << v.z;
        EXPECT_EQ(ZbVec3f(v).getClosestAxis(), ZbVec3f(axis));
    }
    EXPECT_EQ(ZbVec3i(1, -2, 0).getClosestAxis(), ZbVec3i(0, -1, 0));
    EXPECT_EQ(ZbVec3i(INT_MAX, INT_MIN, 0).getClosestAxis(), ZbVec3i(0, -1, 0));
}

TEST(ZbVec3, roundsIntoIntegers)
{
    const float infinity = std::numeric_limits<float>::infinity();
    ZbVec3i v;
    v.setFloor(ZbVec3f(-1.5f, 2.75f, 3));
    EXPECT_EQ(v, ZbVec3i(-2, 2, 3));
    v.setCeil(ZbVec3d(-1.5, 2.25, 3));
    EXPECT_EQ(v, ZbVec3i(-1, 3, 3));
    v.setFloor(ZbVec3f(3e9f, -infinity, std::nanf("")));
    EXPECT_EQ(v, ZbVec3i(INT_MAX, INT_MIN, 0));
    v.setCeil(ZbVec3d(2147483647.5, -2147483648.5, 2147483646.5));
    EXPECT_EQ(v, ZbVec3i(INT_MAX, INT_MIN, INT_MAX));
}

TEST(ZbVec2, orientsTriangles)
{
    const ZbVec2d a(0, 0), b(2, 0), c(0, 1);
    EXPECT_EQ(ZbVec2d::orientation(a, b, c, 0), 1);
    EXPECT_EQ(ZbVec2d::orientation(a, c, b, 0), -1);
    EXPECT_EQ(ZbVec2d::orientation(a, b, c, 2), 0);  // twice the area of 1
    EXPECT_EQ(ZbVec2d::orientation(a, b, c, 1.99), 1);
    EXPECT_EQ(ZbVec2d::orientation(b, a, c, 2), 0);
    EXPECT_EQ(ZbVec2i::orientation(ZbVec2i(0, 0), ZbVec2i(3, 3), ZbVec2i(7, 7), 0), 0);
}

TYPED_TEST(ZbVec, barycentricCoordinates)
{
    using Vec = ZbVec2<TypeParam>;
    const Vec a(1, 1), b(5, 2), c(2, 6);
    for (const auto& [l0, l1] : {std::pair(0.25, 0.5), {0.5, -0.25}, {-2.0, 1.5}, {0.0, 1.0}}) {
        const Vec p = a * TypeParam(l0) + b * TypeParam(l1) + c * TypeParam(1 - l0 - l1);
        const ZbVec3<TypeParam> l = p.computeBarycentric(a, b, c, TypeParam(1e-3));
        EXPECT_NEAR(l.x, l0, 1e-6);
        EXPECT_NEAR(l.y, l1, 1e-6);
        EXPECT_EQ(l.z, 1 - l.x - l.y);
        EXPECT_EQ(p.isInTriangle(a, b, c, TypeParam(1e-3)), l0 >= 0 && l1 >= 0 && l0 + l1 <= 1);
    }
    // Snapped to 0 and 1 below eps, not at it.
    const Vec origin(0, 0), right(1, 0), top(0, 1);
    const Vec p(TypeParam(0.125), TypeParam(0.0625));
    EXPECT_EQ(p.computeBarycentric(right, top, origin, TypeParam(0.125)),
              (ZbVec3<TypeParam>(p.x, 0, 1 - p.x)));
    EXPECT_EQ(p.computeBarycentric(origin, top, right, TypeParam(0.2)), (ZbVec3<TypeParam>(1, 0, 0)));

    EXPECT_TRUE(right.isInTriangle(origin, right, top, TypeParam(1e-6)));
    EXPECT_TRUE(Vec(TypeParam(0.5), TypeParam(0.500001)).isInTriangle(origin, right, top, TypeParam(1e-4)));
    EXPECT_FALSE(Vec(TypeParam(0.5), TypeParam(0.500001)).isInTriangle(right, top, origin, TypeParam(1e-4)));
    EXPECT_FALSE(Vec(2, 2).isInTriangle(origin, right, right * 3, TypeParam(1e-4)));
    EXPECT_FALSE(right.isInTriangle(origin, right, right * 3, TypeParam(1e-4)));  // no area
}

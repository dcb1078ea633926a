#include <zblib/math/ZbRotd.h>
#include <zblib/math/ZbRotf.h>

#include "tests/support/RandomNumbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>
#include <vector>

template class ZbRot<float>;
template class ZbRot<double>;

namespace
{

template <typename T>
class ZbRotTest : public testing::Test
{
public:
    static constexpr T pi = std::numbers::pi_v<T>;
    static constexpr T tolerance = 8 * std::numeric_limits<T>::epsilon();

    RandomNumbers random{5};
    ZbVec3<T> randomDirection()
    {
        auto v = random.vector<ZbVec3<T>>();
        v.normalize();
        return v;
    }
    ZbRot<T> randomRotation() { return ZbRot<T>(randomDirection(), T(random(0, 3))); }

    static ZbVec3<T> turned(const ZbRot<T>& r, const ZbVec3<T>& v)
    {
        ZbVec3<T> result;
        r.multVec(v, result);
        return result;
    }
    static void expectNear(const ZbVec3<T>& a, const ZbVec3<T>& b, T scale = 1)
    {
        EXPECT_LE(a.distance(b), tolerance * scale);
    }
    // The same quaternion, or the opposite one, which turns alike.
    static void expectNear(const ZbRot<T>& a, const ZbRot<T>& b, T scale = 1)
    {
        const ZbVec4<T> p(a.getValue()), q(b.getValue());
        EXPECT_LE(std::min((p - q).length(), (p + q).length()), 2 * tolerance * scale);
    }
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbRotTest, Reals);

}  // namespace

TYPED_TEST(ZbRotTest, turnsRowVectorsCounterClockwise)
{
    using Rot = ZbRot<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    const Rot quarter(Vec(0, 0, 5), this->pi / 2);  // the axis need not be of length 1
    this->expectNear(this->turned(quarter, Vec(1, 0, 0)), Vec(0, 1, 0));
    ZbMat4<TypeParam> m;
    m = quarter;
    EXPECT_NEAR(m[0][1], 1, this->tolerance);
    EXPECT_NEAR(m[1][0], -1, this->tolerance);
    EXPECT_EQ(m[3][3], 1);
    Vec v(1, 2, 3);
    quarter.multVec(v, v);
    this->expectNear(v, Vec(-2, 1, 3), 4);

    // Without an axis only the cosine is left. The matrix of a quaternion that is not 1 long is not normalised.
    EXPECT_EQ(Rot(Vec(0, 0, 0), 1), Rot(0, 0, 0, std::cos(TypeParam(0.5))));
    ZbMat3<TypeParam> m3;
    Rot(1, 2, 3, 4).getValue(m3);
    EXPECT_EQ(m3, ZbMat3<TypeParam>(-25, 28, -10, -20, -19, 20, 22, 4, -9));
}

TYPED_TEST(ZbRotTest, axisAndAngleComeBack)
{
    using T = TypeParam;
    using Vec = ZbVec3<T>;
    Vec axis;
    T angle;
    for (int i = 0; i < 100; ++i) {
        const Vec expected = this->randomDirection();
        const T expectedAngle = T(0.3) + T(i) / 20;
        ZbRot<T>(expected, expectedAngle).getValue(axis, angle);
        this->expectNear(axis, expected, 2);
        EXPECT_NEAR(angle, expectedAngle, 4 * this->tolerance);
    }
    const struct {
        ZbRot<T> r;
        Vec axis;
        T angle;
    } cases[] = {{{0, 0, 0, 1}, {0, 0, 1}, 0},
                 {{T(0.9e-5), 0, 0, T(-0.5)}, {0, 0, 1}, 0},
                 {{T(1.1e-5), 0, 0, T(0.5)}, {1, 0, 0}, 2 * this->pi / 3}};
    for (const auto& [r, expected, expectedAngle] : cases) {
        r.getValue(axis, angle);
        EXPECT_EQ(axis, expected);
        EXPECT_NEAR(angle, expectedAngle, this->tolerance);
    }
    ZbRot<T>(1, 0, 0, 2).getValue(axis, angle);
    EXPECT_TRUE(std::isnan(angle));  // w is not clamped

    ZbRot<T> r(Vec(1, 2, 3), T(0.5));
    r.scaleAngle(3);
    this->expectNear(r, ZbRot<T>(Vec(1, 2, 3), T(1.5)), 2);
}

TYPED_TEST(ZbRotTest, composesInTheOrderOfReading)
{
    using T = TypeParam;
    using Rot = ZbRot<T>;
    for (int i = 0; i < 50; ++i) {
        const Rot a = this->randomRotation(), b = this->randomRotation();
        // The form in registers comes to the bits of the formulas.
        const auto& [x, y, z, w] = *reinterpret_cast<const T(*)[4]>(a.getValue());
        ZbMat3<T> m;
        a.getValue(m);
        EXPECT_EQ(m, ZbMat3<T>(1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (z * x - y * w),
                               2 * (x * y - z * w), 1 - 2 * (z * z + x * x), 2 * (y * z + x * w),
                               2 * (z * x + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)));
        const auto v = this->randomDirection();
        this->expectNear(this->turned(a * b, v), this->turned(b, this->turned(a, v)), 2);
        Rot square = a;
        square *= square;
        EXPECT_EQ(square, a * a);
        this->expectNear(a * a.inverse(), Rot(0, 0, 0, 1));
    }
    // Hamilton's product of the second and the first, not normalised: (5 i + 6 j + 7 k + 8)(i + 2 j + 3 k + 4).
    EXPECT_EQ(Rot(1, 2, 3, 4) * Rot(5, 6, 7, 8), Rot(32, 32, 56, -6));
}

TYPED_TEST(ZbRotTest, invertsAndNormalizes)
{
    using Rot = ZbRot<TypeParam>;
    Rot r(1, 2, 4, 2);
    EXPECT_EQ(r.norm(), 25);  // the squared length
    EXPECT_EQ(r.inverse(),
              Rot(TypeParam(-1) / 25, TypeParam(-2) / 25, TypeParam(-4) / 25, TypeParam(2) / 25));
    r.normalize();
    this->expectNear(r, Rot(TypeParam(0.2), TypeParam(0.4), TypeParam(0.8), TypeParam(0.4)));
    EXPECT_EQ(r.invert(), r);
    EXPECT_LT(r[0], 0);
    r.setValue(0, 0, 0, 0);
    r.normalize();
    EXPECT_FALSE(std::isfinite(r[0]));
    EXPECT_EQ(ZbRotd(ZbRotf(1, 2, 3, 4)), ZbRotd(1, 2, 3, 4));
    TypeParam x, y, z, w;
    Rot(1, 2, 3, 4).getValue(x, y, z, w);
    EXPECT_EQ(Rot(x, y, z, w), Rot(Rot(1, 2, 3, 4).getValue()));
}

TYPED_TEST(ZbRotTest, comesBackFromItsMatrix)
{
    using Rot = ZbRot<TypeParam>;
    const TypeParam half = std::sqrt(TypeParam(0.5));
    std::vector<Rot> rotations = {Rot(0, 0, 0, 1), Rot(1, 0, 0, 0),       Rot(0, 1, 0, 0),
                                  Rot(0, 0, 1, 0), Rot(half, half, 0, 0), Rot(0, 0, half, half)};
    for (int i = 0; i < 200; ++i)
        rotations.push_back(this->randomRotation());
    for (const Rot& r : rotations) {
        ZbMat4<TypeParam> m;
        r.getValue(m);
        this->expectNear(Rot(m), r);
    }
    // m[3][3] is part of the square root.
    ZbMat4<TypeParam> m = ZbMat4<TypeParam>::identity();
    m[3][3] = 6;
    EXPECT_EQ(Rot(m), Rot(0, 0, 0, TypeParam(1.5)));
}

TYPED_TEST(ZbRotTest, turnsOneDirectionIntoAnother)
{
    using Rot = ZbRot<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    for (int i = 0; i < 100; ++i) {
        const Vec from = this->randomDirection(), to = this->randomDirection();
        const Rot r(from * 3, to / 4);
        // The axis of nearly opposite directions is uncertain.
        this->expectNear(this->turned(r, from), to, 2 / (1 + from.dot(to)));
        Vec axis;
        TypeParam angle;
        r.getValue(axis, angle);
        EXPECT_NEAR(axis.dot(from), 0, 4 * this->tolerance);  // the shortest way
        EXPECT_EQ(Rot(from, from), Rot(0, 0, 0, 1));
    }
    const struct {
        Vec from, to;
        Rot r;
    } cases[] = {
        {{1, 0, 0}, {-1, 0, 0}, {0, 0, 1, 0}},
        {{-8, 0, 0}, {1, 0, 0}, {0, 0, -1, 0}},
        {{0, 3, 0}, {0, -1, 0}, {0, 0, -1, 0}},
        {{0, TypeParam(1e-6), 0}, {0, -1, 0}, {0, 0, -1, 0}},  // has an axis only when normalised
        {{1, 0, 0}, {1, TypeParam(4e-3), 0}, {0, 0, 0, 1}},    // less than 0.26 degrees apart
        {{0, 0, 0}, {0, 1, 0}, {0, 0, 0, std::sqrt(TypeParam(0.5))}},
    };
    for (const auto& [from, to, r] : cases)
        EXPECT_EQ(Rot(from, to), r);
    EXPECT_NE(Rot(Vec(1, 0, 0), Vec(1, TypeParam(5e-3), 0)), Rot(0, 0, 0, 1));
}

TYPED_TEST(ZbRotTest, turnsTwoDirectionsIntoTwoOthers)
{
    using Rot = ZbRot<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    for (int i = 0; i < 100; ++i) {
        const Vec from1 = this->randomDirection(), to1 = this->randomDirection();
        const Rot turn(to1, TypeParam(i) * this->pi / 50);
        Vec from2 = from1.cross(this->randomDirection());
        from2.normalize();
        const Vec to2 = this->turned(turn, this->turned(Rot(from1, to1), from2));
        const Rot r(from1, from2, to1, to2);
        this->expectNear(this->turned(r, from1), to1, 4);
        // The cosine loses half of the digits where the angle is near 0 or pi, and 2 pi is a float's.
        EXPECT_LE(this->turned(r, from2).distance(to2), sizeof(TypeParam) == sizeof(float) ? 2e-3 : 2e-7);
    }
    // Three quarters backwards, by a float's 2 pi.
    const Rot r(Vec(0, 0, 1), Vec(1, 0, 0), Vec(0, 0, 1), Vec(0, -1, 0));
    EXPECT_EQ(r, Rot(0, 0, 0, 1) * Rot(Vec(0, 0, 1), TypeParam(6.2831855f) - std::acos(TypeParam(0))));
}

TYPED_TEST(ZbRotTest, interpolatesAtConstantSpeed)
{
    using Rot = ZbRot<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    const Rot a(Vec(1, 2, 2), TypeParam(0.25)), b(Vec(1, 2, 2), TypeParam(2.25));
    for (const TypeParam t : {TypeParam(0), TypeParam(0.25), TypeParam(0.5), TypeParam(1), TypeParam(1.5)}) {
        const Rot expected(Vec(1, 2, 2), TypeParam(0.25) + 2 * t);
        this->expectNear(Rot::slerp(a, b, t), expected);
        this->expectNear(Rot::slerp(a, Rot(-b[0], -b[1], -b[2], -b[3]), t), expected);  // the shorter way
    }
    // The second one is turned round, so the result is on the side of the first.
    EXPECT_EQ(Rot::slerp(Rot(0, 0, 0, 1), Rot(0, 0, 0, -1), 1), Rot(0, 0, 0, 1));
    // Close together it goes along the chord.
    const Rot near(TypeParam(4e-3), 0, 0, TypeParam(0.999992));
    EXPECT_EQ(Rot::slerp(Rot(0, 0, 0, 1), near, TypeParam(0.5))[0], TypeParam(2e-3));
}

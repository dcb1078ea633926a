#include <zblib/math/ZbMat4d.h>
#include <zblib/math/ZbMat4f.h>
#include <zblib/math/ZbRotd.h>
#include <zblib/math/ZbRotf.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace
{

template <typename T>
class ZbMat4Transform : public testing::Test
{
public:
    T uniform(T low, T high) { return std::uniform_real_distribution<T>(low, high)(m_generator); }
    ZbVec3<T> randomVector() { return ZbVec3<T>(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1)); }
    ZbRot<T> randomRotation() { return ZbRot<T>(randomVector(), uniform(0, 3)); }

    static T largest(const ZbVec3<T>& v)
    {
        return std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    }

    // Largest differences in units in the last place of scale.
    static T distance(const ZbMat4<T>& a, const ZbMat4<T>& b, int firstRow, int endRow, T scale)
    {
        T difference = 0;
        for (int i = firstRow; i < endRow; ++i) {
            for (int j = 0; j < 4; ++j)
                difference = std::max(difference, std::fabs(a[i][j] - b[i][j]));
        }
        return difference == 0 ? 0 : difference / (scale * std::numeric_limits<T>::epsilon());
    }

    // Takes m apart in both ways, and checks what every decomposition keeps.
    static void expectComposesAgain(const ZbMat4<T>& m, const ZbVec3<T>& centre)
    {
        ZbVec3<T> t, s;
        ZbRot<T> r, so;
        m.getTransform(t, r, s, so, centre);
        const bool areNegative = s.x <= 0 && s.y <= 0 && s.z <= 0;
        EXPECT_TRUE(areNegative || (s.x >= 0 && s.y >= 0 && s.z >= 0)) << s.x << ' ' << s.y << ' ' << s.z;
        ZbMat4<T> again;
        again.setTransform(t, r, s, so, centre);
        EXPECT_LE(distance(again, m, 0, 3, largest(s)), 16);
        EXPECT_LE(distance(again, m, 3, 4, largest(t) + (largest(s) + 1) * (largest(centre) + 1)), 32);

        ZbMat4<T> axes, u, proj, scale, translation;
        const bool isRegular = m.factor(axes, s, u, t, proj);
        EXPECT_EQ(proj, ZbMat4<T>::identity());
        EXPECT_EQ(isRegular, std::min({std::fabs(s.x), std::fabs(s.y), std::fabs(s.z)}) >
                                 4 * std::numeric_limits<double>::epsilon() * largest(s));
        for (const ZbMat4<T>& rotation : {axes, u}) {
            EXPECT_LE(distance(rotation * rotation.transpose(), ZbMat4<T>::identity(), 0, 4, 1), 8);
            EXPECT_GT(rotation.det3(), 0);
        }
        scale.setScale(s);
        translation.setTranslate(t);
        EXPECT_LE(distance(axes * scale * axes.transpose() * u * translation, m, 0, 3, largest(s)), 16);
        EXPECT_EQ(t, ZbVec3<T>(m[3]));
    }

private:
    std::mt19937 m_generator{6};
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ZbMat4Transform, Reals);

}  // namespace

TYPED_TEST(ZbMat4Transform, composesInItsOrder)
{
    using Mat = ZbMat4<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    using Rot = ZbRot<TypeParam>;
    const Vec t(1, 2, 3), s(2, 1, TypeParam(0.5)), c(4, 0, 0), one(1, 1, 1), zero(0, 0, 0);
    const Rot r(Vec(1, 1, 0), 1), so(Vec(0, 1, 2), 2), none(0, 0, 0, 1);
    const auto of = [](auto set) {
        Mat m;
        set(m);
        return m;
    };
    const Mat back = of([&](Mat&m) { m.setTranslate(-c); }), forth = of([&](Mat&m) { m.setTranslate(c); });
    const Mat turn = of([&](Mat&m) { m = r; }), away = of([&](Mat&m) { m.setTranslate(t); });
    const Mat axes = of([&](Mat&m) { m.setRotate(so); }), scale = of([&](Mat&m) { m.setScale(s); });
    const Mat axesBack = of([&](Mat& m) { m = so.inverse(); });
    Mat m;
    m.setTransform(t, r, s, so, c);
    EXPECT_LE(this->distance(m, back * axesBack * scale * axes * turn * forth * away, 0, 4, 8), 4);
    m.setTransform(t, r, s);
    EXPECT_EQ(m, scale * (turn * away));
    m.setTransform(t, r, one, so, zero);  // the scale orientation alone does nothing, exactly
    EXPECT_EQ(m, turn * away);
    m.setTransform(zero, none, s, none, c);
    EXPECT_EQ(m, back * (scale * forth));
    m.setTransform(zero, none, one, so, zero);
    EXPECT_EQ(m, Mat::identity());
    // Leaving out is not only faster: a factor with an infinity would spoil the zeros.
    m.setTransform(Vec(std::numeric_limits<TypeParam>::infinity(), 0, 0), none, one);
    EXPECT_EQ(m[0][0], 1);
}

TYPED_TEST(ZbMat4Transform, decomposedAndComposedIsTheSame)
{
    using Mat = ZbMat4<TypeParam>;
    using Vec = ZbVec3<TypeParam>;
    for (int round = 0; round < 3000; ++round) {
        // Scales over twelve orders of magnitude, one or two of them sometimes 0, equal or negative.
        Vec s;
        for (int i = 0; i < 3; ++i)
            s[i] = std::pow(TypeParam(10), this->uniform(-6, 6)) *
                   (round % 3 == 1 ? TypeParam(-1) : TypeParam(1));
        if (round % 5 == 1)
            s[round % 3] *= -1;
        if (round % 7 == 1)
            s[round % 3] = 0;
        if (round % 14 == 1)
            s[(round + 1) % 3] = 0;
        if (round % 4 == 1)
            s.y = s.x;
        if (round % 8 == 1)
            s.z = s.x;
        Mat m;
        m.setTransform(this->randomVector() * 10, this->randomRotation(), s, this->randomRotation(),
                       this->randomVector());
        SCOPED_TRACE(testing::Message() << "scales " << s.x << ' ' << s.y << ' ' << s.z);
        this->expectComposesAgain(m, round % 2 ? this->randomVector() : Vec(0, 0, 0));
        // Any matrix at all.
        Mat other = Mat::identity();
        for (int i = 0; i < 4; ++i)
            (this->randomVector() * std::pow(TypeParam(10), TypeParam(round % 9 - 4))).getValue(other[i]);
        this->expectComposesAgain(other, this->randomVector());
    }
    Mat m = Mat::identity();
    this->expectComposesAgain(m, Vec(0, 0, 0));
    this->expectComposesAgain(m * 0 + ZbMat4<TypeParam>(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 1),
                              Vec(1, 2, 3));
    // Near the ends of the range, where squares overflow and vanish.
    const TypeParam huge = std::sqrt(std::numeric_limits<TypeParam>::max()) * 1000, tiny = 1 / huge;
    for (const TypeParam size : {huge, tiny}) {
        m.setTransform(Vec(0, 0, 0), this->randomRotation(), Vec(size, size / 2, size / 4),
                       this->randomRotation(), Vec(0, 0, 0));
        this->expectComposesAgain(m, Vec(0, 0, 0));
    }
}

TYPED_TEST(ZbMat4Transform, partsOfScalingsAreThose)
{
    using Vec = ZbVec3<TypeParam>;
    ZbMat4<TypeParam> m;
    Vec t, s;
    ZbRot<TypeParam> r, so;
    for (const Vec& scale : {Vec(1, 2, 3), Vec(3, 2, 1), Vec(2, 3, 1), Vec(-1, -3, -2), Vec(2, 2, 2)}) {
        m.setScale(scale);
        m.getTransform(t, r, s, so);
        EXPECT_EQ(s, scale);
        EXPECT_EQ(so, ZbRot<TypeParam>(0, 0, 0, 1));
        EXPECT_EQ(r, ZbRot<TypeParam>(0, 0, 0, 1));
    }
    // Values that are not finite do no harm.
    m.setScale(
        Vec(1, std::numeric_limits<TypeParam>::infinity(), std::numeric_limits<TypeParam>::quiet_NaN()));
    m.getTransform(t, r, s, so);
    EXPECT_FALSE(std::isfinite(s.x));
    EXPECT_EQ(r, ZbRot<TypeParam>(0, 0, 0, 1));
}

TYPED_TEST(ZbMat4Transform, factorsPerspective)
{
    using Mat = ZbMat4<TypeParam>;
    for (int round = 0; round < 200; ++round) {
        Mat m;
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j)
                m[i][j] = this->uniform(-1, 1);
        }
        m[0][0] += 3;
        m[1][1] += 3;
        m[2][2] -= 3;
        Mat axes, u, proj, scale, translation;
        ZbVec3<TypeParam> s, t;
        EXPECT_TRUE(m.factor(axes, s, u, t, proj));
        scale.setScale(s);
        translation.setTranslate(t);
        EXPECT_LE(this->distance(axes * scale * axes.transpose() * u * translation * proj, m, 0, 4, 4), 16);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 3; ++j)
                EXPECT_EQ(proj[i][j], i == j);
        }
    }
    Mat singular = Mat::identity();
    singular[2][2] = 0;
    singular[2][3] = 1;
    Mat axes, u, proj;
    ZbVec3<TypeParam> s, t;
    EXPECT_FALSE(singular.factor(axes, s, u, t, proj));
    EXPECT_EQ(proj, singular);
    EXPECT_EQ(axes, Mat::identity());
    // The target may be the source.
    Mat m;
    m.setTranslate(ZbVec3<TypeParam>(1, 2, 3));
    EXPECT_TRUE(m.factor(m, s, u, t, proj));
    EXPECT_EQ(t, (ZbVec3<TypeParam>(1, 2, 3)));
}

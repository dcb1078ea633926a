#include <zblib/math/ZbMat4d.h>
#include <zblib/math/ZbMat4f.h>
#include <zblib/math/ZbRotd.h>
#include <zblib/math/ZbRotf.h>

#include "tests/support/RandomNumbers.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

template <typename T>
class ZbMat4Transform : public testing::Test
{
public:
    RandomNumbers random{6};

    ZbVec3<T> randomVector() { return random.vector<ZbVec3<T>>(); }
    ZbRot<T> randomRotation() { return ZbRot<T>(randomVector(), T(random(0, 3))); }

    static T largest(const ZbVec3<T>& v)
    {
        return std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    }
    static ZbMat4<T> scaling(const ZbVec3<T>& s)
    {
        ZbMat4<T> m;
        m.setScale(s);
        return m;
    }
    static ZbMat4<T> translation(const ZbVec3<T>& t)
    {
        ZbMat4<T> m;
        m.setTranslate(t);
        return m;
    }
    static ZbMat4<T> rotation(const ZbRot<T>& r)
    {
        ZbMat4<T> m;
        m = r;
        return m;
    }
    // In units in the last place of scale.
    static void expectNear(const ZbMat4<T>& a, const ZbMat4<T>& b, double tolerance, T scale,
                           int firstRow = 0, int endRow = 4)
    {
        EXPECT_LE(largestDifference(a, b, firstRow, endRow),
                  tolerance * double(scale) * std::numeric_limits<T>::epsilon());
    }

    // Takes m apart in both ways, and checks what every decomposition keeps.
    void expectComposesAgain(const ZbMat4<T>& m, const ZbVec3<T>& centre)
    {
        ZbVec3<T> t, s;
        ZbRot<T> r, so;
        ZbMat4<T> again, axes, u, proj;
        m.getTransform(t, r, s, so, centre);
        const bool areNegative = s.x <= 0 && s.y <= 0 && s.z <= 0;
        EXPECT_TRUE(areNegative || (s.x >= 0 && s.y >= 0 && s.z >= 0)) << s.x << ' ' << s.y << ' ' << s.z;
        again.setTransform(t, r, s, so, centre);
        expectNear(again, m, 16, largest(s), 0, 3);
        expectNear(again, m, 32, largest(t) + (largest(s) + 1) * (largest(centre) + 1), 3);

        const bool isRegular = m.factor(axes, s, u, t, proj);
        EXPECT_EQ(proj, ZbMat4<T>::identity());
        EXPECT_EQ(isRegular, std::min({std::fabs(s.x), std::fabs(s.y), std::fabs(s.z)}) >
                                 4 * std::numeric_limits<double>::epsilon() * largest(s));
        for (const ZbMat4<T>& turn : {axes, u}) {
            expectNear(turn * turn.transpose(), ZbMat4<T>::identity(), 8, 1);
            EXPECT_GT(turn.det3(), 0);
        }
        expectNear(axes * scaling(s) * axes.transpose() * u * translation(t), m, 16, largest(s), 0, 3);
        EXPECT_EQ(t, ZbVec3<T>(m[3]));
    }
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
    const Mat back = this->translation(-c), forth = this->translation(c), away = this->translation(t);
    const Mat turn = this->rotation(r), scale = this->scaling(s);
    Mat m;
    m.setTransform(t, r, s, so, c);
    this->expectNear(
        m, back * this->rotation(so.inverse()) * scale * this->rotation(so) * turn * forth * away, 4, 8);
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
    Mat m;
    for (int round = 0; round < 3000; ++round) {
        // Scales over twelve orders of magnitude, one or two of them sometimes 0, equal or negative.
        Vec s;
        for (int i = 0; i < 3; ++i)
            s[i] = TypeParam(std::pow(10, this->random(-6, 6)) * (round % 3 == 1 ? -1 : 1));
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
    this->expectComposesAgain(Mat::identity(), Vec(0, 0, 0));
    this->expectComposesAgain(Mat(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 1), Vec(1, 2, 3));
    // Near the ends of the range, where squares overflow and vanish.
    const TypeParam huge = std::sqrt(std::numeric_limits<TypeParam>::max()) * 1000;
    for (const TypeParam size : {huge, 1 / huge}) {
        m.setTransform(Vec(0, 0, 0), this->randomRotation(), Vec(size, size / 2, size / 4),
                       this->randomRotation(), Vec(0, 0, 0));
        this->expectComposesAgain(m, Vec(0, 0, 0));
    }
}

TYPED_TEST(ZbMat4Transform, partsOfScalingsAreThose)
{
    using Vec = ZbVec3<TypeParam>;
    using Limits = std::numeric_limits<TypeParam>;
    Vec t, s;
    ZbRot<TypeParam> r, so;
    for (const Vec& scale : {Vec(1, 2, 3), Vec(3, 2, 1), Vec(2, 3, 1), Vec(-1, -3, -2), Vec(2, 2, 2)}) {
        this->scaling(scale).getTransform(t, r, s, so);
        EXPECT_EQ(s, scale);
        EXPECT_EQ(so, ZbRot<TypeParam>(0, 0, 0, 1));
        EXPECT_EQ(r, ZbRot<TypeParam>(0, 0, 0, 1));
    }
    // Values that are not finite do no harm.
    this->scaling(Vec(1, Limits::infinity(), Limits::quiet_NaN())).getTransform(t, r, s, so);
    EXPECT_FALSE(std::isfinite(s.x));
    EXPECT_EQ(r, ZbRot<TypeParam>(0, 0, 0, 1));
}

TYPED_TEST(ZbMat4Transform, factorsPerspective)
{
    using Mat = ZbMat4<TypeParam>;
    ZbVec3<TypeParam> s, t;
    Mat axes, u, proj;
    for (int round = 0; round < 200; ++round) {
        const Mat m = this->random.template matrix<Mat>() + this->scaling(ZbVec3<TypeParam>(3, 3, -3));
        EXPECT_TRUE(m.factor(axes, s, u, t, proj));
        this->expectNear(axes * this->scaling(s) * axes.transpose() * u * this->translation(t) * proj, m, 16,
                         4);
        for (int i = 0; i < 12; ++i)
            EXPECT_EQ(proj[i / 3][i % 3], i / 3 == i % 3);
    }
    Mat singular = Mat::identity();
    singular[2][2] = 0;
    singular[2][3] = 1;
    EXPECT_FALSE(singular.factor(axes, s, u, t, proj));
    EXPECT_EQ(proj, singular);
    EXPECT_EQ(axes, Mat::identity());
    // The target may be the source.
    Mat m = this->translation(ZbVec3<TypeParam>(1, 2, 3));
    EXPECT_TRUE(m.factor(m, s, u, t, proj));
    EXPECT_EQ(t, (ZbVec3<TypeParam>(1, 2, 3)));
}

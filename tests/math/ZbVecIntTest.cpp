#include <zblib/math/ZbVec2i.h>
#include <zblib/math/ZbVec3i.h>
#include <zblib/math/ZbVec4i.h>

#include <zblib/containers/ZbHashTable.h>

#include <gtest/gtest.h>

namespace
{

// first, first + step, first + 2 step, ...
template <typename Vec>
Vec make(int first, int step)
{
    const int values[] = {first, first + step, first + 2 * step, first + 3 * step};
    return Vec(values);
}

template <typename Vec>
class ZbVecInt : public testing::Test
{
};
using VecTypes = testing::Types<ZbVec2i, ZbVec3i, ZbVec4i>;
TYPED_TEST_SUITE(ZbVecInt, VecTypes);

}  // namespace

TYPED_TEST(ZbVecInt, computesElementByElement)
{
    using Vec = TypeParam;
    const auto a = make<Vec>(20, 7);
    const auto b = make<Vec>(3, -2);
    EXPECT_EQ(a + b, make<Vec>(23, 5));
    EXPECT_EQ(a - b, make<Vec>(17, 9));
    EXPECT_EQ(-a, make<Vec>(-20, -7));
    EXPECT_EQ(a * 3, make<Vec>(60, 21));
    EXPECT_EQ(3 * a / 3, a);
    EXPECT_EQ(a.compprod(b).compquot(b), a);
    EXPECT_EQ(a.compprod(b).dot(make<Vec>(1, 0)), a.dot(b));
    constexpr int dots[] = {60, 60 + 27, 87 - 34, 53 - 123};
    EXPECT_EQ(a.dot(b), dots[sizeof(Vec) / sizeof(int) - 1]);
    Vec c = a;
    c += b;
    c -= a;
    c *= 6;
    c /= 2;
    EXPECT_EQ(c, b * 3);
    int values[4];
    a.getValue(values);
    c.setValue(values);
    EXPECT_EQ(c, a);
    for (int i = 0; i < int(sizeof(Vec) / sizeof(int)); ++i) {
        EXPECT_EQ(c[i], 20 + 7 * i);
        c[i] = 0;
        EXPECT_NE(c, a);
    }
}

TYPED_TEST(ZbVecInt, isAKeyOfHashTables)
{
    ZbHashTable<TypeParam, int> table(0);
    for (int i = 0; i < 100; ++i)
        table.insert(make<TypeParam>(i, 40), i);
    EXPECT_EQ(*table.lookup(make<TypeParam>(55, 40)), 55);
}

TEST(ZbVecInt, hashesPackFiveBitsAnElement)
{
    EXPECT_EQ(zbhash(ZbVec2i(33, -1)), 1U << 5 | 31);
    EXPECT_EQ(zbhash(ZbVec3i(1, 2, 3)), 1U << 10 | 2 << 5 | 3);
    EXPECT_EQ(zbhash(ZbVec4i(-1, 2, 3, 36)), 31U << 15 | 2 << 10 | 3 << 5 | 4);
}

TEST(ZbVecInt, probesFoldTheElements)
{
    EXPECT_EQ(zbhash(ZbVec2i(3, 5), 10, 7), 0U);
    EXPECT_EQ(zbhash(ZbVec3i(3, 6, 5), 10, 7), 1U);        // (36 % 7) * 10 + 5 = 15
    EXPECT_EQ(zbhash(ZbVec4i(3, 6, 5, 9), 10, 7), 5U);     // 1 * 10 + 9 = 19
    EXPECT_EQ(zbhash(ZbVec2i(1 << 30, 1), 4, 7), 1U);      // modulo 2^32
    EXPECT_EQ(zbhash(ZbVec2i(1 << 29, 0), 4, 7), 0U - 2);  // then signed
    EXPECT_EQ(hash2(ZbVec2i(3, 6), 7), 7U - 6);            // (21 + 6) % 7
    EXPECT_EQ(hash2(ZbVec3i(3, 6, 5), 7), 7U - 5);
    EXPECT_EQ(hash2(ZbVec4i(3, 6, 5, 9), 7), 7U - 2);
}

TEST(ZbVecInt, comparesByCoordinates)
{
    const ZbVec3i sorted[] = {{-1, 5, 5}, {0, 0, 1}, {0, 1, 0}, {0, 1, 2}, {3, -7, 0}};
    for (int i = 0; i < 5; ++i) {
        for (int j = 0; j < 5; ++j)
            EXPECT_EQ(ZbVec3i::compareXcoord(sorted[i], sorted[j]), i < j ? -1 : i > j);
    }
}

#if defined(ZBLIB_HAVE_INVENTOR) && ZBLIB_HAVE_INVENTOR
TEST(ZbVecInt, convertsToAndFromTheSceneGraph)
{
    const SbVec3i32 scene = ZbVec3i(1, -2, 3);
    EXPECT_EQ(scene[1], -2);
    const ZbVec3i back = scene;
    EXPECT_EQ(back, ZbVec3i(1, -2, 3));
}
#endif

#include <zblib/containers/ZbDArray.h>
#include <zblib/data/ZbDataSpace.h>
#include <zblib/foundation/ZbException.h>

#include <gtest/gtest.h>

#include <climits>

namespace
{

TEST(ZbDataSpace, selectsAllAtFirstAndThenHyperslabs)
{
    EXPECT_EQ(ZbDataSpace(ZbDArray<int>{4, 3, 5, 2}), ZbDataSpace(4, 3, 5, 2));
    EXPECT_EQ(ZbDataSpace(4, 3, 5).selectionElemCount(), 60);
    EXPECT_EQ(ZbDataSpace().selectionElemCount(), 1);
    ZbDataSpace space(4, 3);
    for (int dim = 0; dim < ZbDataSpace::maxDims; ++dim) {
        EXPECT_EQ(space.dims(dim), dim == 0 ? 4 : dim == 1 ? 3 : 1);
        EXPECT_EQ(space.selectionStarts()[dim], 0);
        EXPECT_EQ(space.selectionSizes()[dim], space.dims(dim));
        EXPECT_EQ(space.selectionStrides()[dim], 1);
    }
    const int starts[] = {1, 0}, sizes[] = {2, 3}, strides[] = {2, 1};
    space.selectHyperslab(starts, sizes, strides);
    EXPECT_EQ(space.selectionEnd(0), 3);
    EXPECT_EQ(space.selectionElemCount(), 6);
    EXPECT_TRUE(space.isSameSpace(ZbDataSpace(4, 3)));
    EXPECT_FALSE(space.isSameSpace(ZbDataSpace(4, 3, 1)));
    EXPECT_NE(space, ZbDataSpace(4, 3));
    space.selectHyperslab(starts, sizes);
    EXPECT_EQ(space.selectionStride(0), 1);
    space.selectAll();
    EXPECT_EQ(space, ZbDataSpace(4, 3));
}

TEST(ZbDataSpace, refusesWhatDoesNotFit)
{
    ZbDArray<int> extents(11);
    extents.fill(2);
    EXPECT_THROW(ZbDataSpace{extents}, ZbException);
    extents.resize(10);
    ZbDataSpace space(extents);
    EXPECT_THROW(space.setSelection(10, 0, 1, 1), ZbException);
    EXPECT_THROW(space.setSelection(-1, 0, 1, 1), ZbException);

    const int last[] = {99999, 99999, 99999, INT_MAX};
    EXPECT_EQ(ZbDataSpace(100000, 100000, 100000).calcOffset(last), 999999999999999);
    const ZbDataSpace huge(INT_MAX, INT_MAX, INT_MAX, INT_MAX);
    EXPECT_THROW(huge.selectionElemCount(), ZbException);
    EXPECT_THROW(huge.calcOffset(last), ZbException);
}

TEST(ZbDataSpace, snapsStartsTowardZero)
{
    const int cases[][3] = {{7, 3, 6}, {6, 3, 6}, {-7, 3, -6}, {7, -3, 6}, {5, 0, 5}, {INT_MIN, -1, INT_MIN}};
    for (const auto& [start, stride, snapped] : cases) {
        ZbDataSpace space(10, 10);
        space.setSelection(1, start, 2, stride);
        space.snapToStrides();
        EXPECT_EQ(space.selectionStart(1), snapped);
    }
}

TEST(ZbDataSpace, includesSelectionsWhoseElementsItSelects)
{
    struct Case {
        int outer[3], inner[3];  // start, size, stride
        bool included;
    };
    const Case cases[] = {
        {{1, 5, 2}, {1, 5, 2}, true},   {{1, 5, 2}, {3, 4, 2}, true},   {{1, 5, 2}, {3, 5, 2}, false},
        {{1, 5, 2}, {2, 2, 2}, false},  {{1, 5, 2}, {1, 3, 4}, true},   {{1, 5, 2}, {3, 3, 4}, false},
        {{1, 5, 2}, {1, 2, 3}, false},  {{1, 5, 2}, {1, 1, 3}, false},  {{3, 2, 1}, {2, 2, 1}, false},
        {{1, 5, 2}, {9, 1, 2}, true},   {{1, 5, 2}, {11, 1, 2}, false}, {{1, 5, 2}, {9, 3, -2}, true},
        {{1, 5, 2}, {3, 3, -2}, false}, {{4, 3, 0}, {4, 2, 0}, true},   {{4, 3, 0}, {4, 1, 2}, false},
    };
    for (const Case& c : cases) {
        ZbDataSpace outer(3, 100), inner(3, 100);
        outer.setSelection(1, c.outer[0], c.outer[1], c.outer[2]);
        inner.setSelection(1, c.inner[0], c.inner[1], c.inner[2]);
        EXPECT_EQ(outer.includesSelection(inner), c.included) << "case " << &c - cases;
    }
    EXPECT_TRUE(ZbDataSpace().includesSelection(ZbDataSpace()));
    EXPECT_FALSE(ZbDataSpace(3, 3).includesSelection(ZbDataSpace(3, 3, 1)));
}

}  // namespace

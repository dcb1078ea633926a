#include <zblib/data/ZbRawData.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

namespace
{

using Dims = std::array<int, 3>;

struct SwapDimsOutcome {
    bool result;
    std::string message;
    Dims dims;
};

SwapDimsOutcome swapDims(ZbTypedPointer data, Dims dims, Dims permutation, int components)
{
    ::testing::internal::CaptureStderr();
    const bool result = ZbRawData::swapDims(data, dims.data(), permutation.data(), components);
    return {result, ::testing::internal::GetCapturedStderr(), dims};
}

TEST(ZbRawDataSwapDims, movesVoxelsAndRewritesTheSizes)
{
    std::vector<short> data(24);
    std::iota(data.begin(), data.end(), short(0));
    const auto outcome = swapDims(data.data(), {2, 3, 4}, {2, 1, 0}, 1);
    EXPECT_TRUE(outcome.result);
    EXPECT_EQ(outcome.dims, (Dims{4, 3, 2}));
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 2; ++x)
                EXPECT_EQ(data[size_t(z + 4 * (y + 3 * x))], x + 2 * (y + 3 * z));

    // A voxel of several components stays together, if it has the size of a word.
    unsigned char colours[] = {1, 2, 3, 4, 11, 12, 13, 14, 21, 22, 23, 24, 31, 32, 33, 34};
    EXPECT_EQ(swapDims(colours, {2, 2, 1}, {1, 0, 2}, 4).dims, (Dims{2, 2, 1}));
    const unsigned char expected[] = {1, 2, 3, 4, 21, 22, 23, 24, 11, 12, 13, 14, 31, 32, 33, 34};
    EXPECT_TRUE(std::equal(std::begin(colours), std::end(colours), expected));
}

TEST(ZbRawDataSwapDims, rewritesOnlyTheSizesOfConstantBlocks)
{
    // NaNs are invisible to the test for constants, so they keep their places.
    float data[] = {5, NAN, 5, 5, 5, 5};
    EXPECT_EQ(swapDims(data, {3, 2, 1}, {1, 0, 2}, 1).dims, (Dims{2, 3, 1}));
    EXPECT_TRUE(std::isnan(data[1]));
    // For them the size of a voxel does not matter.
    unsigned char grey[] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(swapDims(grey, {2, 1, 1}, {1, 0, 2}, 3).dims, (Dims{1, 2, 1}));
    EXPECT_EQ(swapDims(ZbTypedPointer(nullptr, ZbPrimType::INT64), {0, 5, 7}, {2, 1, 0}, 1).dims,
              (Dims{7, 5, 0}));
}

TEST(ZbRawDataSwapDims, refusesWhatItCannotMoveAndChangesNothing)
{
    unsigned char data[] = {1, 2, 3, 4, 5, 6};
    const std::vector<unsigned char> before(std::begin(data), std::end(data));
    const auto wide = swapDims(data, {2, 1, 1}, {1, 0, 2}, 3);
    EXPECT_FALSE(wide.result);
    EXPECT_EQ(wide.message, "Unsupported data type byte in ZbRawData::swapDims()\n");
    EXPECT_EQ(wide.dims, (Dims{2, 1, 1}));
    const auto unknown = swapDims(ZbTypedPointer(data, ZbPrimType(-1)), {2, 1, 1}, {1, 0, 2}, 1);
    EXPECT_FALSE(unknown.result);
    EXPECT_EQ(unknown.message, "Unsupported data type unknown in ZbRawData::swapDims()\n");
    EXPECT_TRUE(swapDims(data, {2, 1, 1}, {0, 1, 2}, 3).result);

    for (const Dims& permutation : {Dims{0, 0, 1}, Dims{0, 1, 3}, Dims{-1, 0, 1}})
        EXPECT_FALSE(swapDims(data, {3, 2, 1}, permutation, 1).result);
    EXPECT_FALSE(swapDims(data, {-3, -2, 1}, {1, 0, 2}, 1).result);

    // More positions than there is memory for bits, and more bytes than can be counted.
    const ZbTypedPointer nowhere(nullptr, ZbPrimType::INT64);
    for (const int nz : {1 << 24, INT_MAX}) {
        const auto huge = swapDims(nowhere, {1, INT_MAX, nz}, {0, 2, 1}, 1);
        EXPECT_FALSE(huge.result);
        EXPECT_EQ(huge.dims, (Dims{1, INT_MAX, nz}));
    }
    EXPECT_TRUE(std::equal(before.begin(), before.end(), data));
}

}  // namespace

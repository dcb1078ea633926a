#include <zblib/data/ZbSwapDims.h>

#include <tests/support/RandomBytes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

namespace
{

using Dims = std::array<int, 3>;

constexpr Dims permutations[] = {{0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

std::vector<char> permutedPlain(const std::vector<char>& block, const Dims& dims, const Dims& permutation,
                                size_t width)
{
    const Dims& p = permutation;
    const long sizes[] = {dims[size_t(p[0])], dims[size_t(p[1])], dims[size_t(p[2])]};
    std::vector<char> result(block.size());
    const char* from = block.data();
    long at[3];
    for (at[2] = 0; at[2] < dims[2]; ++at[2])
        for (at[1] = 0; at[1] < dims[1]; ++at[1])
            for (at[0] = 0; at[0] < dims[0]; ++at[0], from += width) {
                const long to = at[p[0]] + sizes[0] * (at[p[1]] + sizes[1] * at[p[2]]);
                std::memcpy(&result[size_t(to) * width], from, width);
            }
    return result;
}

class ZbSwapDims : public ::testing::TestWithParam<Dims>
{
};

// Every permutation, width and way; the block lies at an odd address, between bytes that must not change.
TEST_P(ZbSwapDims, allWaysAgreeWithTheDefinition)
{
    const Dims dims = GetParam();
    const ZbDim3l sizes(dims[0], dims[1], dims[2]);
    for (const int width : {1, 2, 4, 8}) {
        const size_t bytes = size_t(sizes.nx * sizes.ny * sizes.nz * width);
        const std::vector<char> block = randomBytes(bytes, unsigned(width));
        for (const Dims& permutation : permutations) {
            const std::vector<char> expected = permutedPlain(block, dims, permutation, size_t(width));
            // A piece of 0 bytes is the plain way; the others cut the block into panels of various sizes.
            for (const long piece : {0, 1, 300, 3000, 20000, INT_MAX}) {
                SCOPED_TRACE(::testing::Message() << "width " << width << ", permutation " << permutation[0]
                                                  << permutation[1] << permutation[2] << ", piece " << piece);
                std::vector<char> memory(bytes + 66, 77);
                char* data = memory.data() + 33;
                std::copy(block.begin(), block.end(), data);
                ASSERT_TRUE(piece == 0
                                ? ZbDetail::swapDimsPlain(data, sizes, permutation.data(), width)
                                : ZbDetail::swapDimsBlocked(data, sizes, permutation.data(), width, piece));
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), data));
                EXPECT_EQ(std::count(memory.begin(), memory.begin() + 33, 77), 33);
                EXPECT_EQ(std::count(memory.end() - 33, memory.end(), 77), 33);
            }
        }
    }
}

// Around the sides of register squares and cache tiles; square and oblong planes; one long side; sizes
// without divisors, which leave rows and columns over.
INSTANTIATE_TEST_SUITE_P(Sizes, ZbSwapDims,
                         ::testing::Values(Dims{1, 1, 1}, Dims{1, 7, 1}, Dims{2, 3, 4}, Dims{3, 3, 3},
                                           Dims{15, 16, 17}, Dims{16, 4, 16}, Dims{33, 31, 33},
                                           Dims{64, 64, 3}, Dims{65, 5, 63}, Dims{1, 129, 40},
                                           Dims{1021, 3, 2}, Dims{2, 1021, 3}, Dims{3, 2, 1021},
                                           Dims{67, 61, 1}, Dims{13, 200, 5}, Dims{5, 13, 200}));

}  // namespace

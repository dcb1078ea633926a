#include <zblib/data/ZbRawData.h>
#include <zblib/data/ZbRawData3D.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMemoryException.h>

#include <tests/support/RandomBytes.h>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>

namespace
{

using Triple = std::array<int, 3>;

struct Box {
    Triple minimum, maximum;
};

std::vector<char> croppedPlain(const std::vector<char>& block, const Triple& dims, size_t width,
                               const Box& box, const char* fill)
{
    std::vector<char> result;
    for (int z = box.minimum[2]; z <= box.maximum[2]; ++z)
        for (int y = box.minimum[1]; y <= box.maximum[1]; ++y)
            for (int x = box.minimum[0]; x <= box.maximum[0]; ++x) {
                const bool inside = x >= 0 && y >= 0 && z >= 0 && x < dims[0] && y < dims[1] && z < dims[2];
                const char* from = inside ? &block[size_t(x + dims[0] * (y + dims[1] * z)) * width] : fill;
                result.insert(result.end(), from, from + width);
            }
    return result;
}

// Inside, around, overlapping each side, next to the block and far away.
const Box boxes[] = {
    {{0, 0, 0}, {6, 4, 3}},    {{1, 1, 1}, {1, 1, 1}},      {{2, 0, 1}, {5, 4, 2}},
    {{-2, -1, -3}, {9, 7, 5}}, {{0, -2, 1}, {6, 2, 9}},     {{-3, 2, -1}, {3, 9, 1}},
    {{0, 1, 0}, {6, 3, 3}},    {{7, 0, 0}, {9, 4, 3}},      {{-5, 0, 0}, {-1, 4, 3}},
    {{0, 0, 4}, {6, 4, 5}},    {{-900, 2, 1}, {900, 3, 2}}, {{50, 60, 70}, {53, 61, 70}},
};

class ZbRawDataCrop : public ::testing::TestWithParam<size_t>
{
};

TEST_P(ZbRawDataCrop, givesTheBoxAndFillsAround)
{
    const size_t width = GetParam();
    const Triple dims{7, 5, 4};
    const std::vector<char> block = randomBytes(7 * 5 * 4 * width, 1);
    const std::vector<char> fill = randomBytes(width, 2), zeros(width, 0);
    for (const Box& box : boxes)
        for (const char* element : {fill.data(), static_cast<const char*>(nullptr)}) {
            const auto expected = croppedPlain(block, dims, width, box, element ? element : zeros.data());
            void* data = zbmalloc(block.size());
            std::memcpy(data, block.data(), block.size());
            Triple sizes = dims;
            ASSERT_TRUE(ZbRawData::crop(data, int(width), sizes.data(), box.minimum.data(),
                                        box.maximum.data(), element));
            for (size_t k = 0; k < 3; ++k)
                EXPECT_EQ(sizes[k], box.maximum[k] - box.minimum[k] + 1);
            EXPECT_EQ(std::memcmp(data, expected.data(), expected.size()), 0);
            zbfree(data);
        }
}

INSTANTIATE_TEST_SUITE_P(Widths, ZbRawDataCrop, ::testing::Values(1, 3, 8));

TEST(ZbRawDataCrop, refusesABoxWithoutVoxelsAndWhatDoesNotFit)
{
    int* values = static_cast<int*>(zbmalloc(2 * sizeof(int)));
    values[0] = 8;
    values[1] = 9;
    void* data = values;
    Triple dims{2, 1, 1};
    const auto crop = [&](const Box& box) {
        return ZbRawData::crop(data, sizeof(int), dims.data(), box.minimum.data(), box.maximum.data(),
                               values);
    };
    EXPECT_FALSE(crop({{1, 0, 0}, {0, 0, 0}}));
    EXPECT_FALSE(crop({{0, 0, 1}, {0, 0, 0}}));
    EXPECT_FALSE(crop({{INT_MIN, 0, 0}, {INT_MAX, 0, 0}}));
    EXPECT_THROW(crop({{1, 1, 1}, {INT_MAX, INT_MAX, INT_MAX}}), ZbMemoryException);
    EXPECT_EQ(data, values);
    EXPECT_EQ(values[1], 9);
    EXPECT_EQ(dims, (Triple{2, 1, 1}));
    zbfree(data);
}

TEST(ZbRawDataCrop, makesABlockOwnTheNewMemory)
{
    short memory[] = {1, 2, 3, 4, 5, 6};
    const short fill = 7;
    const Box box{{1, 0, 0}, {3, 1, 0}};
    ZbRawData3D block(3, 2, 1, sizeof(short), memory);
    ASSERT_TRUE(ZbRawData::crop(block, box.minimum.data(), box.maximum.data(), &fill));
    const short expected[] = {2, 3, 7, 5, 6, 7};
    EXPECT_EQ(std::memcmp(block.dataPtr(), expected, sizeof expected), 0);
    EXPECT_TRUE(block.isLocal());
    EXPECT_EQ(memory[5], 6);
    // An owner gives up its old memory.
    const Box one{{2, 1, 0}, {2, 1, 0}};
    ASSERT_TRUE(ZbRawData::crop(block, one.minimum.data(), one.maximum.data(), &fill));
    EXPECT_EQ(block.getNumElems(), 1);
    EXPECT_EQ(*static_cast<short*>(block.dataPtr()), 7);
    EXPECT_FALSE(ZbRawData::crop(block, box.maximum.data(), box.minimum.data(), &fill));
    EXPECT_EQ(block.getNumElems(), 1);
}

TEST(ZbRawDataFlip, mirrorsAlongOneAxis)
{
    // Row lengths around one and two blocks of 64 elements; sizes with and without a kernel of their own.
    for (const long width : {1, 2, 3, 4, 5, 8, 12, 16})
        for (const ZbDim3l& dims :
             {ZbDim3l(1, 1, 1), ZbDim3l(127, 2, 3), ZbDim3l(128, 3, 2), ZbDim3l(300, 5, 4),
              ZbDim3l(2000, 2, 2), ZbDim3l(5, 0, 3), ZbDim3l(0, 2, 3)}) {
            const std::vector<char> block = randomBytes(size_t(dims.nx * dims.ny * dims.nz * width), 3);
            for (int axis = -1; axis <= 3; ++axis) {
                SCOPED_TRACE(::testing::Message()
                             << "width " << width << ", row " << dims.nx << ", axis " << axis);
                std::vector<char> flipped = block, expected = block;
                ZbRawData::flip(flipped.data(), int(width), dims, axis);
                for (long z = 0; z < dims.nz; ++z)
                    for (long y = 0; y < dims.ny; ++y)
                        for (long x = 0; x < dims.nx; ++x) {
                            const long from = (axis == 0 ? dims.nx - 1 - x : x) +
                                              dims.nx * ((axis == 1 ? dims.ny - 1 - y : y) +
                                                         dims.ny * (axis == 2 ? dims.nz - 1 - z : z));
                            const long to = x + dims.nx * (y + dims.ny * z);
                            std::memcpy(&expected[size_t(to * width)], &block[size_t(from * width)],
                                        size_t(width));
                        }
                EXPECT_EQ(flipped, expected);
            }
        }
}

}  // namespace

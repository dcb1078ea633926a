#include <zblib/data/ZbRawData2D.h>
#include <zblib/data/ZbRawData3D.h>
#include <zblib/data/ZbTypedData3D.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMemoryException.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <numeric>
#include <vector>

#include <sys/mman.h>

namespace
{

// Element i of a block is the number i.
ZbRawData3D numbered(int nx, int ny, int nz)
{
    ZbRawData3D block(nx, ny, nz, sizeof(short));
    std::iota(static_cast<short*>(block.dataPtr()),
              static_cast<short*>(block.dataPtr()) + block.getNumElems(), short(0));
    return block;
}

std::vector<short> valuesOf(const ZbRawData2D& image)
{
    std::vector<short> values;
    for (int y = 0; y < image.sizeY(); ++y)
        for (int x = 0; x < image.sizeX(); ++x)
            values.push_back(*static_cast<const short*>(image.address(x, y)));
    return values;
}

TEST(ZbRawData3D, viewsSlicesWithSteps)
{
    ZbRawData3D block = numbered(4, 3, 2);
    ZbRawData2D slice;
    block.getSlice(ZbRawData3D::YZ, 1, slice);
    EXPECT_EQ(slice.dataPtr(), static_cast<char*>(block.dataPtr()) + 2);
    EXPECT_EQ(slice.getBytesPerPixel(), 8);
    EXPECT_EQ(slice.getBytesPerLine(), 24u);
    EXPECT_FALSE(slice.isContiguous());
    EXPECT_EQ(valuesOf(slice), (std::vector<short>{1, 5, 9, 13, 17, 21}));
    EXPECT_EQ(slice.sizeX(), 3);
    slice.makeLocal();
    EXPECT_TRUE(slice.isLocal());
    EXPECT_TRUE(slice.isContiguous());
    EXPECT_EQ(valuesOf(slice), (std::vector<short>{1, 5, 9, 13, 17, 21}));

    block.getSlice(ZbRawData3D::XZ, 2, slice);
    EXPECT_FALSE(slice.isLocal());
    EXPECT_EQ(valuesOf(slice), (std::vector<short>{8, 9, 10, 11, 20, 21, 22, 23}));
    block.getSlice(ZbRawData3D::XY, 1, slice);
    EXPECT_TRUE(slice.isContiguous());
    EXPECT_EQ(valuesOf(slice).front(), 12);
}

TEST(ZbRawData3D, copiesSlicesOutAndBack)
{
    for (const auto orientation : {ZbRawData3D::YZ, ZbRawData3D::XZ, ZbRawData3D::XY}) {
        ZbRawData3D block = numbered(4, 3, 2), other(4, 3, 2, sizeof(short));
        other.clear();
        int sizeI, sizeJ, count;
        block.getDims(orientation, sizeI, sizeJ, count);
        ZbRawData2D copy(sizeI, sizeJ, sizeof(short)), view;
        for (int k = 0; k < count; ++k) {
            block.getSlice(orientation, k, copy, true);
            block.getSlice(orientation, k, view);
            EXPECT_EQ(valuesOf(copy), valuesOf(view));
            for (int j = 0; j < sizeJ; ++j)
                for (int i = 0; i < sizeI; ++i)
                    EXPECT_EQ(*static_cast<short*>(copy.address(i, j)),
                              block.getOffset(i, j, k, orientation));
            // Once from a dense copy and once from a view.
            other.putSlice(orientation, k, k % 2 ? copy : view);
        }
        EXPECT_TRUE(std::equal(static_cast<short*>(block.dataPtr()),
                               static_cast<short*>(block.dataPtr()) + 24,
                               static_cast<short*>(other.dataPtr())));
        other.putSlice(orientation, 0, ZbRawData2D(sizeI, sizeJ + 1, sizeof(short)));
        EXPECT_EQ(*static_cast<short*>(other.address(3, 2, 1)), 23);
    }
}

TEST(ZbRawData3D, replacesASubvolumeThatFits)
{
    ZbRawData3D block = numbered(4, 3, 2);
    const ZbRawData3D sub = numbered(2, 2, 1);
    EXPECT_EQ(block.replaceSubvolume(0, 0, 0, numbered(5, 3, 2)), 0);
    EXPECT_EQ(block.replaceSubvolume(3, 0, 0, sub), 0);
    EXPECT_EQ(block.replaceSubvolume(-1, 0, 0, sub), 0);
    EXPECT_EQ(block.replaceSubvolume(INT_MAX, 0, 0, sub), 0);
    EXPECT_EQ(block.replaceSubvolume(0, 0, 0, ZbRawData3D(1, 1, 1, 4)), -1);
    EXPECT_EQ(*static_cast<short*>(block.address(1, 0, 0)), 1);
    EXPECT_EQ(block.replaceSubvolume(2, 1, 1, sub), 1);
    ZbRawData2D slice;
    block.getSlice(ZbRawData3D::XY, 1, slice);
    EXPECT_EQ(valuesOf(slice), (std::vector<short>{12, 13, 14, 15, 16, 17, 0, 1, 20, 21, 2, 3}));
}

TEST(ZbRawData3D, ownsWhatItAllocatedOrWasGiven)
{
    ZbRawData3D block = numbered(4, 3, 2);
    void* old = block.dataPtr();
    block.commit(3, 8, 1, sizeof(short), old);  // the same memory, with other sizes
    EXPECT_EQ(*static_cast<short*>(block.address(2, 7, 0)), 23);
    void* data = zbmalloc(48);
    block.swapDataPtr(data);
    EXPECT_EQ(data, old);
    EXPECT_TRUE(block.isLocal());
    zbfree(data);

    ZbRawData3D moved = std::move(block);
    EXPECT_EQ(moved.getNumElems(), 24);
    static_cast<short*>(moved.dataPtr())[23] = 5;
    ZbRawData3D copy(1, 1, 1, 4);
    copy = moved;
    EXPECT_NE(copy.dataPtr(), moved.dataPtr());
    EXPECT_EQ(*static_cast<short*>(copy.address(2, 7, 0)), 5);
    const ZbRawData3D& same = copy;
    copy = same;
    EXPECT_EQ(*static_cast<short*>(copy.address(2, 7, 0)), 5);
    EXPECT_EQ(ZbRawData3D(ZbRawData3D(3, 8, 1, 2, moved.dataPtr())).dataPtr(), moved.dataPtr());
    block.init(2, 1, 1, 4);
    block.resize(5, 1, 1);
    EXPECT_EQ(block.getElemSize(), 4);
    EXPECT_THROW(block.init(INT_MAX, INT_MAX, INT_MAX, 8), ZbMemoryException);
    EXPECT_EQ(block.getNumElems(), 5);
}

TEST(ZbRawData3D, copiesSlicesLargerThanWhatIsAskedForAhead)
{
    ZbRawData3D block = numbered(37, 29, 23), other(37, 29, 23, sizeof(short));
    for (const auto orientation : {ZbRawData3D::YZ, ZbRawData3D::XZ, ZbRawData3D::XY}) {
        int dims[3];
        block.getDims(dims, orientation);
        other.clear();
        ZbRawData2D copy(dims[0], dims[1], sizeof(short));
        for (int k = 0; k < dims[2]; ++k) {
            block.getSlice(orientation, k, copy, true);
            other.putSlice(orientation, k, copy);
        }
        EXPECT_EQ(std::memcmp(block.dataPtr(), other.dataPtr(), size_t(block.getNumElems()) * 2), 0);
    }
}

TEST(ZbRawData3D, copiesPixelsThatNoIntSteps)
{
    constexpr size_t bytes = size_t(1) << 33;
    void* const memory =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    ZbRawData3D block(1 << 30, 2, 1, sizeof(int), memory);
    ZbRawData2D slice(2, 1, sizeof(int)), copy(2, 1, sizeof(int)), view;
    *static_cast<int*>(slice.address(0, 0)) = 1;
    *static_cast<int*>(slice.address(1, 0)) = 2;
    block.putSlice(ZbRawData3D::YZ, 5, slice);
    EXPECT_EQ(*static_cast<int*>(block.address(5, 1, 0)), 2);
    block.getSlice(ZbRawData3D::YZ, 5, copy, true);
    EXPECT_EQ(std::memcmp(copy.dataPtr(), slice.dataPtr(), 2 * sizeof(int)), 0);
    block.getSlice(ZbRawData3D::YZ, 5, view);
    EXPECT_EQ(view.sizeX(), 0);
    munmap(memory, bytes);
}

TEST(ZbTypedData3D, carriesTypeAndComponents)
{
    ZbTypedData3D block(2, 3, 4, ZbPrimType::USHORT, 3);
    EXPECT_EQ(block.getElemSize(), 6);
    block.clear();
    ZbTypedData3D copy = block, view(1, 1, 1, ZbPrimType::DOUBLE, 1, nullptr);
    EXPECT_NE(copy.dataPtr(), block.dataPtr());
    EXPECT_EQ(view.dataPtr(), nullptr);
    view.swap(copy);
    EXPECT_EQ(view.primType(), ZbPrimType::USHORT);
    EXPECT_EQ(view.numComponents(), 3);
    EXPECT_EQ(copy.typedPointer().getPrimType(), ZbPrimType::DOUBLE);
    EXPECT_THROW(view.init(1, 1, 1, ZbPrimType::DOUBLE, INT_MAX), ZbMemoryException);
    EXPECT_EQ(view.numComponents(), 3);
}

TEST(ZbRawData2D, copiesOwnersDeeplyAndViewsAsViews)
{
    short memory[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    ZbRawData2D view(2, 2, sizeof(short), 4, 12, memory);
    ZbRawData2D local = view;
    EXPECT_EQ(local.dataPtr(), memory);
    local.makeLocal();
    ZbRawData2D copy(7, 7, 1);
    copy = local;
    EXPECT_NE(copy.dataPtr(), local.dataPtr());
    EXPECT_EQ(valuesOf(copy), (std::vector<short>{1, 3, 7, 9}));
    const ZbRawData2D& same = copy;
    copy = same;
    EXPECT_EQ(valuesOf(copy), (std::vector<short>{1, 3, 7, 9}));

    copy.clear();
    EXPECT_TRUE(view.copyData(copy));
    EXPECT_EQ(memory[2], 0);
    EXPECT_EQ(memory[3], 4);
    short row[] = {20, 21};
    EXPECT_TRUE(view.copyData(ZbRawData2D(2, 1, sizeof(short), row)));  // not beyond the rows of the other
    EXPECT_EQ(memory[0], 20);
    EXPECT_EQ(memory[6], 0);
    memory[0] = memory[2] = 0;
    EXPECT_FALSE(view.copyData(ZbRawData2D(3, 2, sizeof(short))));
    EXPECT_FALSE(view.copyData(ZbRawData2D(2, 2, 4)));
    local.commit(4, 1, sizeof(short), local.dataPtr());  // the same memory, with other sizes
    EXPECT_EQ(valuesOf(local), (std::vector<short>{1, 3, 7, 9}));
    EXPECT_TRUE(local.isLocal());
    EXPECT_THROW(local.init(INT_MAX, INT_MAX, INT_MAX), ZbMemoryException);
    EXPECT_EQ(valuesOf(local), (std::vector<short>{1, 3, 7, 9}));
    EXPECT_FALSE(ZbRawData2D(0, 5, 2).isLocal());
}

}  // namespace

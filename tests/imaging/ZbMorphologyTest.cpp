#include <zblib/imaging/ZbMorphology.h>
#include <zblib/imaging/ZbMorphologyRules.h>

#include <oneapi/tbb/global_control.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <vector>

namespace
{

using namespace ZbDetail;
using Bits = std::vector<bool>;
using Field = ZbBitfield;

std::mt19937 generator(3);

struct Neighbours {
    bool z = true, y = true, x = true;
    bool isSquare = false;  // in x and y: with those that differ in both
};

/// What ZbMorphology promises, voxel by voxel.
Bits expected(const Bits& bits, const ZbVec3i& dims, bool erodes, const Neighbours& along,
              const Bits* protect)
{
    Bits result = bits;
    const auto index = [&](int x, int y, int z) { return size_t(x + dims.x * (y + dims.y * z)); };
    const auto isSeen = [&](int dx, int dy, int dz) {
        const int distance = std::abs(dx) + std::abs(dy) + std::abs(dz);
        return (distance == 1 || (along.isSquare && distance == 2)) && (dx == 0 || along.x) &&
               (dy == 0 || along.y) && (dz == 0 || along.z);
    };
    for (int z = 0; z < dims.z; ++z)
        for (int y = 0; y < dims.y; ++y)
            for (int x = 0; x < dims.x; ++x) {
                const size_t i = index(x, y, z);
                if (bits[i] != erodes || (protect && (*protect)[i]))
                    continue;
                for (int dz = -1; dz <= 1; ++dz)
                    for (int dy = -1; dy <= 1; ++dy)
                        for (int dx = -1; dx <= 1; ++dx)
                            if (isSeen(dx, dy, dz) && unsigned(x + dx) < unsigned(dims.x) &&
                                unsigned(y + dy) < unsigned(dims.y) && unsigned(z + dz) < unsigned(dims.z) &&
                                bits[index(x + dx, y + dy, z + dz)] != erodes)
                                result[i] = !erodes;
            }
    return result;
}

Bits randomBits(const ZbVec3i& dims, double density)
{
    Bits bits(size_t(dims.x) * size_t(dims.y) * size_t(dims.z));
    std::generate(bits.begin(), bits.end(), [&] { return std::bernoulli_distribution(density)(generator); });
    return bits;
}

/// A field of arbitrary bits: what a destination has before, and padding.
Field arbitraryField(size_t n)
{
    Field field(n, Field::INIT_NONE);
    std::generate_n(field.dataPtr(), field.memSize() / 4, std::ref(generator));
    return field;
}

Field fieldOf(const Bits& bits)
{
    Field field = arbitraryField(bits.size());
    for (unsigned long i = 0; i < bits.size(); ++i)
        field.set(i, bits[i]);
    return field;
}

/// The place of the first difference, or "".
std::string difference(const Field& field, const Bits& bits, const ZbVec3i& dims)
{
    if (field.nBits() != bits.size())
        return "has " + std::to_string(field.nBits()) + " bits";
    for (unsigned long i = 0; i < bits.size(); ++i)
        if ((field[i] != 0) != bits[i]) {
            const long x = long(i) % dims.x, row = long(i) / dims.x;
            return "differs at " + std::to_string(x) + " " + std::to_string(row % dims.y) + " " +
                   std::to_string(row / dims.y);
        }
    return "";
}

using Call = std::function<void(const Field& src, Field& dst)>;

void expectResult(const char* name, const Call& call, const Bits& bits, const Bits& result,
                  const ZbVec3i& dims)
{
    Field dst = arbitraryField(bits.size());
    call(fieldOf(bits), dst);
    EXPECT_EQ(difference(dst, result, dims), "")
        << name << ", " << dims.x << " x " << dims.y << " x " << dims.z;
}

SliceRange allSlices(const ZbVec3i& dims)
{
    return SliceRange(0, (unsigned long)(dims.z));
}

// Around words and thin in each direction.
std::vector<ZbVec3i> grids()
{
    std::vector<ZbVec3i> list;
    for (int nx = 1; nx <= 130; ++nx)
        list.push_back(ZbVec3i(nx, 1 + nx % 4, 1 + nx / 4 % 4));
    for (const int nx : {1, 31, 32, 33, 64, 100})
        for (const ZbVec3i& thin :
             {ZbVec3i(nx, 1, 1), ZbVec3i(nx, 9, 1), ZbVec3i(nx, 1, 9), ZbVec3i(nx, 7, 6)})
            list.push_back(thin);
    // Rows of more than 128 words, and of a number that blocks of 128 words do not begin with.
    for (const int nx : {96, 4096, 4100, 4128, 9000, 9024})
        list.push_back(ZbVec3i(nx, 5, 3));
    return list;
}

TEST(ZbMorphology, everyErosionInSpaceFollowsTheRule)
{
    int combination = 0;
    for (const ZbVec3i& dims : grids()) {
        const bool isWhole = dims.x % 32 == 0;
        // All flags come by in turn, all of them at once for whole words and around.
        for (int n = 0; n < (dims.x % 32 < 2 || dims.x % 32 == 31 ? 16 : 3); ++n) {
            const int flags = combination++ % 16;
            const Neighbours along{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0};
            const bool z = along.z, y = along.y, x = along.x;
            const Bits bits = randomBits(dims, 0.9), mask = randomBits(dims, 0.3);
            const Field maskField = fieldOf(mask);
            const Field* const protect = flags & 8 ? &maskField : nullptr;
            const Bits result = expected(bits, dims, true, along, protect ? &mask : nullptr);
            SCOPED_TRACE(::testing::Message() << "flags " << flags);
            const auto check = [&](const char* name, const Call& call) {
                expectResult(name, call, bits, result, dims);
            };
            check("slow",
                  [&](const Field& src, Field& dst) { erodeBitfieldSlow(src, dst, dims, z, y, x, protect); });
            check("general", [&](const Field& src, Field& dst) {
                erodeBitfieldFastGeneral(src, dst, dims, z, y, x, protect);
            });
            check("regions", [&](const Field& src, Field& dst) {
                for (unsigned long slice = (unsigned long)(dims.z); slice-- > 0;)
                    erodeBitfieldRegionFastGeneral(src, dst, dims, SliceRange(slice, slice + 1), z, y, x,
                                                   protect);
            });
            if (isWhole)
                check("fast", [&](const Field& src, Field& dst) {
                    erodeBitfieldRegionFast(src, dst, dims, allSlices(dims), z, y, x, protect);
                });
            check("erosion3D", [&](const Field& src, Field& dst) {
                ZbMorphology::erosion3D(src, dst, dims, 1, z, y, x, protect);
            });
        }
    }
}

TEST(ZbMorphology, everyDilationInSpaceFollowsTheRule)
{
    for (const ZbVec3i& dims : grids()) {
        const Bits bits = randomBits(dims, 0.1);
        const Bits result = expected(bits, dims, false, {}, nullptr);
        const auto check = [&](const char* name, const Call& call) {
            expectResult(name, call, bits, result, dims);
        };
        check("slow", [&](const Field& src, Field& dst) { dilateBitfieldSlow(src, dst, dims); });
        check("general", [&](const Field& src, Field& dst) { dilateBitfieldFastGeneral(src, dst, dims); });
        if (dims.x % 32 == 0)
            check("fast", [&](const Field& src, Field& dst) { dilateBitfieldFast(src, dst, dims); });
        check("dilation3D",
              [&](const Field& src, Field& dst) { ZbMorphology::dilation3D(src, dst, dims, 1); });
    }
}

struct ImageRule {
    const char* name;
    bool erodes, isSquare;
    void (*operation)(const Field&, Field&, const ZbVec2i&);
    std::vector<void (*)(const Field&, Field&, const ZbVec2i&)> others;  // slow, general, fast
};

TEST(ZbMorphology, everyOperationOnImagesFollowsTheRule)
{
    const ImageRule rules[] = {
        {"erosion2D_4", true, false, ZbMorphology::erosion2D_4, {}},
        {"dilation2D_4", false, false, ZbMorphology::dilation2D_4, {}},
        {"erosion2D_8",
         true,
         true,
         ZbMorphology::erosion2D_8,
         {erodeBitfieldSlow2D_8, erodeBitfieldFastGeneral2D_8, erodeBitfieldFast2D_8}},
        {"dilation2D_8",
         false,
         true,
         ZbMorphology::dilation2D_8,
         {dilateBitfieldSlow2D_8, dilateBitfieldFastGeneral2D_8, dilateBitfieldFast2D_8}},
    };
    for (const ImageRule& rule : rules)
        for (ZbVec3i dims : grids()) {
            dims.y *= dims.z;
            dims.z = 1;
            const ZbVec2i image(dims.x, dims.y);
            const Bits bits = randomBits(dims, rule.erodes ? 0.9 : 0.1);
            const Bits result = expected(bits, dims, rule.erodes, {.isSquare = rule.isSquare}, nullptr);
            const auto check = [&](auto operation) {
                expectResult(
                    rule.name, [&](const Field& src, Field& dst) { operation(src, dst, image); }, bits,
                    result, dims);
            };
            check(rule.operation);
            for (size_t i = 0; i < rule.others.size(); ++i)
                if (i < 2 || dims.x % 32 == 0)
                    check(rule.others[i]);
        }
}

// Slices of a word and less, and rows that are no whole words, so that threads share words.
const ZbVec3i repeatedGrids[] = {{7, 5, 9},   {32, 3, 40},  {33, 1, 70}, {35, 1, 1},   {35, 6, 90},
                                 {64, 9, 60}, {100, 70, 1}, {128, 1, 1}, {129, 12, 33}};

TEST(ZbMorphology, iterationsRepeatTheStep)
{
    for (const size_t numThreads : {1, 2, 7}) {
        const tbb::global_control control(tbb::global_control::max_allowed_parallelism, numThreads);
        for (const ZbVec3i& dims : repeatedGrids)
            for (const bool isProtected : {false, true}) {
                const Neighbours along{dims.x % 3 != 0, dims.z % 4 != 0, true};
                const Bits mask = randomBits(dims, 0.01);
                const Field protect = fieldOf(mask);
                Bits eroded = randomBits(dims, 0.998), dilated = randomBits(dims, 0.002);
                const Field toErode = fieldOf(eroded), toDilate = fieldOf(dilated);
                for (const int iterations : {-1, 0, 1, 2, 3, 4, 5, 11}) {
                    static int made;
                    for (made = iterations > 0 ? made : 0; made < iterations; ++made) {
                        eroded = expected(eroded, dims, true, along, isProtected ? &mask : nullptr);
                        dilated = expected(dilated, dims, false, {}, nullptr);
                    }
                    Field dst = arbitraryField(eroded.size());
                    ZbMorphology::erosion3D(toErode, dst, dims, iterations, along.z, along.y, along.x,
                                            isProtected ? &protect : nullptr);
                    EXPECT_EQ(difference(dst, eroded, dims), "") << iterations << " erosions, nx " << dims.x;
                    ZbMorphology::dilation3D(toDilate, dst, dims, iterations);
                    EXPECT_EQ(difference(dst, dilated, dims), "")
                        << iterations << " dilations, nx " << dims.x;
                }
            }
    }
}

// With threads that ThreadSanitizer sees through, which it does not with those of oneTBB.
TEST(ZbMorphology, rangesThatShareWordsMayRunAtOnce)
{
    for (const ZbVec3i& dims : {ZbVec3i(33, 1, 70), ZbVec3i(5, 2, 64), ZbVec3i(35, 6, 90)})
        for (const int steps : {1, 2, 3})
            for (const unsigned long sliceCount : {1ul, 3ul}) {
                const Bits bits = randomBits(dims, 0.95), mask = randomBits(dims, 0.3);
                const Field src = fieldOf(bits), protect = fieldOf(mask);
                Bits result = bits;
                for (int step = 0; step < steps; ++step)
                    result = expected(result, dims, true, {}, &mask);
                Field dst = arbitraryField(bits.size());
                std::vector<std::thread> threads;
                for (unsigned long z = 0; z < (unsigned long)(dims.z); z += sliceCount)
                    threads.emplace_back([&, z] {
                        const SliceRange range(z, std::min(z + sliceCount, (unsigned long)(dims.z)));
                        erodeBitfieldRegionFastGeneral(src, dst, dims, range, true, true, true, &protect,
                                                       steps);
                    });
                for (std::thread& thread : threads)
                    thread.join();
                EXPECT_EQ(difference(dst, result, dims), "") << steps << " steps, nx " << dims.x;
            }
}

TEST(ZbMorphology, slicesTooLargeForTheCacheAreMadeStepByStep)
{
    for (const int nx : {4096, 4097}) {
        const ZbVec3i dims(nx, 300, 2);
        EXPECT_EQ(stepsInOnePass(dims, 4), 1);
        Bits bits(size_t(dims.x) * 300 * 2);
        bits[size_t(nx) * 150 + 2048] = true;
        Field once, repeated = fieldOf(bits), all;
        ZbMorphology::dilation3D(repeated, all, dims, 4);
        for (int i = 0; i < 4; ++i) {
            ZbMorphology::dilation3D(repeated, once, dims, 1);
            std::swap(repeated, once);
        }
        EXPECT_TRUE(all == repeated);
        // Points up to 4 steps away: 2 n^2 + 2 n + 1 in the slice, and 3 steps in the other one.
        EXPECT_EQ(all.nSetBits(), 41u + 25u);
        ZbMorphology::erosion3D(all, once, dims, 3, true, true, true, nullptr);
        for (int i = 0; i < 3; ++i) {
            ZbMorphology::erosion3D(all, repeated, dims, 1, true, true, true, nullptr);
            std::swap(repeated, all);
        }
        EXPECT_TRUE(once == all);
    }
}

TEST(ZbMorphology, destinationGetsTheSizeOfTheGrid)
{
    const ZbVec3i dims(40, 3, 2);
    const Field src(240, Field::INIT_SET);
    for (const unsigned long before : {0ul, 100ul, 1000ul}) {
        Field dst(before, Field::INIT_SET);
        ZbMorphology::dilation3D(src, dst, dims, 2);
        EXPECT_TRUE(dst == src);
    }
    for (const ZbVec3i& empty : {ZbVec3i(0, 4, 4), ZbVec3i(40, 0, 4), ZbVec3i(64, 4, -1)}) {
        const Field nothing;
        Field dst(50, Field::INIT_SET);
        ZbMorphology::erosion3D(nothing, dst, empty, 3, true, true, true, nullptr);
        EXPECT_EQ(dst.nBits(), 0u);
        ZbMorphology::dilation3D(nothing, dst, empty, 3);
        ZbMorphology::erosion2D_8(nothing, dst, ZbVec2i(empty.x, std::min(empty.y, empty.z)));
        EXPECT_EQ(dst.nBits(), 0u);
    }
}

}  // namespace

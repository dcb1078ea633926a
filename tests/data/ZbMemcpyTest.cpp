#include <zblib/data/ZbMemcpy.h>

#include <tests/support/RandomPattern.h>

#include <gtest/gtest.h>

#include <numeric>

namespace
{

using Bytes = std::vector<unsigned char>;

Bytes randomBytes(std::mt19937& random, long size)
{
    Bytes bytes(static_cast<size_t>(size));
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(random()); });
    return bytes;
}

// Against the definition: byte by byte, from a copy of the memory, so that what overlaps is read first.
void expectPlainCopy(const Bytes& memory, long target, const PatternLevels& to, long source,
                     const PatternLevels& from)
{
    const std::vector<long> toOffsets = loopOffsets(to), fromOffsets = loopOffsets(from);
    Bytes actual = memory, expected = memory;
    for (size_t i = 0; i < std::min(toOffsets.size(), fromOffsets.size()); ++i)
        expected[size_t(target + toOffsets[i])] = memory[size_t(source + fromOffsets[i])];
    EXPECT_EQ(zbmemcpy(actual.data() + target, to.pattern(), actual.data() + source, from.pattern()),
              fromOffsets.size() < toOffsets.size());
    EXPECT_EQ(actual, expected);
}

TEST(Zbmemcpy, agreesWithByteLoopsFarApartAndWhereMemoryOverlaps)
{
    std::mt19937 random(2);
    const long runs[] = {1, 1, 2, 2, 3, 4, 4, 5, 6, 8, 8, 12, 16, 17, 40};
    for (int round = 0; round < 2000; ++round) {
        const PatternLevels to = randomLevels(random, runs[random() % std::size(runs)]);
        // Often of the same shape or with the same runs, and often dense.
        PatternLevels from =
            randomLevels(random, random() % 2 ? to.counts[0] : runs[random() % std::size(runs)]);
        if (random() % 3 == 0)
            from = to;
        else if (random() % 3 == 0)
            from = {{to.pattern().byteCount() + long(random() % 3) - 1}, {1}};
        const long reach = std::max(patternReach(to), patternReach(from)) + 10;
        const Bytes memory = randomBytes(random, 4 * reach);
        const long near = round % 2 ? 3 * reach : reach + long(random() % 21) - 10;
        SCOPED_TRACE(round);
        expectPlainCopy(memory, reach, to, near, from);
        expectPlainCopy(memory, near, from, reach, to);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(Zbmemcpy, keepsTheLastOfRepeatedWrites)
{
    Bytes memory(100);
    std::iota(memory.begin(), memory.end(), static_cast<unsigned char>(0));
    for (const PatternLevels& repeated : {PatternLevels{{4, 3}, {1, 0}}, PatternLevels{{4, 3}, {1, 2}}})
        for (const long target : {0, 2, 11, 50}) {
            expectPlainCopy(memory, target, repeated, 2, {{12}, {1}});
            expectPlainCopy(memory, target, repeated, 2, repeated);
        }
}

TEST(Zbmemcpy, copiesNothingForPatternsWithoutBytes)
{
    const PatternLevels none{{}, {}}, emptyRun{{0, 3}, {1, 4}}, emptyMiddle{{4, 0, 3}, {1, 4, 8}},
        some{{4}, {1}};
    for (const PatternLevels& empty : {none, emptyRun, emptyMiddle}) {
        char target[] = "keep";
        EXPECT_FALSE(zbmemcpy(target, empty.pattern(), "data", some.pattern()));
        EXPECT_TRUE(zbmemcpy(target, some.pattern(), "data", empty.pattern()));
        EXPECT_STREQ(target, "keep");
    }
}

}  // namespace

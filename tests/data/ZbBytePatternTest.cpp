#include <zblib/data/ZbBytePattern.h>
#include <zblib/foundation/ZbException.h>

#include <tests/support/RandomPattern.h>

#include <gtest/gtest.h>

#include <climits>

namespace
{

TEST(ZbBytePattern, foldsLevelsThatContinueWithoutAGap)
{
    struct Case {
        PatternLevels levels;
        int nesting;
        long byteCount;
        long minMemRequirement;
    };
    const Case cases[] = {
        {{{}, {}}, 0, 1, 1},
        {{{2, 3}, {1, 2}}, 1, 6, 6},
        {{{2, 3}, {1, 3}}, 2, 6, 8},
        {{{4, 10}, {1, 16}}, 2, 40, 148},
        {{{4, 5, 6, 7}, {1, 4, 20, 120}}, 1, 840, 840},
        {{{4, 5, 6, 7}, {1, 8, 40, 240}}, 2, 840, 1676},
        {{{4, 1, 3}, {1, 40, 4}}, 3, 12, 12},
        {{{4, 0, 3}, {1, 9, 99}}, 3, 0, 193},
        {{{3, 4}, {1, -3}}, 2, 12, -6},
        {{{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}}, 1, 1, 1},
    };
    for (const Case& c : cases) {
        const ZbBytePattern pattern = c.levels.pattern();
        EXPECT_EQ(pattern.nesting(), c.nesting);
        EXPECT_EQ(pattern.byteCount(), c.byteCount);
        EXPECT_EQ(pattern.minMemRequirement(), c.minMemRequirement);
    }
    EXPECT_EQ(ZbBytePattern::CreateContigousBlock(77).byteCount(), 77);
}

TEST(ZbBytePattern, refusesWhatDoesNotFitAndStaysAsItWas)
{
    const PatternLevels refused[] = {
        {{2, 2, 2, 2, 2, 2, 2, 2, 2}, {1, 3, 9, 27, 81, 243, 729, 2187, 6561}},
        {{LONG_MAX, 2}, {0, 0}},
        {{LONG_MAX / 2, 2}, {4, 1}},
        {{2, 2}, {1, LONG_MIN}},
        {{LONG_MAX}, {1}},
    };
    ZbBytePattern pattern = ZbBytePattern::CreateContigousBlock(5);
    for (const PatternLevels& levels : refused) {
        EXPECT_THROW(pattern.init(int(levels.counts.size()), levels.counts.data(), levels.strides.data()),
                     ZbException);
        EXPECT_EQ(pattern.byteCount(), 5);
    }
}

TEST(ZbBytePattern, countsInElementsAfterChangeOfElementSize)
{
    ZbBytePattern pattern = PatternLevels{{12, 5, 2}, {1, 16, 101}}.pattern();
    pattern.changeElemSize(4);
    EXPECT_EQ(pattern.byteCount(), 3 * 5 * 2);
    EXPECT_EQ(pattern.minMemRequirement(), 1 + 2 * 1 + 4 * 4 + 1 * 25);
}

TEST(ZbBytePatternIterator, visitsWhatNestedLoopsVisit)
{
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        const PatternLevels levels = randomLevels(random, 1 + long(random() % 5));
        const ZbBytePattern pattern = levels.pattern();
        const std::vector<long> expected = loopOffsets(levels);
        ASSERT_EQ(pattern.byteCount(), long(expected.size()));

        ZbBytePattern::Iterator it(pattern), moved(pattern);
        long previous = 0;
        for (size_t i = 0; i < expected.size();) {
            ASSERT_TRUE(it.more());
            ASSERT_EQ(it.offset(), expected[i]);
            ASSERT_EQ(it.offset() - previous, it.delta());
            previous = it.offset();
            const long run = it.contiguous();
            for (long k = 0; k < run; ++k)
                ASSERT_EQ(expected[i + size_t(k)], it.offset() + k);
            moved.move(long(i));
            ASSERT_EQ(moved.offset(), it.offset());
            ASSERT_EQ(moved.contiguous(), run);
            ASSERT_EQ(moved.delta(), 0);
            const long n = 1 + long(random() % unsigned(run));
            it.forward(n);
            i += size_t(n);
        }
        EXPECT_FALSE(it.more());
        moved.move(pattern.byteCount());
        EXPECT_FALSE(moved.more());
        EXPECT_EQ(moved.offset(), it.offset());
    }
}

TEST(ZbBytePatternIterator, isHarmlessWithoutBytes)
{
    for (const ZbBytePattern& pattern : {ZbBytePattern(), PatternLevels{{3, 0, 4}, {1, 5, 7}}.pattern()}) {
        ZbBytePattern::Iterator it(pattern);
        it.forward(it.contiguous());
        it.move(7);
        EXPECT_FALSE(it.more());
    }
}

}  // namespace

#include <zblib/data/ZbMemorySelection.h>
#include <zblib/foundation/ZbException.h>

#include <gtest/gtest.h>

#include <climits>
#include <numeric>
#include <vector>

namespace
{

// A dense block of 7 x 5 x 6 elements of two components, each of which holds its own index.
class ZbMemorySelectionTest : public ::testing::Test
{
protected:
    ZbMemorySelectionTest() { std::iota(m_data.begin(), m_data.end(), short(0)); }

    ZbMemorySelection select(const ZbDataSpace& space) { return {ZbDataPointer(m_data.data(), 2), space}; }

    // The indices of the components that are selected, in order.
    static std::vector<short> indices(const ZbDataSpace& space)
    {
        const auto position = [&](int dim, int i) {
            return space.selectionStart(dim) + i * space.selectionStride(dim);
        };
        std::vector<short> values;
        for (int z = 0; z < space.selectionSize(2); ++z)
            for (int y = 0; y < space.selectionSize(1); ++y)
                for (int x = 0; x < space.selectionSize(0); ++x) {
                    const int element = position(0, x) + 7 * (position(1, y) + 5 * position(2, z));
                    values.insert(values.end(), {short(2 * element), short(2 * element + 1)});
                }
        return values;
    }

    static std::vector<short> read(const ZbMemorySelection& selection)
    {
        std::vector<short> values(size_t(selection.selectionElemCount() * 2));
        EXPECT_EQ(selection.get(0, LLONG_MAX, values.data()), selection.selectionElemCount());
        return values;
    }

    ZbDataSpace m_space{7, 5, 6};
    std::vector<short> m_data = std::vector<short>(7 * 5 * 6 * 2);
};

TEST_F(ZbMemorySelectionTest, readsAndWritesAnyRangeOfElements)
{
    m_space.setSelection(0, 6, 3, -2);
    m_space.setSelection(1, 1, 4, 1);
    m_space.setSelection(2, 0, 2, 3);
    const std::vector<short> all = indices(m_space), before = m_data;
    for (long start = 0; start <= 24; ++start)
        for (long n = 0; n <= 25; ++n) {
            const long expected = std::min(n, 24 - start);
            std::vector<short> buffer(size_t(n * 2), short(-1));
            ASSERT_EQ(select(m_space).get(start, n, buffer.data()), expected);
            std::vector<short> changed = before;
            for (long i = 0; i < n * 2; ++i) {
                short& value = buffer[size_t(i)];
                ASSERT_EQ(value, i < expected * 2 ? all[size_t(start * 2 + i)] : -1);
                if (i < expected * 2)
                    changed[size_t(value)] = short(-value);
                value = short(-value);
            }
            ASSERT_EQ(select(m_space).put(start, n, buffer.data()), expected);
            ASSERT_EQ(m_data, changed);
            m_data = before;
        }
}

TEST_F(ZbMemorySelectionTest, transfersNothingOutsideOfTheSelection)
{
    const ZbMemorySelection selection = select(m_space);
    const std::vector<short> before = m_data;
    short buffer[] = {77, 77};
    for (const auto& [start, n] : {std::pair<long long, long long>{210, 1}, {-1, 1}, {0, -1}, {LLONG_MAX, 1}})
        EXPECT_EQ(selection.get(start, n, buffer) + selection.put(start, n, buffer), 0);
    EXPECT_EQ(buffer[0], 77);
    m_space.setSelection(1, 0, 0, 1);
    for (const ZbMemorySelection& none : {ZbMemorySelection(), select(ZbDataSpace()), select(m_space)}) {
        EXPECT_EQ(none.selectionElemCount(), 0);
        EXPECT_EQ(none.put(0, 1, buffer), 0);
        none.copyFrom(selection);
        selection.copyFrom(none);
    }
    EXPECT_EQ(m_data, before);
}

TEST_F(ZbMemorySelectionTest, selectsInsideOfASelection)
{
    ZbDataSpace outer = m_space, inner = m_space;
    const int outerStarts[] = {1, 0, 1}, outerSizes[] = {3, 3, 5}, outerStrides[] = {2, 2, 1};
    const int innerStarts[] = {3, 0, 2}, innerSizes[] = {2, 2, 2}, innerStrides[] = {2, 4, 3};
    outer.selectHyperslab(outerStarts, outerSizes, outerStrides);
    inner.selectHyperslab(innerStarts, innerSizes, innerStrides);
    EXPECT_EQ(read({inner, outer, select(outer)}), indices(inner));
    std::vector<short> held = read(select(outer));
    EXPECT_EQ(read({inner, outer, {ZbDataPointer(held.data(), 2), 3, outerSizes}}), indices(inner));
}

TEST_F(ZbMemorySelectionTest, copiesWithinTheSameMemory)
{
    ZbDataSpace from = m_space, to = m_space;
    const int low[] = {0, 0, 0}, high[] = {2, 1, 1}, sizes[] = {5, 4, 5};
    from.selectHyperslab(low, sizes);
    to.selectHyperslab(high, sizes);
    for (int direction = 0; direction < 2; ++direction, std::swap(from, to)) {
        const std::vector<short> expected = read(select(from));
        select(to).copyFrom(select(from));
        EXPECT_EQ(read(select(to)), expected);
    }
}

TEST_F(ZbMemorySelectionTest, refusesWhatDoesNotFit)
{
    const ZbDataPointer data(m_data.data());
    const int sizes[11] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2};
    EXPECT_THROW(ZbMemorySelection(data, 11, sizes), ZbException);
    EXPECT_THROW(select(ZbDataSpace(INT_MAX, INT_MAX, INT_MAX, 2)), ZbException);
    // With the bytes of an element, these are nine levels. Dense ones are folded.
    const long gaps[] = {2, 8, 32, 128, 512, 2048, 8192, 32768};
    short value;
    EXPECT_THROW(ZbMemorySelection(data, 8, sizes, gaps).get(0, 1, &value), ZbException);
    EXPECT_EQ(ZbMemorySelection(data, 8, sizes).get(0, 1, &value), 1);
}

}  // namespace

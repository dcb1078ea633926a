#include <zblib/containers/ZbDArray.h>

#include <zblib/foundation/ZbMemoryException.h>

#include "tests/support/Tracked.h"

#include <QString>

#include <gmock/gmock.h>

#include <functional>
#include <numeric>
#include <random>
#include <ranges>
#include <span>
#include <vector>

template class ZbDArray<int>;
template class ZbDArray<QString>;
template class ZbDArray<Tracked>;
template class ZbDArray<ZbDArray<int>>;
static_assert(std::ranges::contiguous_range<ZbDArray<int>> && std::ranges::sized_range<const ZbDArray<int>>);
static_assert(std::is_nothrow_move_constructible_v<ZbDArray<Tracked>>);

namespace
{

using testing::ElementsAre;

int compareInts(const int& a, const int& b)
{
    return a < b ? -1 : a > b;
}

template <typename T>
T makeItem(int i)
{
    if constexpr (std::is_same_v<T, QString>)
        return QString::number(i);
    else
        return T(i);
}

struct Node {
    int value = 0;
    ZbDArray<Node> children;
};

template <typename T>
class ZbDArrayOf : public testing::Test
{
protected:
    ~ZbDArrayOf() override { EXPECT_EQ(Tracked::alive, 0); }
};
using ElementTypes = testing::Types<int, char, QString, Tracked>;
TYPED_TEST_SUITE(ZbDArrayOf, ElementTypes);

}  // namespace

template <>
struct ZbIsRelocatable<Node> : std::true_type {
};

TYPED_TEST(ZbDArrayOf, agreesWithStdVectorOnRandomOperations)
{
    using T = TypeParam;
    std::mt19937 random(7);
    const auto below = [&](long n) { return n <= 0 ? 0L : long(random() % std::size_t(n)); };
    ZbDArray<T> array;
    std::vector<T> expected;
    for (int step = 0; step < 3000; ++step) {
        // What is added lies in the array itself, or is new.
        const long size = array.size();
        const long pos = below(size + 1);
        const long from = below(size);
        const long n = std::min(below(6), size - from);
        const T fresh = makeItem<T>(int(below(100)));
        const T& item = size > 0 && below(2) == 0 ? array[from] : fresh;
        const std::vector<T> items(array.begin() + from, array.begin() + from + n);
        const T copy = item;
        switch (below(9)) {
        case 0:
        case 1:
            EXPECT_EQ(array.append(item), size);
            expected.push_back(copy);
            break;
        case 2:
            array.insert(pos, item);
            expected.insert(expected.begin() + pos, copy);
            break;
        case 3:
            EXPECT_EQ(array.append(array.data() + from, n), size);
            expected.insert(expected.end(), items.begin(), items.end());
            break;
        case 4:
            array.insert(pos, array.data() + from, n);
            expected.insert(expected.begin() + pos, items.begin(), items.end());
            break;
        case 5:
            array.remove(from, n);
            array.removeLast(std::min(n, array.size()));
            expected.erase(expected.begin() + from, expected.begin() + from + n);
            expected.resize(std::size_t(array.size()));
            break;
        case 6:
            EXPECT_EQ(array.find(copy), expected.end() == std::ranges::find(expected, copy)
                                            ? -1
                                            : std::ranges::find(expected, copy) - expected.begin());
            array.squeeze();
            EXPECT_EQ(array.capacity(), size);
            break;
        case 7:
            if (below(9) == 0) {
                array.fill(item);
                std::ranges::fill(expected, copy);
            }
            break;
        case 8: {
            const ZbDArray<T> whole(array);
            ZbDArray<T> moved(std::move(array));
            EXPECT_TRUE(array.isEmpty());
            array.resize(below(50));
            array = whole;
            moved = std::move(array);
            array = std::move(moved);
            array = *&array;
        }
        }
        ASSERT_EQ(array, ZbDArray<T>(array));
        ASSERT_TRUE(std::ranges::equal(array, expected)) << "step " << step;
        ASSERT_EQ(array.data() == nullptr, array.capacity() == 0);
    }
}

TEST(ZbDArray, growsByHalfOfTheSize)
{
    ZbDArray<int> array;
    std::vector<long> capacities;
    for (int i = 0; i < 30; ++i) {
        array.append(i);
        if (capacities.empty() || capacities.back() != array.capacity())
            capacities.push_back(array.capacity());
    }
    EXPECT_THAT(capacities, ElementsAre(1, 2, 3, 4, 6, 9, 13, 19, 28, 42));

    array.resize(7);
    EXPECT_EQ(array.capacity(), 42);
    array.squeeze();
    array.resize(8);  // half of the size 7, not of the capacity
    EXPECT_EQ(array.capacity(), 10);
    array.remax(11);
    EXPECT_EQ(array.capacity(), 12);
    array.remax(100);
    EXPECT_EQ(array.capacity(), 100);
    array.insertMemory(3, 93);
    EXPECT_EQ(array.capacity(), 101);
    EXPECT_EQ(array[2], 2);
    EXPECT_EQ(array[96], 3);

    ZbDArray<int> kept(10);
    kept = ZbDArray<int>(array);  // takes the memory of the other
    EXPECT_EQ(kept.capacity(), 101);
    const ZbDArray<int> longer(102);
    kept = longer;
    EXPECT_EQ(kept.capacity(), 151);
    kept.resize(-5);
    EXPECT_EQ(kept.size(), 0);
    EXPECT_EQ(kept.capacity(), 151);
}

TEST(ZbDArray, impossibleRequestsLeaveTheArray)
{
    ZbDArray<double> array{1, 2, 3};
    array.squeeze();
    const double item = 4;
    const volatile long most = LONG_MAX;  // a constant would make the compiler warn
    EXPECT_THROW(array.resize(most), ZbMemoryException);
    EXPECT_THROW(array.resize(most / 8 + 1), ZbMemoryException);
    EXPECT_THROW(array.remax(most / 16), ZbMemoryException);
    EXPECT_THROW(array.insertMemory(1, most - 1), ZbMemoryException);
    EXPECT_THROW(array.append(&item, most), ZbMemoryException);
    EXPECT_THROW(array.insert(0, &item, most), ZbMemoryException);
    EXPECT_THROW(ZbDArray<char>(long(most)), ZbMemoryException);
    EXPECT_THAT(array, ElementsAre(1, 2, 3));
    EXPECT_EQ(array.capacity(), 3);
}

TEST(ZbDArray, failingCopiesLeaveTheArray)
{
    {
        const ZbDArray<Tracked> before{0, 1, 2, 3};
        const ZbDArray<Tracked> others{5, 6, 7};
        ZbDArray<Tracked> array(before);
        const std::function<void()> operations[] = {
            [&] { array.append(others[0]); },
            [&] { array.insert(1, others[0]); },
            [&] { array.append(others.data(), 3); },
            [&] { array.insert(1, others.data(), 3); },
            [&] { array = others; },
        };
        for (const auto& operation : operations) {
            for (const int copies : {0, 1}) {
                array.squeeze();
                Tracked::copiesUntilFailure = copies;
                bool hasFailed = false;
                try {
                    operation();
                } catch (const std::runtime_error&) {
                    hasFailed = true;
                }
                Tracked::copiesUntilFailure = -1;
                EXPECT_TRUE(hasFailed || copies > 0);
                if (hasFailed) {
                    EXPECT_EQ(array, before);
                }
                array = before;
            }
        }
    }
    EXPECT_EQ(Tracked::alive, 0);
}

TEST(ZbDArray, assignsFromInsideItself)
{
    Node root{0, {Node{1, {Node{2, {}}, Node{3, {}}}}, Node{4, {}}}};
    Node copied(root);
    copied.children = copied.children[0].children;
    root.children = std::move(root.children[0].children);
    for (const Node& node : {copied, root}) {
        ASSERT_EQ(node.children.size(), 2);
        EXPECT_EQ(node.children[1].value, 3);
    }
}

TEST(ZbDArray, resizeConstructsAndDestroysElements)
{
    ZbDArray<Tracked> array(3);
    EXPECT_EQ(array[2].value(), -1);
    array.resize(10);
    EXPECT_EQ(Tracked::alive, 10);
    array.resize(2);
    array.remove(0);
    EXPECT_EQ(Tracked::alive, 1);
    array.clear();
    EXPECT_EQ(Tracked::alive, 0);
}

TEST(ZbDArray, sortedSearchFindsTheLastOfEqualOnes)
{
    const ZbDArray<int> sorted{1, 3, 3, 3, 7};
    const int expected[] = {-1, 0, -1, 3, -1, -1, -1, 4, -1};
    for (int value = 0; value < 9; ++value)
        EXPECT_EQ(sorted.findSorted(value, compareInts), expected[value]) << value;
    EXPECT_EQ(ZbDArray<int>().findSorted(1, compareInts), -1);
    // Between the indices 1 and 3, both excluded; the search ends at its bounds.
    EXPECT_EQ(sorted.findSorted(3, compareInts, 0, 3), 2);
    EXPECT_EQ(sorted.findSorted(7, compareInts, 0, 4), 4);
    EXPECT_EQ(sorted.findSorted(7, compareInts, 0, 3), -1);
}

TEST(ZbDArray, sortedInsertionIsStable)
{
    using Entry = std::pair<int, int>;
    const auto byFirst = [](const Entry& a, const Entry& b) { return a.first - b.first; };
    std::mt19937 random(3);
    ZbDArray<Entry> inserted;
    ZbDArray<Entry> sorted;
    for (int i = 0; i < 300; ++i) {
        const Entry entry(int(random() % 40), i);
        const long index = inserted.insertSorted(entry, byFirst);
        EXPECT_EQ(inserted[index], entry);
        sorted.append(entry);
    }
    EXPECT_TRUE(std::ranges::is_sorted(inserted));  // by the order of insertion where the first is equal
    sorted.sort(byFirst);
    EXPECT_EQ(sorted, inserted);
    EXPECT_EQ(inserted.insertSorted(inserted[5], byFirst, 100, 102),
              101);  // an interval that the caller knows
}

TEST(ZbDArray, worksWithTheStandardLibrary)
{
    ZbDArray<int> array(100);
    std::iota(array.begin(), array.end(), 0);
    std::ranges::sort(array, std::greater());
    const std::span<const int> view(array);
    EXPECT_EQ(view.front(), 99);
    EXPECT_EQ(std::accumulate(view.begin(), view.end(), 0), 4950);
}

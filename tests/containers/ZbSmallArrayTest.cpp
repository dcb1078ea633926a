#include <zblib/containers/ZbSmallArray.h>

#include "tests/support/Tracked.h"

#include <QString>

#include <gtest/gtest.h>

#include <random>
#include <ranges>
#include <vector>

template class ZbSmallArray<int, 2>;
template class ZbSmallArray<QString, 3>;

TEST(ZbSmallArray, agreesWithStdVectorAcrossTheInlineSize)
{
    {
        std::mt19937 random(5);
        ZbSmallArray<Tracked, 3> array;
        std::vector<Tracked> expected;
        for (int step = 0; step < 2000; ++step) {
            if (random() % 3 == 0) {
                const int n = int(random() % 9) - 1;
                array.resize(n);
                expected.resize(std::size_t(std::max(n, 0)));
            } else if (random() % 4 == 0) {
                ZbSmallArray<Tracked, 3> copy(array);
                array.clear();
                array = copy;
                swap(array, copy);
                ZbSmallArray<Tracked, 3> taken(std::move(array));
                std::ranges::reverse(taken);
                std::ranges::reverse(taken);
                array = std::move(taken);
            } else {
                const Tracked item = array.isEmpty() ? Tracked(step) : array[0];
                array.append(array.isEmpty() ? item : array[0]);
                expected.push_back(item);
            }
            ASSERT_TRUE(std::ranges::equal(array, expected)) << "step " << step;
            const auto* place = reinterpret_cast<const char*>(array.data());
            const auto* object = reinterpret_cast<const char*>(&array);
            ASSERT_EQ(place >= object && place < object + sizeof array, array.size() <= 3);
        }
    }
    EXPECT_EQ(Tracked::alive, 0);
}

TEST(ZbSmallArray, growsByHalfOfTheSizeBeyondTheInlineSlots)
{
    ZbSmallArray<int, 2> array;
    std::vector<int> capacities;
    for (int i = 0; i < 12; ++i) {
        array.append(i);
        capacities.push_back(array.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<int>{2, 2, 3, 4, 6, 6, 9, 9, 9, 13, 13, 13}));
    array.resize(2);
    EXPECT_EQ(array.capacity(), 2);
    EXPECT_EQ(array[1], 1);
}

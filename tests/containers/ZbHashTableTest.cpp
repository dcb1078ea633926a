#include <zblib/containers/ZbHashTable.h>

#include <zblib/containers/ZbHashTableIterator.h>

#include "tests/support/Tracked.h"

#include <QString>

#include <gmock/gmock.h>

#include <list>
#include <map>
#include <random>
#include <ranges>
#include <set>
#include <string>
#include <vector>

template class ZbHashTable<int, int>;
template class ZbHashTable<QString, Tracked>;
static_assert(std::ranges::forward_range<const ZbHashTable<const char*, QString>>);

namespace
{

using testing::ElementsAre;
using testing::Pair;

// The rules in their plain form: chains as lists, buckets rebuilt by relinking all of them in order.
template <typename Key>
class PlainTable
{
public:
    int insert(const Key& key, int value)
    {
        for (auto& [oldKey, oldValue] : chainOf(key)) {
            if (isEqual(oldKey, key)) {
                oldValue = value;
                return 0;
            }
        }
        chainOf(key).emplace_front(key, value);
        if (++m_count > 2 * int(m_chains.size()) - 1) {
            const auto old = std::exchange(m_chains, std::vector<Chain>(2 * m_chains.size()));
            for (const Chain& chain : old) {
                for (const auto& entry : chain)
                    chainOf(entry.first).push_front(entry);
            }
        }
        return 1;
    }
    bool remove(const Key& key)
    {
        const bool isRemoved =
            chainOf(key).remove_if([&](const auto& entry) { return isEqual(entry.first, key); }) > 0;
        m_count -= isRemoved ? 1 : 0;
        return isRemoved;
    }
    void removeAll()
    {
        m_chains.assign(m_chains.size(), Chain());
        m_count = 0;
    }
    std::vector<std::pair<Key, int>> entries() const
    {
        std::vector<std::pair<Key, int>> all;
        for (const Chain& chain : m_chains)
            all.insert(all.end(), chain.begin(), chain.end());
        return all;
    }
    int numBuckets() const { return int(m_chains.size()); }

private:
    using Chain = std::list<std::pair<Key, int>>;

    static bool isEqual(const Key& a, const Key& b)
    {
        if constexpr (std::is_same_v<Key, const char*>)
            return std::string(a) == b;
        else
            return a == b;
    }
    Chain& chainOf(const Key& key) { return m_chains[zbhash(key) % m_chains.size()]; }

    std::vector<Chain> m_chains = std::vector<Chain>(2);
    int m_count = 0;
};

template <typename Table, typename Key>
std::vector<std::pair<Key, int>> entriesByNext(Table& table, Key key)
{
    std::vector<std::pair<Key, int>> entries;
    int value = 0;
    while (table.next(key, value))
        entries.emplace_back(key, value);
    return entries;
}

template <typename Key>
std::vector<Key> makeKeys()
{
    static std::list<std::string> texts;  // two addresses a text
    std::vector<Key> keys;
    for (int i = 0; i < 200; ++i) {
        if constexpr (std::is_same_v<Key, int>)
            keys.push_back((i / 2 - 50) * 12345);
        else if constexpr (std::is_same_v<Key, QString>)
            keys.push_back(QString::number(i / 2));
        else
            keys.push_back(texts.emplace_back("key" + std::to_string(i / 2)).c_str());
    }
    return keys;
}

template <typename Key>
class ZbHashTableOf : public testing::Test
{
};
using KeyTypes = testing::Types<int, const char*, QString>;
TYPED_TEST_SUITE(ZbHashTableOf, KeyTypes);

}  // namespace

TYPED_TEST(ZbHashTableOf, agreesWithThePlainRulesOnRandomOperations)
{
    using Key = TypeParam;
    const std::vector<Key> keys = makeKeys<Key>();
    std::mt19937 random(11);
    ZbHashTable<Key, int> table(-1);
    PlainTable<Key> expected;
    for (int step = 0; step < 4000; ++step) {
        const Key& key = keys[random() % keys.size()];
        const auto operation = random() % 1000;
        if (operation < 500) {
            ASSERT_EQ(table.insert(key, step), expected.insert(key, step));
        } else if (operation < 997) {
            ASSERT_EQ(table.remove(key), expected.remove(key));
            EXPECT_FALSE(table.contains(key));
        } else {
            table.removeAll();
            expected.removeAll();
        }
        const auto entries = expected.entries();
        ASSERT_EQ(table.numBuckets(), expected.numBuckets());
        ASSERT_EQ(table.size(), int(entries.size()));
        ASSERT_TRUE(std::ranges::equal(
            table, entries,
            [](const auto& a, const auto& b) { return a.key == b.first && a.value == b.second; }))
            << "step " << step;
    }
    const auto entries = expected.entries();
    EXPECT_EQ(entriesByNext(table, Key()), entries);
    EXPECT_EQ(entriesByNext(table, Key()), entries);
    ZbHashTableIterator<Key, int> iterator(table);
    EXPECT_EQ(entriesByNext(iterator, Key()), entries);
    Key key;
    int value = 0;
    EXPECT_TRUE(iterator.next(key, value));
    iterator.resetIter();
    EXPECT_EQ(entriesByNext(iterator, Key()), entries);
    for (const auto& [present, presentValue] : entries)
        EXPECT_EQ(*table.lookup(present), presentValue);
}

TEST(ZbHashTable, largeTablesKeepTheOrderToo)
{
    ZbHashTable<int, int> table(0);
    PlainTable<int> expected;
    std::mt19937 random(13);
    for (int i = 0; i < 40000; ++i) {
        const int key = int(random());
        ASSERT_EQ(table.insert(key, i), expected.insert(key, i));
    }
    EXPECT_EQ(entriesByNext(table, 0), expected.entries());
}

TEST(ZbHashTable, indexAddsTheDefaultValue)
{
    ZbHashTable<const char*, QString> table("none");
    EXPECT_EQ(table["a"], "none");
    table["b"] = "B";
    EXPECT_EQ(table.size(), 2);
    EXPECT_EQ(table.lookup("c"), nullptr);
    for (auto [key, value] : table)
        value += key;
    EXPECT_EQ(*std::as_const(table).lookup("b"), "Bb");
    table.insert("d", *table.lookup("b"));
    EXPECT_EQ(table["d"], "Bb");
    EXPECT_EQ(table.numBuckets(), 2);
    table["e"];
    EXPECT_EQ(table.numBuckets(), 4);  // four entries need more than two buckets
}

TEST(ZbHashTable, nextLosesNothingWhileTheTableChanges)
{
    std::mt19937 random(2);
    for (int round = 0; round < 600; ++round) {
        const bool grows = round % 2 == 0;
        ZbHashTable<int, int> table(0);
        int key = 0;
        int value = 0;
        EXPECT_FALSE(table.next(key, value));
        std::set<int> left;  // there from the start, and not given yet
        for (int i = int(random() % 40); i >= 0; --i) {
            const int added = int(random() % 100);
            table.insert(added, i);
            left.insert(added);
        }
        for (int given = 0; table.next(key, value); ++given) {
            // Only a table that grows may give an entry twice.
            ASSERT_TRUE(left.erase(key) == 1 || grows) << "round " << round;
            for (int i = 0; i < 4 && given < 30 && grows; ++i)
                table.insert(100 + int(random() % 1000), 0);
            if (grows)
                continue;
            if (random() % 200 == 0) {
                table.removeAll();
                left.clear();
            }
            for (const int removed : {random() % 2 ? key : 1000, int(random() % 100)}) {
                table.remove(removed);
                left.erase(removed);
            }
        }
        EXPECT_TRUE(left.empty()) << "round " << round;
    }
}

TEST(ZbHashTable, assignmentKeepsTheBucketsAndSurvivesItself)
{
    ZbHashTable<int, QString> source("source");
    ZbHashTable<int, QString> large("large");
    for (int i = 0; i < 200; ++i) {
        source.insert(i % 20, QString::number(i));
        large.insert(i, "old");
    }
    large = source;
    EXPECT_EQ(large.numBuckets(), 128);
    EXPECT_EQ(large.size(), 20);
    EXPECT_EQ(large[1000], "source");
    source = *&source;
    const ZbHashTable<int, QString> copy(source);
    const ZbHashTable<int, QString> moved(std::move(source));
    for (const auto* table : {&copy, &moved}) {
        EXPECT_EQ(table->size(), 20);
        EXPECT_EQ(*table->lookup(19), "199");
    }
    EXPECT_EQ(source[2], "source");  // still usable
    EXPECT_EQ(source.size(), 1);
    source = std::move(large);
    EXPECT_EQ(source.size(), 21);
    EXPECT_EQ(source[7], "187");
}

TEST(ZbHashTable, assignsFromOneOfItsValues)
{
    struct Tree {
        ZbHashTable<int, std::shared_ptr<Tree>> children;
    };
    Tree tree;
    tree.children[1] = std::make_shared<Tree>();
    tree.children[1]->children[2] = std::make_shared<Tree>();
    tree.children = tree.children[1]->children;
    EXPECT_EQ(tree.children.size(), 1);
    EXPECT_TRUE(tree.children.contains(2));
}

TEST(ZbHashTable, ownsItsValuesAndSurvivesFailingCopies)
{
    {
        ZbHashTable<int, Tracked> table;
        for (int i = 0; i < 7; ++i)
            table.insert(i, i);
        const Tracked value(1);
        Tracked::copiesUntilFailure = 0;
        EXPECT_THROW(table.insert(7, value), std::runtime_error);
        EXPECT_EQ(table.size(), 7);
        EXPECT_EQ(table.numBuckets(), 4);
        table.insert(7, value);
        EXPECT_EQ(table.numBuckets(), 8);
        table.remove(3);
        EXPECT_EQ(Tracked::alive, 9);  // seven, the default and the one here
    }
    EXPECT_EQ(Tracked::alive, 0);
}

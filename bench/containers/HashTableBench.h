#pragma once

// The operations on hash tables that are measured, for any table behind a small adaptor:
//     using Key = ...; void insert(Key, int); const int* find(Key) const;

#include <zblib/containers/ZbHashTable.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace ZbBench
{

inline std::vector<int> shuffledIndices(int n, unsigned int seed)
{
    std::vector<int> indices(static_cast<std::size_t>(n));
    std::iota(indices.begin(), indices.end(), 0);
    std::shuffle(indices.begin(), indices.end(), std::mt19937(seed));
    return indices;
}

/// Distinct keys, and equal ones in another order to ask for. Texts lie at random places, as those of a
/// program do.
template <typename Key>
class Keys;

template <>
class Keys<int>
{
public:
    explicit Keys(int n)
    {
        std::mt19937 random(1);
        std::vector<int> values;
        for (int index : shuffledIndices(n, 2))
            values.push_back(index * 2097 + int(random() % 2097));  // distinct up to 10^6
        inserted = values;
        for (int index : shuffledIndices(n, 3))
            asked.push_back(values[std::size_t(index)]);
    }

    std::vector<int> inserted;
    std::vector<int> asked;
};

template <>
class Keys<const char*>
{
public:
    explicit Keys(int n) : inserted(makeTexts(n, 2)), asked(makeTexts(n, 3)) {}

private:
    std::vector<const char*> makeTexts(int n, unsigned int seed)
    {
        std::vector<const char*> texts;
        for (int index : shuffledIndices(n, seed)) {
            m_texts.push_back(std::make_unique<char[]>(24));
            std::snprintf(m_texts.back().get(), 24, "object.%d.name", index);
            texts.push_back(m_texts.back().get());
        }
        return texts;
    }

    std::vector<std::unique_ptr<char[]>> m_texts;

public:
    std::vector<const char*> inserted;
    std::vector<const char*> asked;
};

/// One set for all benchmarks of a program: making the keys takes longer than measuring.
template <typename Key>
const Keys<Key>& keysFor(int n)
{
    static std::vector<std::pair<int, std::unique_ptr<Keys<Key>>>> made;
    for (const auto& [size, keys] : made) {
        if (size == n)
            return *keys;
    }
    return *made.emplace_back(n, std::make_unique<Keys<Key>>(n)).second;
}

template <typename Table>
Table filledTable(const Keys<typename Table::Key>& keys)
{
    Table table;
    int value = 0;
    for (const auto& key : keys.inserted)
        table.insert(key, value++);
    return table;
}

template <typename Table>
void insertKeys(benchmark::State& state)
{
    const auto& keys = keysFor<typename Table::Key>(int(state.range(0)));
    for (auto _ : state) {
        const auto table = std::make_unique<Table>(filledTable<Table>(keys));
        benchmark::DoNotOptimize(table.get());
        state.PauseTiming();  // freeing is not inserting
        const_cast<std::unique_ptr<Table>&>(table).reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Table>
void lookUpKeys(benchmark::State& state)
{
    const auto& keys = keysFor<typename Table::Key>(int(state.range(0)));
    const Table table = filledTable<Table>(keys);
    for (auto _ : state) {
        long sum = 0;
        for (const auto& key : keys.asked)
            sum += *table.find(key);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename KeyType>
class OurTable
{
public:
    using Key = KeyType;

    void insert(Key key, int value) { m_table.insert(key, value); }
    const int* find(Key key) const { return m_table.lookup(key); }

private:
    ZbHashTable<Key, int> m_table{0};
};

struct TextHash {
    std::size_t operator()(const char* text) const { return std::hash<std::string_view>()(text); }
};

struct TextEqual {
    bool operator()(const char* a, const char* b) const { return std::strcmp(a, b) == 0; }
};

// Texts are compared by their characters everywhere.
template <typename Key>
using HashOf = std::conditional_t<std::is_same_v<Key, const char*>, TextHash, std::hash<Key>>;
template <typename Key>
using EqualOf = std::conditional_t<std::is_same_v<Key, const char*>, TextEqual, std::equal_to<Key>>;

// Any table with the interface of the standard's.
template <typename Map>
class MapTable
{
public:
    using Key = typename Map::key_type;

    void insert(Key key, int value) { m_table.insert_or_assign(key, value); }
    const int* find(Key key) const
    {
        const auto found = m_table.find(key);
        return found == m_table.end() ? nullptr : &found->second;
    }

private:
    Map m_table;
};

template <typename Key>
using StdTable = MapTable<std::unordered_map<Key, int, HashOf<Key>, EqualOf<Key>>>;

}  // namespace ZbBench

#include "bench/containers/HashTableBench.h"

#include <absl/container/flat_hash_map.h>

namespace
{

// Open addressing: entries move when the table grows, so it owes its users less.
template <typename KeyType>
class AbslTable
{
public:
    using Key = KeyType;

    void insert(Key key, int value) { m_table.insert_or_assign(key, value); }
    const int* find(Key key) const
    {
        const auto found = m_table.find(key);
        return found == m_table.end() ? nullptr : &found->second;
    }

private:
    using Hash = std::conditional_t<std::is_same_v<Key, const char*>, ZbBench::TextHash, absl::Hash<Key>>;
    absl::flat_hash_map<Key, int, Hash, ZbBench::EqualOf<Key>> m_table;
};

}  // namespace

using ZbBench::insertKeys;
using ZbBench::lookUpKeys;
using ZbBench::OurTable;
using ZbBench::StdTable;

BENCHMARK(insertKeys<OurTable<int>>)->Arg(1000000);
BENCHMARK(insertKeys<StdTable<int>>)->Arg(1000000);
BENCHMARK(insertKeys<AbslTable<int>>)->Arg(1000000);
BENCHMARK(lookUpKeys<OurTable<int>>)->Arg(1000000);
BENCHMARK(lookUpKeys<StdTable<int>>)->Arg(1000000);
BENCHMARK(lookUpKeys<AbslTable<int>>)->Arg(1000000);
BENCHMARK(insertKeys<OurTable<const char*>>)->Arg(1000000);
BENCHMARK(insertKeys<AbslTable<const char*>>)->Arg(1000000);
BENCHMARK(lookUpKeys<OurTable<const char*>>)->Arg(1000000);
BENCHMARK(lookUpKeys<AbslTable<const char*>>)->Arg(1000000);

#include "bench/containers/HashTableBench.h"

#include <absl/container/flat_hash_map.h>

namespace
{

// Open addressing: entries move when the table grows, so it owes its users less.
template <typename Key>
using AbslHash = std::conditional_t<std::is_same_v<Key, const char*>, ZbBench::TextHash, absl::Hash<Key>>;
template <typename Key>
using AbslTable = ZbBench::MapTable<absl::flat_hash_map<Key, int, AbslHash<Key>, ZbBench::EqualOf<Key>>>;

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

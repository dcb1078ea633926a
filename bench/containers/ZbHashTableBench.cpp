#include "bench/containers/HashTableBench.h"

using ZbBench::insertKeys;
using ZbBench::lookUpKeys;
using ZbBench::OurTable;
using ZbBench::StdTable;

// A table in L1, one in L2 or L3, and one in memory.
BENCHMARK(insertKeys<OurTable<int>>)->Arg(100)->Arg(10000)->Arg(1000000);
BENCHMARK(insertKeys<StdTable<int>>)->Arg(100)->Arg(10000)->Arg(1000000);
BENCHMARK(lookUpKeys<OurTable<int>>)->Arg(100)->Arg(10000)->Arg(1000000);
BENCHMARK(lookUpKeys<StdTable<int>>)->Arg(100)->Arg(10000)->Arg(1000000);
BENCHMARK(insertKeys<OurTable<const char*>>)->Arg(100)->Arg(10000)->Arg(1000000);
BENCHMARK(insertKeys<StdTable<const char*>>)->Arg(100)->Arg(10000)->Arg(1000000);
BENCHMARK(lookUpKeys<OurTable<const char*>>)->Arg(100)->Arg(10000)->Arg(1000000);
BENCHMARK(lookUpKeys<StdTable<const char*>>)->Arg(100)->Arg(10000)->Arg(1000000);

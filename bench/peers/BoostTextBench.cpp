#include "bench/support/ZbCommandLine.h"

#include <benchmark/benchmark.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/tokenizer.hpp>

#include <string>
#include <vector>

namespace
{

// As explodeFields of the containers' benchmarks.
void splitFieldsBoost(benchmark::State& state)
{
    std::string fields = "0";
    for (int i = 1; i < 1000; ++i)
        fields += ',' + std::to_string(i);
    std::vector<std::string> parts;
    for (auto _ : state) {
        boost::split(parts, fields, [](char c) { return c == ','; });
        benchmark::DoNotOptimize(parts.data());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

// As tokenizeAtSpace of the containers' benchmarks: quotes and escapes, although escapes count inside of quotes too.
void tokenizeBoost(benchmark::State& state)
{
    const std::string line = ZbBench::commandLine();
    using Separators = boost::escaped_list_separator<char>;
    for (auto _ : state) {
        long characters = 0;
        for (const std::string& token : boost::tokenizer<Separators>(line, Separators('\\', ' ', '"')))
            characters += long(token.size());
        benchmark::DoNotOptimize(characters);
    }
    state.SetBytesProcessed(state.iterations() * long(line.size()));
}

}  // namespace

BENCHMARK(splitFieldsBoost);
BENCHMARK(tokenizeBoost);

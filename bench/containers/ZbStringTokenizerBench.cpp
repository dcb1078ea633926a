#include <zblib/containers/ZbStringTokenizer.h>

#include <zblib/containers/ZbStringTokenizerGeneral.h>

#include "bench/support/ZbCommandLine.h"

#include <benchmark/benchmark.h>

namespace
{

template <typename Tokenizer>
void tokenize(benchmark::State& state, auto... separators)
{
    const std::string line = ZbBench::commandLine();
    for (auto _ : state) {
        long characters = 0;
        for (Tokenizer tokenizer(line.c_str(), separators...); tokenizer.hasMoreTokens();)
            characters += tokenizer.nextToken().length();
        benchmark::DoNotOptimize(characters);
    }
    state.SetBytesProcessed(state.iterations() * long(line.size()));
}

void tokenizeAtSpace(benchmark::State& state)
{
    tokenize<ZbStringTokenizer>(state);
}

void tokenizeAtBlanks(benchmark::State& state)
{
    tokenize<ZbStringTokenizerGeneral>(state, " \t\n");
}

}  // namespace

BENCHMARK(tokenizeAtSpace);
BENCHMARK(tokenizeAtBlanks);

#include <zblib/containers/ZbWildMatch.h>

#include <benchmark/benchmark.h>

#include <fnmatch.h>

namespace
{

const char* const name = "/data/volumes/specimen/slice.0042.reconstructed.tif";
// The first matches, the second fails at the end of the name.
const char* const patterns[] = {"/data/*/slice.????.*.tif", "*.nii"};

template <typename Match>
void matchName(benchmark::State& state, Match match)
{
    const char* text = name;
    const char* pattern = patterns[state.range(0)];
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(pattern);
        benchmark::DoNotOptimize(match(text, pattern));
    }
}

}  // namespace

BENCHMARK_CAPTURE(matchName, zbWildMatch, zbWildMatch)->Arg(0)->Arg(1);
BENCHMARK_CAPTURE(matchName, fnmatch,
                  [](const char* text, const char* pattern) { return fnmatch(pattern, text, 0) == 0; })
    ->Arg(0)
    ->Arg(1);

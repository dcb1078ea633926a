#include <zblib/containers/ZbFilename.h>

#include <benchmark/benchmark.h>

#include <QDir>

#include <filesystem>
#include <string>

namespace
{

const char* const untidy = "/data//volumes/./specimen/../reference/scans/../slice.0042.tif";

void packZbFilename(benchmark::State& state)
{
    const ZbFilename path(untidy);
    for (auto _ : state) {
        ZbFilename packed(path);
        packed.pack();
        benchmark::DoNotOptimize(packed.getString());
    }
}
BENCHMARK(packZbFilename);

void packStdFilesystem(benchmark::State& state)
{
    const std::filesystem::path path(untidy);
    for (auto _ : state) {
        const std::filesystem::path packed = path.lexically_normal();
        benchmark::DoNotOptimize(packed.c_str());
    }
}
BENCHMARK(packStdFilesystem);

void packQDir(benchmark::State& state)
{
    const QString path(untidy);
    for (auto _ : state) {
        const QString packed = QDir::cleanPath(path);
        benchmark::DoNotOptimize(packed.constData());
    }
}
BENCHMARK(packQDir);

}  // namespace

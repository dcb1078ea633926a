#include <zblib/containers/ZbString.h>

#include <benchmark/benchmark.h>

#include <QString>
#include <QStringList>

#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>

namespace
{

// Appending names of 8 characters to a text of 64 KiB.
template <typename Text>
void appendNames(benchmark::State& state)
{
    const Text name = "name0001";
    for (auto _ : state) {
        Text text;
        for (int i = 0; i < 8192; ++i)
            text += name;
        benchmark::DoNotOptimize(text[0]);
    }
    state.SetItemsProcessed(state.iterations() * 8192);
}
BENCHMARK(appendNames<ZbString>);
BENCHMARK(appendNames<std::string>);

// A line of a report, into a text that is used again.
constexpr const char* reportFormat = "%s: %ld voxels at %.3f";

void formatIntoString(benchmark::State& state)
{
    ZbString text;
    for (auto _ : state)
        benchmark::DoNotOptimize(text.printf(reportFormat, "object", 123456L, 0.125));
}
BENCHMARK(formatIntoString);

void formatAndCopy(benchmark::State& state)
{
    std::string text;
    char buffer[1024];
    for (auto _ : state) {
        const int length = std::snprintf(buffer, sizeof(buffer), reportFormat, "object", 123456L, 0.125);
        text.assign(buffer, size_t(length));
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(formatAndCopy);

void formatIntoQString(benchmark::State& state)
{
    for (auto _ : state) {
        const QString text = QString::asprintf(reportFormat, "object", 123456L, 0.125);
        benchmark::DoNotOptimize(text.constData());
    }
}
BENCHMARK(formatIntoQString);

// Names that are equal up to a number at the end.
const char* const numberedNames[] = {"/data/volume/slice.0009.tif", "/data/volume/slice.0010.tif"};

void compareNatural(benchmark::State& state)
{
    const ZbString a(numberedNames[0]);
    const ZbString b(numberedNames[1]);
    for (auto _ : state) {
        benchmark::DoNotOptimize(a.compareAlphaNumeric(b));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(compareNatural);

void compareStrverscmp(benchmark::State& state)
{
    const char* a = numberedNames[0];
    const char* b = numberedNames[1];
    for (auto _ : state) {
        benchmark::DoNotOptimize(a);
        benchmark::DoNotOptimize(strverscmp(a, b));
    }
}
BENCHMARK(compareStrverscmp);

// 1000 fields of up to 3 digits.
template <typename Text>
Text makeFields()
{
    std::string fields = "0";
    for (int i = 1; i < 1000; ++i)
        fields += ',' + std::to_string(i);
    return Text(fields.c_str());
}

void explodeFields(benchmark::State& state)
{
    const auto fields = makeFields<ZbString>();
    ZbDArray<ZbString> parts;
    for (auto _ : state) {
        fields.explode(',', parts);
        benchmark::DoNotOptimize(parts.data());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(explodeFields);

void splitQString(benchmark::State& state)
{
    const auto fields = makeFields<QString>();
    for (auto _ : state) {
        const QStringList parts = fields.split(u',');
        benchmark::DoNotOptimize(parts.constData());
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(splitQString);

// 60 characters one by one, and the text at the end.
void streamCharacters(benchmark::State& state)
{
    ZbString text;
    for (auto _ : state) {
        text.clear();
        auto& stream = text.stream();
        for (int i = 0; i < 60; ++i)
            stream << char('0' + i);
        benchmark::DoNotOptimize(text.getString());
    }
    state.SetItemsProcessed(state.iterations() * 60);
}
BENCHMARK(streamCharacters);

void streamCharactersStd(benchmark::State& state)
{
    std::ostringstream stream;
    for (auto _ : state) {
        stream.str(std::string());
        for (int i = 0; i < 60; ++i)
            stream << char('0' + i);
        const std::string text = stream.str();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetItemsProcessed(state.iterations() * 60);
}
BENCHMARK(streamCharactersStd);

}  // namespace

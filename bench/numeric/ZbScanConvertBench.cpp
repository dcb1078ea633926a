#include "bench/numeric/Polygons.h"

#include <zblib/numeric/ZbScanConvert.h>

#include <benchmark/benchmark.h>

#include <cstring>

namespace
{

void fillPolygon(benchmark::State& state)
{
    const std::vector<ZbVec2f> polygon = ZbBench::polygon(state.range(0));
    std::vector<unsigned char> image(ZbBench::imageSize * ZbBench::imageSize);
    ZbScanConvert converter(0, 0, ZbBench::imageSize - 1, ZbBench::imageSize - 1);
    converter.setSpanCB(
        [](void* pixels, int xLeft, int xRight, int y) {
            std::memset(static_cast<unsigned char*>(pixels) + long(y) * ZbBench::imageSize + xLeft, 255,
                        size_t(xRight - xLeft + 1));
        },
        image.data());
    for (auto _ : state) {
        converter.render(int(polygon.size()), polygon.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(fillPolygon)->Name("ZbScanConvert")->Apply(ZbBench::polygons);

}  // namespace

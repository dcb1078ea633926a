#include "bench/numeric/Polygons.h"

#include <cairo.h>

// The polygons of ZbScanConvertBench, filled by cairo without antialiasing, even-odd; the path is part of the time, as the
// vertices are.

namespace
{

void fillPolygon(benchmark::State& state)
{
    const std::vector<ZbVec2f> polygon = ZbBench::polygon(state.range(0));
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_A8, ZbBench::imageSize, ZbBench::imageSize);
    cairo_t* context = cairo_create(surface);
    cairo_set_antialias(context, CAIRO_ANTIALIAS_NONE);
    cairo_set_fill_rule(context, CAIRO_FILL_RULE_EVEN_ODD);
    for (auto _ : state) {
        cairo_new_path(context);
        for (const ZbVec2f& p : polygon)
            cairo_line_to(context, double(p.x), double(p.y));
        cairo_close_path(context);
        cairo_fill(context);
        cairo_surface_flush(surface);
        benchmark::ClobberMemory();
    }
    cairo_destroy(context);
    cairo_surface_destroy(surface);
}
BENCHMARK(fillPolygon)->Name("cairo")->Apply(ZbBench::polygons);

}  // namespace

#include <zblib/numeric/ZbScanConvert.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace
{

struct Span {
    int y, xLeft, xRight;
    friend bool operator==(const Span&, const Span&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Span& span)
    {
        return out << span.y << ": " << span.xLeft << ".." << span.xRight;
    }
};
using Spans = std::vector<Span>;
using Polygon = std::vector<ZbVec2f>;

void append(void* spans, int xLeft, int xRight, int y)
{
    static_cast<Spans*>(spans)->push_back({y, xLeft, xRight});
}

Spans render(const Polygon& polygon, int xmin, int ymin, int xmax, int ymax)
{
    Spans spans;
    ZbScanConvert converter(xmin, ymin, xmax, ymax);
    converter.setSpanCB(append, &spans);
    converter.render(int(polygon.size()), polygon.data());
    return spans;
}

// The rule, step by step, in quadratic time.
Spans renderPlain(const Polygon& polygon, int xmin, int ymin, int xmax, int ymax)
{
    const int n = int(polygon.size());
    std::vector<int> order;
    for (int i = 0; i < n; ++i)
        order.push_back(i);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return polygon[size_t(a)].y < polygon[size_t(b)].y; });
    struct Edge {
        float x, dx;
        int index;
    };
    std::vector<Edge> active;
    Spans spans;
    const auto at = [&](int i) { return polygon[size_t((i + n) % n)]; };
    const int ylow = std::max(int(std::ceil(at(order[0]).y - 0.5)), ymin);
    const int yhigh = std::min(int(std::floor(at(order[size_t(n) - 1]).y - 0.5)), ymax);
    size_t next = 0;
    for (int y = ylow; y <= yhigh; ++y) {
        for (; next < order.size() && at(order[next]).y <= y + 0.5; ++next) {
            const int i = order[next];
            for (const auto& [edge, other] : {std::pair((i + n - 1) % n, i - 1), std::pair(i, i + 1)}) {
                if (at(other).y <= y - 0.5) {
                    std::erase_if(active, [e = edge](const Edge& entry) { return entry.index == e; });
                } else if (at(other).y > y + 0.5) {
                    ZbVec2f p = at(edge), q = at(edge + 1);
                    if (q.y < p.y)
                        std::swap(p, q);
                    const float dx = (q.x - p.x) / (q.y - p.y);
                    active.push_back({float(p.x + dx * (y + 0.5 - p.y)), dx, edge});
                }
            }
        }
        std::stable_sort(active.begin(), active.end(),
                         [](const Edge& a, const Edge& b) { return a.x < b.x; });
        for (size_t i = 0; i + 1 < active.size(); i += 2) {
            const int xl = std::max(int(std::ceil(active[i].x - 0.5)), xmin);
            const int xr = std::min(int(std::floor(active[i + 1].x - 0.5)), xmax);
            if (xl <= xr)
                spans.push_back({y, xl, xr});
            active[i].x += active[i].dx;
            active[i + 1].x += active[i + 1].dx;
        }
    }
    return spans;
}

Polygon randomPolygon(int n, float grid, unsigned int seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> coordinate(-5, 45);
    Polygon polygon;
    for (int i = 0; i < n; ++i)
        polygon.emplace_back(coordinate(generator), coordinate(generator));
    if (grid > 0) {
        for (ZbVec2f& p : polygon)
            p = ZbVec2f(std::round(p.x / grid), std::round(p.y / grid)) * grid;
    }
    return polygon;
}

}  // namespace

TEST(ZbScanConvert, fillsWhatItsRuleSays)
{
    for (const int n : {1, 2, 3, 4, 5, 10, 63, 64, 65, 300}) {
        for (const float grid : {0.f, 0.25f, 0.5f, 1.f, 8.f}) {  // ties, horizontal edges, equal vertices
            for (unsigned int seed = 0; seed < 10; ++seed) {
                SCOPED_TRACE(testing::Message() << n << " vertices, grid " << grid << ", seed " << seed);
                const Polygon polygon = randomPolygon(n, grid, seed);
                EXPECT_EQ(render(polygon, 0, 0, 39, 39), renderPlain(polygon, 0, 0, 39, 39));
                EXPECT_EQ(render(polygon, 10, 17, 21, 18), renderPlain(polygon, 10, 17, 21, 18));
                EXPECT_EQ(render(polygon, -9, -9, 99, 99), renderPlain(polygon, -9, -9, 99, 99));
            }
        }
    }
}

TEST(ZbScanConvert, fillsThePixelsWhoseCentresLieInside)
{
    for (unsigned int seed = 0; seed < 20; ++seed) {
        const Polygon polygon = randomPolygon(7, 0, seed);
        std::vector<int> fills(40 * 40);
        for (const Span& span : render(polygon, 0, 0, 39, 39)) {
            for (int x = span.xLeft; x <= span.xRight; ++x)
                ++fills[size_t(span.y * 40 + x)];
        }
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                int crossings = 0;
                double nearest = 1;
                for (size_t i = 0; i < polygon.size(); ++i) {
                    const ZbVec2f a = polygon[i], b = polygon[(i + 1) % polygon.size()];
                    if ((a.y <= y + 0.5) != (b.y <= y + 0.5)) {
                        const double at = a.x + (y + 0.5 - a.y) / (double(b.y) - a.y) * (double(b.x) - a.x);
                        crossings += at < x + 0.5;
                        nearest = std::min(nearest, std::fabs(at - x - 0.5));
                    }
                }
                if (nearest > 1e-4) {
                    EXPECT_EQ(fills[size_t(y * 40 + x)], crossings % 2) << x << ' ' << y;
                }
            }
        }
    }
}

TEST(ZbScanConvert, squaresAndDegeneratePolygons)
{
    const Polygon square = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};
    EXPECT_EQ(render(square, -9, -9, 9, 9), (Spans{{0, 0, 1}, {1, 0, 1}}));
    EXPECT_EQ(render(square, 1, 1, 9, 9), (Spans{{1, 1, 1}}));
    EXPECT_EQ(render(square, 2, 0, 9, 9), Spans());
    EXPECT_EQ(render(square, 0, 2, 9, 9), Spans());
    EXPECT_EQ(render(square, 1, 0, 0, 9), Spans());  // no pixels to clip to
    EXPECT_EQ(render({{0, 3.5f}, {7, 3.5f}, {9, 3.5f}}, 0, 0, 9, 9), Spans());
    EXPECT_EQ(render({}, 0, 0, 9, 9), Spans());
    // A line along centres: both of its edges cross there.
    EXPECT_EQ(render({{4.5f, 0}, {4.5f, 2}}, 0, 0, 9, 9), (Spans{{0, 4, 4}, {1, 4, 4}}));
}

TEST(ZbScanConvert, toleratesAnyValue)
{
    const float infinity = std::numeric_limits<float>::infinity(),
                nan = std::numeric_limits<float>::quiet_NaN();
    const Polygon huge = {{-1e30f, -1e30f}, {1e30f, -1e30f}, {1e30f, 1e30f}, {-1e30f, 1e30f}};
    EXPECT_EQ(render(huge, 3, 4, 5, 5), (Spans{{4, 3, 5}, {5, 3, 5}}));
    EXPECT_EQ(render(huge, INT_MAX - 1, INT_MAX, INT_MAX, INT_MAX), (Spans{{INT_MAX, INT_MAX - 1, INT_MAX}}));
    EXPECT_EQ(render(huge, INT_MIN, INT_MIN, INT_MAX, INT_MIN), (Spans{{INT_MIN, INT_MIN, INT_MAX}}));
    const float values[] = {0, 3, 7.5f, -infinity, infinity, nan, 3e38f, -3e38f};
    std::mt19937 generator(1);
    for (int round = 0; round < 3000; ++round) {
        Polygon polygon;
        for (int i = 0; i < 6; ++i)
            polygon.emplace_back(values[generator() % 8], values[generator() % 8]);
        for (const Span& span : render(polygon, -2, -2, 9, 9)) {
            EXPECT_TRUE(-2 <= span.xLeft && span.xLeft <= span.xRight && span.xRight <= 9);
            EXPECT_TRUE(-2 <= span.y && span.y <= 9);
        }
    }
    EXPECT_EQ(render(Polygon(5, ZbVec2f(nan, nan)), -2, -2, 9, 9), Spans());
}

TEST(ZbScanConvert, callsWithTheirOwnUserData)
{
    const Polygon triangle = {{0, 0}, {3, 0}, {0, 3}};
    std::vector<std::pair<int, int>> pixels;
    ZbScanConvert converter(0, 0, 9, 9);
    converter.render(3, triangle.data());  // nobody listens
    converter.setPixelCB(
        [](void* list, int x, int y) { static_cast<decltype(pixels)*>(list)->emplace_back(x, y); }, &pixels);
    const ZbScanConvert copy = converter;
    converter.setPixelCB(nullptr, nullptr);
    copy.render(3, triangle.data());
    EXPECT_EQ(pixels, (decltype(pixels){{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {0, 2}}));

    Spans spans;
    converter.setSpanCB(append, &spans);
    converter.render(3, triangle.data());
    converter.setSpanCB(nullptr, &spans);
    converter.render(3, triangle.data());
    EXPECT_EQ(spans, (Spans{{0, 0, 2}, {1, 0, 1}, {2, 0, 0}}));

    const int clip[] = {1, 0, 1, 9};
    spans.clear();
    concave(
        3, triangle.data(), clip,
        [](void* list, int y, int xLeft, int xRight) { append(list, xLeft, xRight, y); }, &spans);
    EXPECT_EQ(spans, (Spans{{0, 1, 1}, {1, 1, 1}}));
}

TEST(ZbScanConvert, runsInThreadsAndInsideItself)
{
    std::vector<Spans> results(4);
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < 4; ++i) {
        threads.emplace_back([i, &result = results[i]] {
            for (int round = 0; round < 50; ++round)
                result = render(randomPolygon(40, 0, i), 0, 0, 39, 39);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (unsigned int i = 0; i < 4; ++i)
        EXPECT_EQ(results[i], render(randomPolygon(40, 0, i), 0, 0, 39, 39));

    static int inner;
    inner = 0;
    ZbScanConvert converter(0, 0, 9, 9);
    converter.setSpanCB(
        [](void*, int, int, int) {
            inner += int(render({{0, 0}, {2, 0}, {2, 2}, {0, 2}}, 0, 0, 9, 9).size());
        },
        nullptr);
    const Polygon triangle = {{0, 0}, {9, 0}, {0, 3}};
    converter.render(3, triangle.data());
    EXPECT_EQ(inner, 3 * 2);
}

// Quadratic time, or memory on the stack, would show.
TEST(ZbScanConvert, takesAMillionVertices)
{
    constexpr int n = 1000000;
    Polygon comb, cloud;
    std::mt19937 generator(1);
    for (int i = 0; i < n; ++i) {
        comb.emplace_back(float(i), i % 2 == 0 ? 0.f : 8.f);  // all edges cross all rows
        cloud.emplace_back(float(generator() % 1000000), float(generator() % 100000) - 99990);
    }
    comb.back() = ZbVec2f(float(n), 0);
    long pixels = 0;
    for (const Span& span : render(comb, 0, 0, n, 9))
        pixels += span.xRight - span.xLeft + 1;
    EXPECT_NEAR(double(pixels), n / 2 * 8.0, n / 2 * 0.5);
    EXPECT_FALSE(render(cloud, 0, 0, 1000000, 3).empty());  // most of it lies below
}

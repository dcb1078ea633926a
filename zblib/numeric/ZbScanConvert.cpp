#include <zblib/numeric/ZbScanConvert.h>

#include <zblib/containers/ZbSmallArray.h>

#include <algorithm>
#include <cmath>

namespace
{

// An edge that crosses the current row.
struct ActiveEdge {
    float x;   // where it crosses the middle of the row
    float dx;  // what x grows by from row to row
    int edge;  // it runs from this vertex to the next
};

// Strictly, so that equal values have no order, with what is not a number behind everything else.
bool isBefore(float a, float b)
{
    return !(a >= b) && a == a;
}

// The active edges of one polygon, from row to row.
class EdgeList
{
public:
    EdgeList(int n, const ZbVec2<float>* points) : m_points(points), m_n(n), m_isActive(n)
    {
        std::fill(m_isActive.begin(), m_isActive.end(), false);
    }

    int predecessor(int i) const { return i > 0 ? i - 1 : m_n - 1; }
    int successor(int i) const { return i < m_n - 1 ? i + 1 : 0; }

    // Vertex i has been reached by the middle of row y: its edges begin or end, as their other ends lie.
    void passVertex(int i, int y)
    {
        passEdge(predecessor(i), m_points[predecessor(i)].y, y);
        passEdge(i, m_points[successor(i)].y, y);
    }

    // Puts the list in the order of x.
    void sort()
    {
        if (m_hasRemoved) {
            int kept = 0, keptSorted = 0;
            for (int i = 0; i < m_edges.size(); ++i) {
                if (m_isActive[m_edges[i].edge]) {
                    m_edges[kept++] = m_edges[i];
                    keptSorted += i < m_sortedCount;
                }
            }
            m_edges.resize(kept);
            m_sortedCount = keptSorted;
            m_hasRemoved = false;
        }
        sortKnown();
        mergeNew();
        m_sortedCount = m_edges.size();
    }

    int size() const { return m_edges.size(); }
    ActiveEdge* data() { return m_edges.data(); }

private:
    static bool compare_active(const ActiveEdge& a, const ActiveEdge& b) { return isBefore(a.x, b.x); }

    // A lambda is inlined where a function is called.
    static void sort(ActiveEdge* begin, ActiveEdge* end)
    {
        std::sort(begin, end, [](const ActiveEdge& a, const ActiveEdge& b) { return compare_active(a, b); });
    }

    // The edges that were in order in the row before. Insertion takes as many moves as edges have crossed since, which
    // are few as a rule.
    void sortKnown()
    {
        ActiveEdge* edges = m_edges.data();
        long moves = 8l * m_sortedCount;
        for (int i = 1; i < m_sortedCount; ++i) {
            if (!compare_active(edges[i], edges[i - 1]))
                continue;
            if (moves < 0)
                return sort(edges, edges + m_sortedCount);
            const ActiveEdge edge = edges[i];
            int j = i;
            for (; j > 0 && compare_active(edge, edges[j - 1]); --j)
                edges[j] = edges[j - 1];
            edges[j] = edge;
            moves -= i - j;
        }
    }

    // The edges that begin in this row stand behind the others.
    void mergeNew()
    {
        const int newCount = m_edges.size() - m_sortedCount;
        if (newCount == 0)
            return;
        sort(m_edges.data() + m_sortedCount, m_edges.end());
        m_new.resize(newCount);
        std::copy(m_edges.data() + m_sortedCount, m_edges.end(), m_new.begin());
        int known = m_sortedCount - 1, target = m_edges.size() - 1;
        for (int next = newCount - 1; next >= 0; --target) {
            if (known >= 0 && compare_active(m_new[next], m_edges[known]))
                m_edges[target] = m_edges[known--];
            else
                m_edges[target] = m_new[next--];
        }
    }

    void passEdge(int edge, float otherY, int y)
    {
        if (otherY <= y - 0.5)
            cdelete(edge);
        else if (otherY > y + 0.5)
            cinsert(edge, y);
        // Else it begins and ends between two middles of rows.
    }

    void cinsert(int edge, int y)
    {
        const ZbVec2<float>& first = m_points[edge];
        const ZbVec2<float>& second = m_points[successor(edge)];
        const bool isFirstLower = first.y < second.y;
        const ZbVec2<float>& p = isFirstLower ? first : second;
        const ZbVec2<float>& q = isFirstLower ? second : first;
        const float dx = (q.x - p.x) / (q.y - p.y);
        m_edges.append({float(p.x + dx * (y + 0.5 - p.y)), dx, edge});
        m_isActive[edge] = true;
    }

    // The list is cleared of it before it is looked at next, of all such edges at once.
    void cdelete(int edge)
    {
        if (m_isActive[edge]) {
            m_isActive[edge] = false;
            m_hasRemoved = true;
        }
    }

    const ZbVec2<float>* m_points;
    int m_n;
    ZbSmallArray<ActiveEdge, 64> m_edges;
    ZbSmallArray<ActiveEdge, 64> m_new;  // scratch
    int m_sortedCount = 0;               // edges that were sorted in the row before
    ZbSmallArray<bool, 64> m_isActive;
    bool m_hasRemoved = false;
};

// value rounded up or down to an int in [low, high]. Clamping comes first: no value leads out of the range of int.
int ceilWithin(double value, int low, int high)
{
    if (!(value > low))
        return low;
    if (!(value < high))
        return high;
    const int truncated = int(value);
    return truncated + (truncated < value);
}

int floorWithin(double value, int low, int high)
{
    if (!(value > low))
        return low;
    if (!(value < high))
        return high;
    const int truncated = int(value);
    return truncated - (truncated > value);
}

template <typename EmitSpan>
void fill(int n, const ZbVec2<float>* points, const int clip[4], EmitSpan emitSpan)
{
    const int xmin = clip[0], ymin = clip[1], xmax = clip[2], ymax = clip[3];
    if (n < 1 || xmin > xmax || ymin > ymax)
        return;
    ZbSmallArray<int, 64> order(n);
    for (int i = 0; i < n; ++i)
        order[i] = i;
    const auto compare_ind = [points](int a, int b) { return isBefore(points[a].y, points[b].y); };
    std::sort(order.begin(), order.end(), compare_ind);
    // Vertices whose y is not a number stand last and are never reached.
    int count = n;
    while (count > 0 && std::isnan(points[order[count - 1]].y))
        --count;
    if (count == 0)
        return;

    const double lowest = points[order[0]].y - 0.5, highest = points[order[count - 1]].y - 0.5;
    if (!(lowest <= ymax && highest >= ymin))
        return;
    const int ylow = ceilWithin(lowest, ymin, ymax), yhigh = floorWithin(highest, ymin, ymax);
    EdgeList edges(n, points);
    int next = 0;
    for (long row = ylow; row <= yhigh; ++row) {  // long: yhigh may be the largest int
        const int y = int(row);
        for (; next < count && points[order[next]].y <= y + 0.5; ++next)
            edges.passVertex(order[next], y);
        edges.sort();
        ActiveEdge* edge = edges.data();
        for (int i = 0; i + 1 < edges.size(); i += 2) {
            const double left = edge[i].x - 0.5, right = edge[i + 1].x - 0.5;
            if (left <= xmax && right >= xmin) {
                const int xLeft = ceilWithin(left, xmin, xmax), xRight = floorWithin(right, xmin, xmax);
                if (xLeft <= xRight)
                    emitSpan(y, xLeft, xRight);
            }
            edge[i].x += edge[i].dx;
            edge[i + 1].x += edge[i + 1].dx;
        }
    }
}

}  // namespace

void concave(int n, const ZbVec2<float>* points, const int clip[4],
             void (*span)(void* userData, int y, int xLeft, int xRight), void* userData)
{
    fill(n, points, clip, [=](int y, int xLeft, int xRight) { span(userData, y, xLeft, xRight); });
}

void ZbScanConvert::render(int n, const ZbVec2<float>* points) const
{
    concave(n, points, m_clip, &concaveCB, const_cast<ZbScanConvert*>(this));
}

void ZbScanConvert::concaveCB(void* converter, int y, int xLeft, int xRight)
{
    const auto* self = static_cast<const ZbScanConvert*>(converter);
    const bool isDefault = self->m_spanCallback == &defaultSpanCB;
    self->m_spanCallback(isDefault ? converter : self->m_spanUserData, xLeft, xRight, y);
}

void ZbScanConvert::defaultSpanCB(void* userData, int xLeft, int xRight, int y)
{
    const auto* self = static_cast<const ZbScanConvert*>(userData);
    if (!self || !self->m_pixelCallback)
        return;
    for (long x = xLeft; x <= xRight; ++x)  // long: xRight may be the largest int
        self->m_pixelCallback(self->m_pixelUserData, int(x), y);
}

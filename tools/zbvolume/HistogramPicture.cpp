#include "HistogramPicture.h"

#include "Numbers.h"
#include "StrokeFont.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zbvolume
{

namespace
{

const QColor ink(38, 42, 54);
const QColor faint(224, 227, 233);
const QColor barFill(116, 161, 209);
const QColor barEdge(44, 95, 151);
const QColor meanColour(192, 57, 43);
const QColor medianColour(22, 134, 92);

bool isLogarithmic(const ValueCounts& counts, CountScale scale)
{
    if (scale != CountScale::Automatic)
        return scale == CountScale::Logarithmic;
    const std::uint64_t largest = *std::max_element(counts.bins.begin(), counts.bins.end());
    return double(largest) > 6 * double(counts.counted) / double(counts.bins.size());
}

// Height of a count, 0 for none. On the logarithmic scale a single voxel is still to be seen.
double height(double count, bool logarithmic)
{
    return !logarithmic ? count : count > 0 ? std::log10(count) + 0.3 : 0;
}

// The largest of 1, 2 and 5 times a power of ten that divides extent into at least ticks steps.
double tickStep(double extent, int ticks)
{
    const double power = std::pow(10, std::floor(std::log10(extent / ticks)));
    for (const int factor : {5, 2})
        if (extent / (factor * power) >= ticks)
            return factor * power;
    return power;
}

// A tick's value without the noise of its computation.
std::string tickLabel(double value, double step)
{
    if (std::abs(value) < step / 2)
        return "0";
    if (std::abs(value) >= 1e6 || step < 1e-4)
        return rounded(std::round(value / step) * step);
    return fixed(value, std::max(0, int(-std::floor(std::log10(step) + 1e-9))));
}

struct Tick {
    double at;
    std::string label;
};

std::vector<Tick> countTicks(double largest, bool logarithmic)
{
    const auto most = std::uint64_t(largest);
    const auto step = logarithmic ? 0 : std::max(std::uint64_t(1), std::uint64_t(tickStep(largest, 4)));
    std::vector<Tick> ticks;
    for (std::uint64_t count = logarithmic ? 1 : 0; count <= most;
         count = logarithmic ? 10 * count : count + step)
        ticks.push_back({height(double(count), logarithmic), grouped(count)});
    return ticks;
}

// Maps values and heights to pixels.
struct Frame {
    QRectF box;
    double low, high, top;

    double x(double value) const { return box.left() + (value - low) / (high - low) * box.width(); }
    double y(double height) const { return box.bottom() - height / top * box.height(); }
};

void drawCountAxis(QPainter& painter, const Frame& frame, const std::vector<Tick>& ticks, bool logarithmic)
{
    for (const Tick& tick : ticks) {
        const double y = frame.y(tick.at);
        painter.setPen(QPen(faint, 1));
        painter.drawLine(QPointF(frame.box.left(), y), QPointF(frame.box.right(), y));
        StrokeFont::draw(painter, {frame.box.left() - 12, y + 5}, tick.label, 10, ink,
                         StrokeFont::Align::Right);
    }
    painter.save();
    painter.translate(28, frame.box.center().y());
    painter.rotate(-90);
    StrokeFont::draw(painter, {0, 0}, logarithmic ? "voxels a bin (logarithmic)" : "voxels a bin", 11, ink,
                     StrokeFont::Align::Centre);
    painter.restore();
}

void drawValueAxis(QPainter& painter, const Frame& frame)
{
    painter.setPen(QPen(ink, 1.5));
    painter.drawLine(frame.box.bottomLeft(), frame.box.bottomRight());
    const double step = tickStep(frame.high - frame.low, 6);
    const double first = std::ceil(frame.low / step);
    for (int i = 0; i < 20; i++) {  // there are fewer, but where doubles are too coarse to count by one
        const double value = (first + i) * step;
        if (value > frame.high)
            break;
        const double x = frame.x(value);
        painter.setPen(QPen(ink, 1.5));
        painter.drawLine(QPointF(x, frame.box.bottom()), QPointF(x, frame.box.bottom() + 7));
        StrokeFont::draw(painter, {x, frame.box.bottom() + 24}, tickLabel(value, step), 10, ink,
                         StrokeFont::Align::Centre);
    }
    StrokeFont::draw(painter, {frame.box.center().x(), frame.box.bottom() + 52}, "stored value", 11, ink,
                     StrokeFont::Align::Centre);
}

void drawBars(QPainter& painter, const Frame& frame, const ValueCounts& counts, bool logarithmic)
{
    QPainterPath outline(frame.box.bottomLeft());
    for (std::size_t i = 0; i < counts.bins.size(); i++) {
        const double y = frame.y(height(double(counts.bins[i]), logarithmic));
        outline.lineTo(frame.x(counts.edge(i)), y);
        outline.lineTo(frame.x(counts.edge(i + 1)), y);
    }
    outline.lineTo(frame.box.bottomRight());
    painter.setBrush(barFill);
    painter.setPen(QPen(barEdge, 1.2));
    painter.drawPath(outline);
}

// A line through the plot at a value, and its entry in the legend, which ends at right. Returns where the next
// entry can end.
double drawMarker(QPainter& painter, const Frame& frame, double value, const std::string& name,
                  const QColor& colour, double right)
{
    constexpr double base = 76;
    const std::string text = name + " " + rounded(value);
    const double left = right - StrokeFont::width(text, 10) - 44;
    painter.setPen(QPen(colour, 2, Qt::DashLine));
    painter.drawLine(QPointF(frame.x(value), frame.box.top()), QPointF(frame.x(value), frame.box.bottom()));
    painter.drawLine(QPointF(left, base - 5), QPointF(left + 34, base - 5));
    StrokeFont::draw(painter, {right, base}, text, 10, colour, StrokeFont::Align::Right);
    return left - 36;
}

std::string binText(const ValueCounts& counts)
{
    return grouped(counts.bins.size()) + (counts.bins.size() == 1 ? " bin" : " bins") + " of width " +
           rounded(counts.binWidth);
}

}  // namespace

QImage drawHistogram(const ValueCounts& counts, const std::string& title, CountScale scale)
{
    QImage image(1200, 700, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);

    const bool logarithmic = isLogarithmic(counts, scale);
    const auto largest = double(*std::max_element(counts.bins.begin(), counts.bins.end()));
    const auto ticks = countTicks(largest, logarithmic);
    double labelWidth = 0;
    for (const Tick& tick : ticks)
        labelWidth = std::max(labelWidth, StrokeFont::width(tick.label, 10));
    const double left = 28 + 26 + labelWidth + 12;
    const Frame frame{QRectF(left, 104, image.width() - left - 36, image.height() - 104 - 78), counts.edge(0),
                      counts.edge(counts.bins.size()), std::max(height(largest, logarithmic), 0.5) * 1.05};

    StrokeFont::draw(painter, {left, 42}, title, 15, ink);
    StrokeFont::draw(painter, {left, 76}, grouped(counts.counted) + " voxels in " + binText(counts), 10, ink);
    drawCountAxis(painter, frame, ticks, logarithmic);
    drawBars(painter, frame, counts, logarithmic);
    drawValueAxis(painter, frame);
    if (counts.counted > 0) {
        const double next =
            drawMarker(painter, frame, counts.median(), "median", medianColour, frame.box.right());
        drawMarker(painter, frame, counts.mean(), "mean", meanColour, next);
    }
    return image;
}

std::string histogramText(const ValueCounts& counts, std::size_t maxRows, CountScale scale)
{
    const bool logarithmic = isLogarithmic(counts, scale);
    const std::size_t group = (counts.bins.size() + maxRows - 1) / maxRows;
    struct Row {
        std::string from;
        std::uint64_t count = 0;
    };
    std::vector<Row> rows;
    for (std::size_t i = 0; i < counts.bins.size(); i++) {
        if (i % group == 0)
            rows.push_back({rounded(counts.isInteger ? counts.edge(i) + 0.5 : counts.edge(i)), 0});
        rows.back().count += counts.bins[i];
    }
    std::size_t fromWidth = 4;
    std::uint64_t largest = 0;
    std::uint64_t smallest = std::numeric_limits<std::uint64_t>::max();  // but for empty rows
    for (const Row& row : rows) {
        fromWidth = std::max(fromWidth, row.from.size());
        largest = std::max(largest, row.count);
        if (row.count > 0)
            smallest = std::min(smallest, row.count);
    }
    const std::size_t countWidth = std::max<std::size_t>(6, std::to_string(largest).size());

    const auto padded = [](const std::string& text, std::size_t width) {
        return "  " + std::string(width - std::min(width, text.size()), ' ') + text;
    };
    std::string result = padded("from", fromWidth) + padded("voxels", countWidth) + padded("%", 6) +
                         (logarithmic ? "  (bars are logarithmic)\n" : "\n");
    // Logarithms are those of multiples of the smallest count, so that the bars differ visibly.
    const double unit = logarithmic ? double(smallest) : 1;
    const double full = height(double(largest) / unit, logarithmic);
    for (const Row& row : rows) {
        const double share = counts.counted > 0 ? 100 * double(row.count) / double(counts.counted) : 0;
        const double length = full > 0 ? 46 * height(double(row.count) / unit, logarithmic) / full : 0;
        std::string line = padded(row.from, fromWidth) + padded(std::to_string(row.count), countWidth) +
                           padded(fixed(share, 2), 6) + "  " +
                           std::string(std::size_t(std::lround(length)), '#');
        line.resize(line.find_last_not_of(' ') + 1);
        result += line + '\n';
    }
    return result;
}

Table binTable(const std::shared_ptr<const ValueCounts>& counts)
{
    return Table(
        {{"value", "value", 0, [counts](std::size_t bin) { return counts->centre(bin); }},
         {"low", "low", 0, [counts](std::size_t bin) { return counts->edge(bin); }},
         {"high", "high", 0, [counts](std::size_t bin) { return counts->edge(bin + 1); }},
         {"count", "count", 0, [counts](std::size_t bin) { return std::int64_t(counts->bins[bin]); }}},
        counts->bins.size());
}

void addBins(Report& report, const std::shared_ptr<const ValueCounts>& counts, std::size_t maxRows,
             CountScale scale)
{
    report.addSection(
        "histogram",
        [=](const Sink& sink) {
            sink("\n");
            sink(histogramText(*counts, maxRows, scale));
        },
        [=] { return binTable(counts).json(); });
}

}  // namespace zbvolume

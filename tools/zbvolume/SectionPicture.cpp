#include "SectionPicture.h"

#include "Numbers.h"
#include "SliceImage.h"
#include "StrokeFont.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace zbvolume
{

namespace
{

constexpr int margin = 28;
constexpr int gap = 14;
constexpr int headHeight = 88;
constexpr int captionHeight = 26;
constexpr int legendHeight = 40;
constexpr double tileSize = 400;  // the longest edge
const QColor boxColour(255, 196, 64);

// The axes of a slice across another one: to the right, and up.
std::pair<std::size_t, std::size_t> axesOf(std::size_t across)
{
    return {across == 0 ? 1 : 0, across == 2 ? 1 : 2};
}

// Slices that show more than a line; of a grid that has no such, the one across z.
std::vector<std::size_t> shownAxes(const Section& section)
{
    std::vector<std::size_t> axes;
    for (const std::size_t across : {2, 1, 0})
        if (const auto [right, up] = axesOf(across); section.dims[right] > 1 && section.dims[up] > 1)
            axes.push_back(across);
    if (axes.empty())
        axes.push_back(2);
    return axes;
}

QSize tileOf(const Section& section, std::size_t across)
{
    double longest = 0;
    for (std::size_t k = 0; k < 3; k++)
        longest = std::max(longest, section.dims[k] * section.spacing[k]);
    const auto pixels = [&](std::size_t k) {
        return std::max(1, int(std::lround(section.dims[k] * section.spacing[k] / longest * tileSize)));
    };
    const auto [right, up] = axesOf(across);
    return {pixels(right), pixels(up)};
}

QImage sliceImage(const Section& section, std::size_t across, const GreyWindow& window,
                  const std::vector<SectionMark>& marks)
{
    const auto [right, up] = axesOf(across);
    QImage image(section.dims[right], section.dims[up], QImage::Format_RGB32);
    std::size_t pixel = 0;
    for (int v = image.height() - 1; v >= 0; v--) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(v));
        for (int u = 0; u < image.width(); u++, pixel++) {
            const double grey = window.brightness(section.values[across][pixel]);
            const int mark = section.marks[across].empty() ? 0 : section.marks[across][pixel];
            line[u] = mark > 0 ? shaded(marks[std::size_t(mark) - 1].colour, 0.7 + 0.3 * grey)
                               : shaded(paperColour, grey);
        }
    }
    return image;
}

void drawBox(QPainter& painter, const Section& section, std::size_t across, const QRectF& tile)
{
    const std::size_t right = axesOf(across).first;
    const std::size_t up = axesOf(across).second;
    const auto x = [&](double index) { return tile.left() + index / section.dims[right] * tile.width(); };
    const auto y = [&](double index) { return tile.bottom() - index / section.dims[up] * tile.height(); };
    painter.setPen(QPen(boxColour, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRectF(QPointF(x(section.boxFrom[right]), y(section.boxTo[up] + 1.0)),
                            QPointF(x(section.boxTo[right] + 1.0), y(section.boxFrom[up]))));
}

GreyWindow windowOf(const Section& section)
{
    std::vector<float> values;
    for (const auto& slice : section.values)
        values.insert(values.end(), slice.begin(), slice.end());
    return GreyWindow(std::move(values));
}

}  // namespace

Section takeSection(const Volume& volume, const std::string& name, std::array<int, 3> at)
{
    Section section;
    section.dims = volume.dims;
    section.spacing = drawnSpacing(volume.geometry);
    section.caption = name + ":";
    for (std::size_t k = 0; k < 3; k++) {
        section.at[k] = std::clamp(at[k], 0, volume.dims[k] - 1);
        section.values[k] = sliceValues(volume, int(k), section.at[k]);
        section.caption += (k == 0 ? " " : " x ") + std::to_string(volume.dims[k]);
    }
    section.caption += std::string(" voxels of type ") + volume.fileType.getName();
    if (volume.geometry.isKnown())
        section.caption += ", " + rounded(section.spacing[0]) + " x " + rounded(section.spacing[1]) + " x " +
                           rounded(section.spacing[2]) + " mm";
    return section;
}

void markSection(Section& section, const std::function<int(long voxel)>& markOf)
{
    const long strides[3] = {1, section.dims[0], long(section.dims[0]) * section.dims[1]};
    for (std::size_t across = 0; across < 3; across++) {
        const auto [right, up] = axesOf(across);
        auto& marks = section.marks[across];
        marks.clear();
        for (int j = 0; j < section.dims[up]; j++)
            for (int i = 0; i < section.dims[right]; i++)
                marks.push_back((unsigned char)markOf(section.at[across] * strides[across] +
                                                      i * strides[right] + j * strides[up]));
    }
}

QImage drawSections(const std::vector<Section>& sections, const std::vector<SectionMark>& marks,
                    const std::string& title, const std::string& subtitle)
{
    int width = std::max({640, 2 * margin + int(StrokeFont::width(title, 18)),
                          2 * margin + int(StrokeFont::width(subtitle, 11))});
    int height = headHeight + margin + (marks.empty() ? 0 : legendHeight);
    for (const Section& section : sections) {
        int rowWidth = 2 * margin - gap;
        int rowHeight = 0;
        for (const std::size_t across : shownAxes(section)) {
            const QSize tile = tileOf(section, across);
            rowWidth += tile.width() + gap;
            rowHeight = std::max(rowHeight, tile.height());
        }
        width = std::max({width, rowWidth, 2 * margin + int(StrokeFont::width(section.caption, 12))});
        height += rowHeight + 2 * captionHeight + gap;
    }

    QImage image(width, height, QImage::Format_RGB32);
    image.fill(backgroundColour);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    StrokeFont::draw(painter, {double(margin), 42}, title, 18, paperColour);
    StrokeFont::draw(painter, {double(margin), 70}, subtitle, 11, quietColour);

    int y = headHeight;
    const GreyWindow window = windowOf(sections.front());
    for (const Section& section : sections) {
        StrokeFont::draw(painter, {double(margin), double(y + 15)}, section.caption, 12, paperColour);
        y += captionHeight;
        int x = margin;
        int rowHeight = 0;
        for (const std::size_t across : shownAxes(section)) {
            const QSize tile = tileOf(section, across);
            const QImage slice = sliceImage(section, across, window, marks);
            const bool shrinks = slice.width() > tile.width() || slice.height() > tile.height();
            painter.drawImage(x, y,
                              slice.scaled(tile, Qt::IgnoreAspectRatio,
                                           shrinks ? Qt::SmoothTransformation : Qt::FastTransformation));
            if (section.hasBox)
                drawBox(painter, section, across, QRectF(QPointF(x, y), QSizeF(tile)));
            StrokeFont::draw(painter, {double(x), double(y + tile.height() + 17)},
                             std::string(1, "xyz"[across]) + " = " + std::to_string(section.at[across]), 10,
                             quietColour);
            x += tile.width() + gap;
            rowHeight = std::max(rowHeight, tile.height());
        }
        y += rowHeight + captionHeight + gap;
    }

    QPointF at(margin, image.height() - 24);
    for (const SectionMark& mark : marks) {
        painter.fillRect(QRectF(at.x(), at.y() - 13, 16, 16), mark.colour);
        StrokeFont::draw(painter, at + QPointF(24, 0), mark.name, 11, paperColour);
        at.rx() += 24 + StrokeFont::width(mark.name, 11) + 30;
    }
    return image;
}

}  // namespace zbvolume

#include "ObjectPicture.h"

#include "Numbers.h"
#include "SliceImage.h"
#include "StrokeFont.h"

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

namespace zbvolume
{

namespace
{

constexpr int columns = 4;
constexpr int maxRows = 3;
constexpr int gap = 10;
constexpr int margin = 28;
constexpr int captionHeight = 22;
constexpr int headHeight = 84;
constexpr int legendEntries = 7;
constexpr int legendHeight = 40;

// Neighbouring ranks get hues far apart, as the golden ratio spreads them; brightness varies more slowly.
QColor objectColour(int rank)
{
    const double turn = rank * 0.6180339887498949;
    const double saturation = rank / 3 % 2 == 0 ? 0.68 : 0.45;
    const double value = rank / 6 % 2 == 0 ? 1.0 : 0.82;
    return QColor::fromHsvF(float(turn - std::floor(turn)), float(saturation), float(value));
}

// The slices that are shown: spread evenly over those that hold objects, or over all where there are none.
std::vector<int> chosenSlices(const Volume& volume, const ObjectLabels& objects)
{
    const long size = long(volume.dims[0]) * volume.dims[1];
    const auto holdsObjects = [&](int z) {
        for (long i = z * size; i < (z + 1) * size; i++)
            if (objects.rankAt(i) > 0)
                return true;
        return false;
    };
    int first = 0;
    int last = volume.dims[2] - 1;
    while (first < last && !holdsObjects(first))
        first++;
    while (last > first && !holdsObjects(last))
        last--;
    if (first == last && !holdsObjects(first)) {
        first = 0;
        last = volume.dims[2] - 1;
    }
    const int count = std::min(columns * maxRows, last - first + 1);
    std::vector<int> slices(std::size_t(count), first);
    for (std::size_t i = 0; i < slices.size(); i++)  // the middle of each of count parts
        slices[i] += int((2 * std::int64_t(i) + 1) * (last - first + 1) / (2 * count));
    return slices;
}

// A slice in the size of a tile: grey values interpolated, colours per voxel. y grows upwards.
QImage drawSlice(const Volume& volume, const ObjectLabels& objects, const std::vector<float>& values, int z,
                 const GreyWindow& window, const QSize& size)
{
    const int nx = volume.dims[0];
    const int ny = volume.dims[1];
    QImage tile(size, QImage::Format_RGB32);
    for (int v = 0; v < size.height(); v++) {
        auto* line = reinterpret_cast<QRgb*>(tile.scanLine(v));
        const double y = ny - (v + 0.5) * ny / size.height();
        const int y0 = std::clamp(int(std::floor(y - 0.5)), 0, ny - 1);
        const int y1 = std::min(y0 + 1, ny - 1);
        const double wy = std::clamp(y - 0.5 - y0, 0.0, 1.0);
        for (int u = 0; u < size.width(); u++) {
            const double x = (u + 0.5) * nx / size.width();
            const int x0 = std::clamp(int(std::floor(x - 0.5)), 0, nx - 1);
            const int x1 = std::min(x0 + 1, nx - 1);
            const double wx = std::clamp(x - 0.5 - x0, 0.0, 1.0);
            const auto at = [&](int i, int j) { return double(values[std::size_t(long(j) * nx + i)]); };
            const double grey = window.brightness((1 - wy) * ((1 - wx) * at(x0, y0) + wx * at(x1, y0)) +
                                                  wy * ((1 - wx) * at(x0, y1) + wx * at(x1, y1)));
            const long voxel = std::min(int(x), nx - 1) + nx * (std::min(int(y), ny - 1) + long(ny) * z);
            const int rank = objects.rankAt(voxel);
            line[u] =
                rank > 0 ? shaded(objectColour(rank), 0.45 + 0.55 * grey) : shaded(paperColour, 0.85 * grey);
        }
    }
    return tile;
}

// What a viewer in front of the grid sees of the objects along an axis (1 or 2), x to the right and the other
// axis up: the first object on each ray, lit from the upper left, darker with depth. spacing is that of the
// voxels, in any unit.
QImage drawView(const Volume& volume, const ObjectLabels& objects, int axis,
                const std::array<double, 3>& spacing)
{
    const int upAxis = 3 - axis;
    const int nx = volume.dims[0];
    const int ny = volume.dims[std::size_t(axis)];    // along the rays
    const int nz = volume.dims[std::size_t(upAxis)];  // up
    struct Hit {
        int depth;  // index along the ray, its length where there is nothing
        int rank;
    };
    std::vector<Hit> hits(std::size_t(nx) * std::size_t(nz), Hit{ny, 0});
    long voxel = 0;
    for (int k = 0; k < volume.dims[2]; k++) {
        for (int j = 0; j < volume.dims[1]; j++) {
            Hit* row = &hits[std::size_t(axis == 1 ? k : j) * std::size_t(nx)];
            for (int x = 0; x < nx; x++, voxel++)
                if (row[x].rank == 0)
                    if (const int rank = objects.rankAt(voxel); rank > 0)
                        row[x] = {axis == 1 ? j : k, rank};
        }
    }

    // Depths are whole voxels: a mean over neighbours of the same object takes the steps out of the surface.
    const auto hitAt = [&](int x, int z) -> const Hit& {
        return hits[std::size_t(std::clamp(z, 0, nz - 1)) * std::size_t(nx) +
                    std::size_t(std::clamp(x, 0, nx - 1))];
    };
    std::vector<double> depths(hits.size());
    for (int z = 0; z < nz; z++) {
        for (int x = 0; x < nx; x++) {
            const Hit& hit = hitAt(x, z);
            double sum = 0;
            int count = 0;
            for (int k = -2; k <= 2; k++)
                for (int i = -2; i <= 2; i++)
                    if (const Hit& near = hitAt(x + i, z + k);
                        near.rank == hit.rank && std::abs(near.depth - hit.depth) <= 6) {
                        sum += near.depth;
                        count++;
                    }
            depths[std::size_t(z) * std::size_t(nx) + std::size_t(x)] = sum / count;
        }
    }

    QImage view(nx, nz, QImage::Format_RGB32);
    view.fill(QColor(12, 13, 16));
    for (int z = 0; z < nz; z++) {
        for (int x = 0; x < nx; x++) {
            const Hit& hit = hitAt(x, z);
            if (hit.rank == 0)
                continue;
            // The slope of the surface along x or z, one-sided at the edge of the object.
            const auto slope = [&](int dx, int dz, double step) {
                const auto depthAt = [&](int side) {
                    const int i = std::clamp(x + side * dx, 0, nx - 1);
                    const int k = std::clamp(z + side * dz, 0, nz - 1);
                    const bool same = hitAt(i, k).rank == hit.rank;
                    return depths[std::size_t(same ? k : z) * std::size_t(nx) + std::size_t(same ? i : x)];
                };
                return std::clamp((depthAt(1) - depthAt(-1)) * spacing[std::size_t(axis)] / (2 * step), -3.0,
                                  3.0);
            };
            const double across = slope(1, 0, spacing[0]);
            const double up = slope(0, 1, spacing[std::size_t(upAxis)]);
            const double light = (0.8 + 0.35 * across + 0.48 * up) / std::sqrt(1 + across * across + up * up);
            const double depth = 1 - 0.4 * hit.depth / std::max(1, ny - 1);
            view.setPixel(x, nz - 1 - z,
                          shaded(objectColour(hit.rank), depth * (0.3 + 0.7 * std::max(0.0, light))));
        }
    }
    return view;
}

void drawLegend(QPainter& painter, const ObjectLabels& objects, QPointF at)
{
    for (int rank = 1; rank < int(objects.sizes.size()) && rank <= legendEntries; rank++) {
        const std::string text =
            std::to_string(rank) + ": " + grouped((unsigned long long)objects.sizes[std::size_t(rank)]);
        painter.fillRect(QRectF(at.x(), at.y() - 13, 16, 16), objectColour(rank));
        StrokeFont::draw(painter, at + QPointF(24, 0), text, 11, paperColour);
        at.rx() += 24 + StrokeFont::width(text, 11) + 30;
    }
    const auto count = objects.sizes.size() - 1;
    std::string rest = "voxels";
    if (count > legendEntries)
        rest += ", and " + grouped(count - legendEntries) + " more";
    if (count > 0)
        StrokeFont::draw(painter, at, rest, 11, quietColour);
}

}  // namespace

QImage drawObjects(const Volume& volume, const ObjectLabels& objects, const std::string& title,
                   const std::string& subtitle)
{
    const std::array<double, 3> spacing = drawnSpacing(volume.geometry);
    const std::vector<int> slices = chosenSlices(volume, objects);
    const int rows = (int(slices.size()) + columns - 1) / columns;
    const int shownColumns = std::min(columns, int(slices.size()));

    // A tile fills 300 by 300 pixels as far as the proportions of the slice let it.
    const double extentX = volume.dims[0] * spacing[0];
    const double extentY = volume.dims[1] * spacing[1];
    const double extentZ = volume.dims[2] * spacing[2];
    const double scale = (slices.size() > 1 ? 300 : 800) / std::max(extentX, extentY);
    const QSize tile(std::max(1, int(std::lround(extentX * scale))),
                     std::max(1, int(std::lround(extentY * scale))));
    const int gridWidth = shownColumns * (tile.width() + gap) - gap;
    const int gridHeight = rows * (tile.height() + captionHeight + gap) - gap;

    // The view gets the height of the slices beside it, but no more than 900 pixels of width. A thin stack of
    // slices shows more from above.
    QSize view(0, 0);
    const int viewAxis = extentZ < 0.5 * extentY ? 2 : 1;
    if (volume.dims[2] > 1) {
        const double up = viewAxis == 1 ? extentZ : extentY;
        const double viewScale = std::min((gridHeight - captionHeight) / up, 900 / extentX);
        view = QSize(std::max(1, int(std::lround(extentX * viewScale))),
                     std::max(1, int(std::lround(up * viewScale))));
    }
    const int viewWidth = view.width() > 0 ? view.width() + 2 * gap : 0;
    const int width =
        std::max({2 * margin + viewWidth + gridWidth, 640, 2 * margin + int(StrokeFont::width(title, 18)),
                  2 * margin + int(StrokeFont::width(subtitle, 11))});

    QImage image(width,
                 headHeight + std::max(gridHeight, view.height() + captionHeight) + legendHeight + margin,
                 QImage::Format_RGB32);
    image.fill(backgroundColour);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    StrokeFont::draw(painter, {double(margin), 42}, title, 18, paperColour);
    StrokeFont::draw(painter, {double(margin), 70}, subtitle, 11, quietColour);

    if (viewWidth > 0) {
        painter.drawImage(margin, headHeight,
                          drawView(volume, objects, viewAxis, spacing)
                              .scaled(view, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        StrokeFont::draw(painter, {double(margin), double(headHeight + view.height() + 17)},
                         viewAxis == 1 ? "seen along y" : "seen along z", 10, quietColour);
    }

    std::vector<std::vector<float>> values;
    std::vector<float> all;
    for (const int z : slices) {
        values.push_back(sliceValues(volume, 2, z));
        all.insert(all.end(), values.back().begin(), values.back().end());
    }
    const GreyWindow window(std::move(all));
    for (std::size_t i = 0; i < slices.size(); i++) {
        const int x = margin + viewWidth + int(i) % columns * (tile.width() + gap);
        const int y = headHeight + int(i) / columns * (tile.height() + captionHeight + gap);
        painter.drawImage(x, y, drawSlice(volume, objects, values[i], slices[i], window, tile));
        StrokeFont::draw(painter, {double(x), double(y + tile.height() + 17)},
                         "z = " + std::to_string(slices[i]), 10, quietColour);
    }
    drawLegend(painter, objects, {double(margin), double(image.height() - 24)});
    return image;
}

}  // namespace zbvolume

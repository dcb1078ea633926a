#pragma once

#include "Volume.h"

#include <QColor>

#include <array>
#include <vector>

namespace zbvolume
{

// The colours of pictures of volumes.
const QColor backgroundColour(24, 26, 31);
const QColor paperColour(235, 237, 241);
const QColor quietColour(150, 156, 168);

/// The slice across an axis as numbers, the lower of the other two axes fastest; 0 for what is not finite.
std::vector<float> sliceValues(const Volume& volume, int axis, int index);

/// Maps values to brightness, so that nearly all of the values that it is made for come to lie within [0, 1].
class GreyWindow
{
public:
    /// values is not empty.
    explicit GreyWindow(std::vector<float> values);
    double brightness(double value) const;

private:
    float m_black = 0;
    float m_white = 1;
};

/// The spacing to draw voxels with: that of the grid, or 1 where that cannot be drawn.
std::array<double, 3> drawnSpacing(const Geometry& geometry);

/// colour at a brightness, cut to [0, 1].
QRgb shaded(const QColor& colour, double light);

}  // namespace zbvolume

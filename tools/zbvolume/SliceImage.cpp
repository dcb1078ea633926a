#include "SliceImage.h"

#include <zblib/data/ZbRawData.h>
#include <zblib/data/ZbRawData2D.h>
#include <zblib/data/ZbRawData3D.h>

#include <algorithm>
#include <cmath>

namespace zbvolume
{

std::vector<float> sliceValues(const Volume& volume, int axis, int index)
{
    ZbRawData3D block(volume.dims[0], volume.dims[1], volume.dims[2], volume.type.size(), volume.block.get());
    ZbRawData2D slice;
    block.getSlice(ZbRawData3D::Orientation(axis), index, slice);
    slice.makeLocal();
    std::vector<float> values(std::size_t(slice.sizeX()) * std::size_t(slice.sizeY()));
    ZbRawData::memcpy(ZbTypedPointer(values.data()), ZbTypedPointer(slice.dataPtr(), volume.type),
                      long(values.size()));
    std::replace_if(
        values.begin(), values.end(), [](float value) { return !std::isfinite(value); }, 0.0F);
    return values;
}

GreyWindow::GreyWindow(std::vector<float> values)
{
    const auto at = [&](double fraction) {
        const auto place = values.begin() + std::ptrdiff_t(fraction * double(values.size() - 1));
        std::nth_element(values.begin(), place, values.end());
        return *place;
    };
    m_black = at(0.01);
    m_white = at(0.998);
}

double GreyWindow::brightness(double value) const
{
    return m_white > m_black ? std::clamp((value - m_black) / (double(m_white) - m_black), 0.0, 1.0) : 0.5;
}

std::array<double, 3> drawnSpacing(const Geometry& geometry)
{
    const auto& steps = geometry.spacing;
    const bool isPlausible =
        std::all_of(steps.begin(), steps.end(), [](double step) { return step > 1e-9 && step < 1e9; });
    return isPlausible ? steps : std::array<double, 3>{1, 1, 1};
}

QRgb shaded(const QColor& colour, double light)
{
    const double factor = std::clamp(light, 0.0, 1.0);
    return qRgb(int(colour.red() * factor), int(colour.green() * factor), int(colour.blue() * factor));
}

}  // namespace zbvolume

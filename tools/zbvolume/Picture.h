#pragma once

#include <QImage>

#include <string>

namespace zbvolume
{

/// The image as a PNG file.
std::string pngBytes(const QImage& image);

}  // namespace zbvolume

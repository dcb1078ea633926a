#pragma once

#include "Statistics.h"

#include <QImage>

#include <string>

namespace zbvolume
{

/// The scale of counts, in a picture or in characters.
enum class CountScale {
    Automatic,  // logarithmic where one bin would leave the others without height
    Linear,
    Logarithmic,
};

/// A plot with axes, ticks and a short legend.
QImage drawHistogram(const ValueCounts& counts, const std::string& title, CountScale scale);

/// A plot made of characters: neighbouring bins taken together until they fit maxRows lines.
std::string histogramText(const ValueCounts& counts, std::size_t maxRows, CountScale scale);

}  // namespace zbvolume

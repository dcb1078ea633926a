#pragma once

#include "Report.h"
#include "Statistics.h"

#include <QImage>

#include <memory>
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

/// One row a bin: its centre, its edges and its count.
Table binTable(const std::shared_ptr<const ValueCounts>& counts);

/// Adds histogramText() to report, the bins themselves where it is printed as JSON.
void addBins(Report& report, const std::shared_ptr<const ValueCounts>& counts, std::size_t maxRows,
             CountScale scale);

}  // namespace zbvolume

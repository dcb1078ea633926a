#pragma once

#include "Volume.h"

#include <QColor>
#include <QImage>

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace zbvolume
{

/// The slices across x, y and z through a volume at given indices, kept when the voxels are gone.
struct Section {
    std::string caption;
    std::array<int, 3> dims{};
    std::array<int, 3> at{};
    std::array<double, 3> spacing{};
    std::array<std::vector<float>, 3> values;         // of the slice across each axis
    std::array<std::vector<unsigned char>, 3> marks;  // of each pixel: its mark, 0 for none; or empty
    bool hasBox = false;                              // outlined, from and to in voxels, both included
    std::array<int, 3> boxFrom{};
    std::array<int, 3> boxTo{};
};

/// name says which volume it is ("before"); sizes, spacing and type are added to it. indices are cut to the grid.
Section takeSection(const Volume& volume, const std::string& name, std::array<int, 3> at);
/// Marks the pixels of a section by the voxels that they show.
void markSection(Section& section, const std::function<int(long voxel)>& markOf);

struct SectionMark {
    QColor colour;
    std::string name;
};

/// One row a section, each in the proportions of its voxels, which are shown as they are, not interpolated.
/// Mark i has the colour marks[i - 1]. Equal values have equal brightness in all sections.
QImage drawSections(const std::vector<Section>& sections, const std::vector<SectionMark>& marks,
                    const std::string& title, const std::string& subtitle);

}  // namespace zbvolume

#pragma once

#include "Volume.h"

#include <array>
#include <optional>
#include <vector>

class ZbProgressInterface;

namespace zbvolume
{

/// Which voxels make objects, and which objects count.
struct ObjectRule {
    double threshold = 0;          // voxels at or above are foreground
    std::optional<double> strong;  // if given, an object has at least one voxel at or above
    int neighbours = 26;
    long minSize = 1;         // voxels
    bool byValue = false;     // touching voxels belong together only if their values are equal
    bool rasterPass = false;  // the library's one-pass labelling in place of the true regions
};

struct Object {
    long size = 0;  // voxels
    long strong = 0;
    double value = 0;  // by value
    std::array<double, 3> centre{};
    std::array<int, 3> boxMin{};  // the box is not known to the raster pass
    std::array<int, 3> boxMax{};
};

struct ObjectCount {
    std::vector<Object> objects;  // the largest first, equal ones in raster order of their first voxels
    long tooSmall = 0;            // regions dropped because of minSize
    long tooWeak = 0;             // regions dropped because they hold no strong voxel
    VoxelBlock labels;            // ints, one a voxel; null unless asked for
    std::vector<int> ranks;       // of each label: 1 for objects[0] and so on, 0 for what is no object

    const int* labelData() const { return static_cast<const int*>(labels.get()); }
};

/// Counts the objects of volume by rule. Thresholds are exact: 100.5 means 101 and above for integers, and
/// one beyond the range of the voxels' type holds for none of them. Float voxels compare in float, so that a
/// voxel shown as 0.7 is at the threshold 0.7. volume may change its voxel type to a wider one. Throws Failure
/// and Interrupted.
ObjectCount countObjects(Volume& volume, const ObjectRule& rule, bool wantLabels,
                         ZbProgressInterface& progress);

}  // namespace zbvolume

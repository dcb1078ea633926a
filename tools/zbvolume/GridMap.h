#pragma once

#include "Volume.h"

#include <array>

namespace zbvolume
{

/// Where the voxels of a new grid lie in an old one: index i along axis k of the new grid is index
/// start[k] + step[k] * i along axis axes[k] of the old one.
struct GridMap {
    std::array<int, 3> axes = {0, 1, 2};  // each of 0, 1 and 2 once
    std::array<double, 3> start = {0, 0, 0};
    std::array<double, 3> step = {1, 1, 1};
};

/// Gives volume another grid: its sizes, its geometry and all that its header says about axes, so that every
/// new voxel lies in space where map says that it lay before. The voxels themselves are the caller's.
///
/// Where the header has no transform, it gets one as soon as its spacing alone would put voxels elsewhere. A
/// volume without a header gets one, with voxels of 1 mm before the change. The timing of slices is dropped.
void changeGrid(Volume& volume, const std::array<int, 3>& dims, const GridMap& map);

}  // namespace zbvolume

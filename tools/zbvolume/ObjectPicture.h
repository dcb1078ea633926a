#pragma once

#include "Volume.h"

#include <QImage>

#include <cstdint>
#include <string>
#include <vector>

namespace zbvolume
{

/// The objects of a volume as a picture needs them.
struct ObjectLabels {
    const int* labels = nullptr;  // one a voxel
    std::vector<int> ranks;       // of each label: 1 for the largest object, 0 for what is not shown
    std::vector<long> sizes;      // of each rank, voxels; sizes[0] is unused

    int rankAt(long voxel) const { return ranks[std::size_t(labels[voxel])]; }
};

/// A montage: slices across z in grey with the objects in colours, beside them the objects as seen along y or,
/// in a thin stack, along z, and the sizes of the largest ones. Voxels are drawn in the proportions of the
/// grid's spacing.
QImage drawObjects(const Volume& volume, const ObjectLabels& objects, const std::string& title,
                   const std::string& subtitle);

}  // namespace zbvolume

#include "GridMap.h"

#include "Failure.h"

#include <cmath>

namespace zbvolume
{

namespace
{

// The transform of new indices, given that of old ones.
nifti_dmat44 moved(const nifti_dmat44& toWorld, const GridMap& map)
{
    nifti_dmat44 result = toWorld;
    for (std::size_t row = 0; row < 3; row++)
        for (std::size_t k = 0; k < 3; k++) {
            const double direction = toWorld.m[row][map.axes[k]];
            result.m[row][k] = direction * map.step[k];
            result.m[row][3] += direction * map.start[k];
        }
    return result;
}

// Of a field that names an axis from 1 on, or none with 0.
int movedAxis(int axis, const GridMap& map)
{
    for (std::size_t k = 0; k < 3; k++)
        if (map.axes[k] == axis - 1)
            return int(k) + 1;
    return 0;
}

bool isPlacedBySpacing(const GridMap& map)
{
    return map.axes == GridMap().axes && map.start == GridMap().start;
}

void moveHeader(nifti_image& image, const GridMap& map)
{
    const double steps[3] = {image.dx, image.dy, image.dz};
    if (image.sform_code <= 0 && image.qform_code <= 0 && !isPlacedBySpacing(map)) {
        image.sform_code = NIFTI_XFORM_ALIGNED_ANAT;
        image.sto_xyz = {};
        for (std::size_t k = 0; k < 3; k++)
            image.sto_xyz.m[k][k] = std::abs(steps[k]);
        image.sto_xyz.m[3][3] = 1;
    }
    image.sto_xyz = moved(image.sto_xyz, map);
    image.qto_xyz = moved(image.qto_xyz, map);
    nifti_dmat44_to_quatern(image.qto_xyz, &image.quatern_b, &image.quatern_c, &image.quatern_d,
                            &image.qoffset_x, &image.qoffset_y, &image.qoffset_z, nullptr, nullptr, nullptr,
                            &image.qfac);
    double* const newSteps[3] = {&image.dx, &image.dy, &image.dz};
    for (std::size_t k = 0; k < 3; k++)
        *newSteps[k] = image.pixdim[k + 1] = steps[map.axes[k]] * map.step[k];

    image.freq_dim = movedAxis(image.freq_dim, map);
    image.phase_dim = movedAxis(image.phase_dim, map);
    image.slice_dim = movedAxis(image.slice_dim, map);
    image.slice_code = NIFTI_SLICE_UNKNOWN;
    image.slice_start = image.slice_end = 0;
    image.slice_duration = 0;
}

}  // namespace

void changeGrid(Volume& volume, const std::array<int, 3>& dims, const GridMap& map)
{
    volume.dims = dims;
    if (!volume.header) {
        const std::int64_t sizes[8] = {3, dims[0], dims[1], dims[2], 1, 1, 1, 1};
        volume.header.reset(nifti_make_new_nim(sizes, niftiType(volume.type), 0));
        if (!volume.header)
            throw Failure(volume.path, "not enough memory for a header");
        volume.header->xyz_units = NIFTI_UNITS_MM;
    }
    moveHeader(*volume.header, map);
    volume.geometry = geometryOf(*volume.header);
}

}  // namespace zbvolume

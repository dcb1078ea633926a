#pragma once

#include <zblib/types/ZbPrimType.h>

#include <nifti2_io.h>

#include <array>
#include <cstdint>
#include <memory>

namespace zbvolume
{

class InputFile;

struct NiftiImageDeleter {
    void operator()(nifti_image* image) const { nifti_image_free(image); }
};
/// The meaning of a header as niftiio sees it: geometry, units, intent. Without voxels.
using NiftiImage = std::unique_ptr<nifti_image, NiftiImageDeleter>;

/// The header of a NIfTI file after every field that decides about memory and reading has been checked.
struct NiftiHeader {
    int version = 1;               // 1 or 2
    bool isBigEndian = false;      // header and voxels
    bool isSingleFile = true;      // the voxels follow in the same file
    std::array<int, 3> dims{};     // each at least 1
    std::int64_t frames = 1;       // product of the sizes above the third
    ZbPrimType type;               // of the stored voxels
    std::uint64_t dataOffset = 0;  // bytes in front of the voxels
    NiftiImage image;
};

/// Reads and checks the header at the start of file. Throws Failure.
///
/// On return all sizes multiplied with the size of a voxel fit 64 bits.
NiftiHeader readNiftiHeader(InputFile& file);

/// The code of niftiio for a type that zbvolume writes.
int niftiType(ZbPrimType type);

}  // namespace zbvolume

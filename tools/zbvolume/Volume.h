#pragma once

#include "NiftiHeader.h"

#include <zblib/types/ZbTypedPointer.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class ZbProgressInterface;

namespace zbvolume
{

struct ZbFreeDeleter {
    void operator()(void* block) const;
};
/// A block of memory for voxels, from the library's allocator.
using VoxelBlock = std::unique_ptr<void, ZbFreeDeleter>;

/// bytes of uninitialised memory. Throws Failure in the name of file where there is not enough.
VoxelBlock allocateVoxels(const std::string& file, std::uint64_t bytes);

/// Does work, and throws Failure in the name of file where there is not enough memory for it.
void requireMemory(const std::string& file, const std::function<void()>& work);

/// The layout of a file without a header.
struct RawLayout {
    std::array<std::int64_t, 3> dims{};
    std::string type;  // name of a primitive type
    bool isBigEndian = false;
    std::uint64_t skip = 0;  // bytes in front of the voxels
};

/// Where a volume comes from, as the command line says.
struct VolumeSource {
    std::string path;
    std::optional<RawLayout> raw;  // none: NIfTI
    std::int64_t frame = 0;        // of a series, from 0
};

/// Where the grid lies in space, in millimetres.
struct Geometry {
    std::array<double, 3> spacing{};                 // along x, y and z; 0 where unknown
    std::array<std::array<double, 4>, 3> toWorld{};  // from grid indices, rows x, y and z

    bool isKnown() const { return spacing[0] > 0 && spacing[1] > 0 && spacing[2] > 0; }
    std::array<double, 3> position(const std::array<double, 3>& index) const;
};

/// The geometry in a header: its general transform if it has one, else its rotation and shift, else only the
/// spacing.
Geometry geometryOf(const nifti_image& image);

/// One frame of voxels in memory, x varying fastest, with what its file said about it.
///
/// The voxels have the type of the file, but for 64-bit integers: they are held as double, and a file with
/// values that double cannot hold is refused.
struct Volume {
    std::string path;
    std::string format;   // as shown to people: "NIfTI-1, big-endian, compressed"
    ZbPrimType fileType;  // of the voxels in the file
    ZbPrimType type;      // of the voxels in memory
    std::array<int, 3> dims{};
    std::int64_t frames = 1;  // in the file
    std::int64_t frame = 0;   // this one
    double slope = 1;         // real value = slope * stored value + offset
    double offset = 0;
    Geometry geometry;
    int niftiVersion = 0;  // 0: the file had no header
    NiftiImage header;     // null when the file had none
    VoxelBlock block;

    ZbTypedPointer voxels() const { return ZbTypedPointer(block.get(), type); }
    long voxelCount() const { return long(dims[0]) * dims[1] * dims[2]; }
};

/// Reads a frame. Whatever the bytes of the file, the result is a volume whose sizes and memory agree, or a
/// Failure; Interrupted when progress says so.
Volume readVolume(const VolumeSource& source, ZbProgressInterface* progress = nullptr);

}  // namespace zbvolume

#pragma once

#include "OutputFile.h"
#include "Volume.h"

#include <functional>
#include <string>

namespace zbvolume
{

/// A volume on its way to the disk: NIfTI for names that end in .nii, .nii.gz, .hdr, .img, .hdr.gz or
/// .img.gz (either name of a pair gives both files), the bare voxels, little-endian, for .raw.
///
/// The target appears when outputs is committed. Errors throw Failure.
class VolumeWriter
{
public:
    /// Opens the target, so that a wrong name shows before the work.
    VolumeWriter(const std::string& path, OutputFiles& outputs);

    /// Puts the voxels with index first to first + count - 1 where out points.
    using Producer = std::function<void(long first, long count, void* out)>;

    /// Writes a volume that lies in the space of like and has its sizes, with voxels of another type and
    /// another meaning: slope 1 and no intent. The file is NIfTI-1, or NIfTI-2 where like is or where the
    /// sizes need it. Voxels are asked for block by block, in order.
    void write(const Volume& like, ZbPrimType type, const Producer& produce,
               ZbProgressInterface* progress = nullptr);

private:
    OutputFile& dataFile() { return m_second != nullptr ? *m_second : *m_first; }

    bool m_isRaw = false;
    OutputFile* m_first = nullptr;   // the only file, or the header of a pair; belongs to outputs
    OutputFile* m_second = nullptr;  // the voxels of a pair
};

}  // namespace zbvolume

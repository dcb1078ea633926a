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

    /// What the values of a file that is made from another one stand for.
    enum class Meaning {
        New,   // something else: slope 1, no intent
        Kept,  // the same: slope, offset and intent of like
    };
    /// Writes a volume that lies in the space of like and has its sizes. The file is NIfTI-1, or NIfTI-2 where
    /// like is or where the sizes need it. Voxels are asked for block by block, in order.
    void write(const Volume& like, ZbPrimType type, Meaning meaning, const Producer& produce,
               ZbProgressInterface* progress = nullptr);
    /// Writes the voxels of volume in the type that they had in its file.
    void write(const Volume& volume, ZbProgressInterface* progress = nullptr);

private:
    OutputFile& dataFile() { return m_second != nullptr ? *m_second : *m_first; }

    bool m_isRaw = false;
    OutputFile* m_first = nullptr;   // the only file, or the header of a pair; belongs to outputs
    OutputFile* m_second = nullptr;  // the voxels of a pair
};

}  // namespace zbvolume

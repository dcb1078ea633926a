#include "Volume.h"

#include "Failure.h"
#include "InputFile.h"

#include <zblib/data/ZbRawData.h>
#include <zblib/foundation/ZbMemory.h>
#include <zblib/foundation/ZbMemoryException.h>
#include <zblib/foundation/ZbProgressInterface.h>
#include <zblib/types/ZbPrimTypeVisit.h>

#include <sys/stat.h>

#include <cmath>
#include <limits>

namespace zbvolume
{

namespace
{

bool exists(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

// The other file of a pair: the name with its ending replaced, compressed or not, whichever is there.
std::string partner(const std::string& path, const std::string& from, const std::string& to)
{
    std::string stem = path;
    if (stem.ends_with(".gz"))
        stem.resize(stem.size() - 3);
    stem.resize(stem.size() - from.size());
    const std::string plain = stem + to;
    return !exists(plain) && exists(plain + ".gz") ? plain + ".gz" : plain;
}

// Of a pair, the header may be named, or the voxels.
std::string headerPath(const std::string& path)
{
    for (const char* end : {".img", ".img.gz"})
        if (path.ends_with(end))
            return partner(path, ".img", ".hdr");
    return path;
}

std::string imagePath(const std::string& header)
{
    if (!header.ends_with(".hdr") && !header.ends_with(".hdr.gz"))
        throw Failure(header, "is the header of a pair of files, its name must end in .hdr");
    return partner(header, ".hdr", ".img");
}

// Units of the grid in millimetres. Files without a unit mean millimetres.
double unitOf(const nifti_image& image)
{
    switch (image.xyz_units) {
    case NIFTI_UNITS_METER:
        return 1000;
    case NIFTI_UNITS_MICRON:
        return 0.001;
    default:
        return 1;
    }
}

std::string describe(const std::string& name, bool isBigEndian, bool isCompressed)
{
    return name + (isBigEndian ? ", big-endian" : ", little-endian") + (isCompressed ? ", compressed" : "");
}

// Labelling and statistics do not know 64-bit integers. Double holds all of them up to 2^53.
void narrow64(Volume& volume)
{
    zbVisitPrimType<long long, unsigned long long>(volume.type, [&](auto tag) {
        using Value = typename decltype(tag)::Type;
        constexpr Value largest = Value(1) << 53;
        auto* bytes = static_cast<unsigned char*>(volume.block.get());
        for (long i = 0; i < volume.voxelCount(); i++, bytes += sizeof(Value)) {
            Value value;
            std::memcpy(&value, bytes, sizeof value);
            if (value > largest || (std::numeric_limits<Value>::is_signed && value < Value(0) - largest))
                throw Failure(volume.path, "has the value " + std::to_string(value) +
                                               ", and 64-bit values beyond 2^53 are not supported");
            const auto real = double(value);
            std::memcpy(bytes, &real, sizeof real);
        }
        volume.type = ZbPrimType::DOUBLE;
    });
}

// Reads the voxels of volume, which are of its fileType, from file.
void readVoxels(Volume& volume, InputFile& file, std::uint64_t offset, bool isBigEndian,
                ZbProgressInterface* progress)
{
    const std::uint64_t bytes = std::uint64_t(volume.voxelCount()) * std::uint64_t(volume.fileType.size());
    std::uint64_t end = 0;
    if (__builtin_add_overflow(offset, bytes * std::uint64_t(volume.frames), &end))
        throw Failure(file.path(), "has sizes whose product overflows");
    file.requireSize(end);
    volume.block = allocateVoxels(file.path(), bytes);
    volume.type = volume.fileType;
    if (progress != nullptr)
        progress->startWorking("Reading");
    file.skip(offset + bytes * std::uint64_t(volume.frame), progress);
    file.readAll(volume.block.get(), bytes, progress);
    if (volume.frame == volume.frames - 1)
        file.checkEnd();
    if (progress != nullptr)
        progress->stopWorking();
    if (isBigEndian)
        ZbRawData::fromBigEndian(volume.voxels(), (unsigned long)volume.voxelCount());
    narrow64(volume);
}

Volume readRaw(const VolumeSource& source, ZbProgressInterface* progress)
{
    const RawLayout& raw = *source.raw;
    Volume volume;
    volume.path = source.path;
    ZbPrimType::Type type;
    if (!ZbPrimType::convertNameToType(raw.type.c_str(), type) || type == ZbPrimType::STRING)
        throw Failure(source.path, "unknown voxel type '" + raw.type +
                                       "', expected one of byte sbyte short ushort int uint int64 uint64 "
                                       "float double");
    volume.fileType = type;
    if (type == ZbPrimType::COMPLEX)
        throw Failure(source.path, "voxels of type complex are not supported");
    std::int64_t bytes = volume.fileType.size();
    for (std::size_t i = 0; i < 3; i++) {
        if (raw.dims[i] < 1 || raw.dims[i] > std::numeric_limits<int>::max())
            throw Failure(source.path, "size " + std::to_string(raw.dims[i]) + " is not in 1 to 2147483647");
        if (__builtin_mul_overflow(bytes, raw.dims[i], &bytes))
            throw Failure(source.path, "the product of the sizes overflows");
        volume.dims[i] = int(raw.dims[i]);
    }
    if (source.frame != 0)
        throw Failure(source.path, "a raw file has one frame");
    InputFile file(source.path);
    volume.format = describe("raw", raw.isBigEndian, file.isCompressed());
    readVoxels(volume, file, raw.skip, raw.isBigEndian, progress);
    return volume;
}

Volume readNifti(const VolumeSource& source, ZbProgressInterface* progress)
{
    InputFile headerFile(headerPath(source.path));
    NiftiHeader header = readNiftiHeader(headerFile);
    Volume volume;
    volume.path = source.path;
    volume.fileType = header.type;
    volume.dims = header.dims;
    volume.frames = header.frames;
    volume.frame = source.frame;
    volume.niftiVersion = header.version;
    if (source.frame < 0 || source.frame >= header.frames)
        throw Failure(source.path, "has " + std::to_string(header.frames) + " frames, there is no frame " +
                                       std::to_string(source.frame) + " (the first is 0)");
    const nifti_image& image = *header.image;
    if (image.scl_slope != 0 && std::isfinite(image.scl_slope) && std::isfinite(image.scl_inter)) {
        volume.slope = image.scl_slope;
        volume.offset = image.scl_inter;
    }
    volume.geometry = geometryOf(image);

    InputFile file(header.isSingleFile ? headerFile.path() : imagePath(headerFile.path()));
    volume.format = describe("NIfTI-" + std::to_string(header.version) + (header.isSingleFile ? "" : " pair"),
                             header.isBigEndian, file.isCompressed());
    volume.header = std::move(header.image);
    readVoxels(volume, file, header.dataOffset, header.isBigEndian, progress);
    return volume;
}

}  // namespace

void ZbFreeDeleter::operator()(void* block) const
{
    zbfree(block);
}

VoxelBlock allocateVoxels(const std::string& file, std::uint64_t bytes)
{
    try {
        return VoxelBlock(zbmalloc(bytes));
    } catch (const ZbMemoryException&) {
        throw Failure(file, "not enough memory for " + std::to_string(bytes) + " bytes");
    }
}

void requireMemory(const std::string& file, const std::function<void()>& work)
{
    try {
        work();
    } catch (const ZbMemoryException&) {
        throw Failure(file, "not enough memory for the result");
    }
}

Geometry geometryOf(const nifti_image& image)
{
    Geometry geometry;
    const double unit = unitOf(image);
    const double steps[3] = {image.dx, image.dy, image.dz};
    const nifti_dmat44* toWorld = image.sform_code > 0   ? &image.sto_xyz
                                  : image.qform_code > 0 ? &image.qto_xyz
                                                         : nullptr;
    for (std::size_t i = 0; i < 3; i++) {
        const double step = std::abs(steps[i]) * unit;
        geometry.spacing[i] = std::isfinite(step) ? step : 0;
        for (std::size_t j = 0; j < 4; j++)
            geometry.toWorld[i][j] = toWorld != nullptr ? toWorld->m[i][j] * unit
                                     : i == j           ? geometry.spacing[i]
                                                        : 0;
    }
    return geometry;
}

std::array<double, 3> Geometry::position(const std::array<double, 3>& index) const
{
    std::array<double, 3> world{};
    for (std::size_t i = 0; i < 3; i++)
        world[i] =
            toWorld[i][0] * index[0] + toWorld[i][1] * index[1] + toWorld[i][2] * index[2] + toWorld[i][3];
    return world;
}

Volume readVolume(const VolumeSource& source, ZbProgressInterface* progress)
{
    return source.raw ? readRaw(source, progress) : readNifti(source, progress);
}

}  // namespace zbvolume

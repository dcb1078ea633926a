#include "NiftiHeader.h"

#include "Failure.h"
#include "InputFile.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

namespace zbvolume
{

namespace
{

constexpr std::pair<int, ZbPrimType::Type> voxelTypes[] = {
    {DT_UINT8, ZbPrimType::BYTE},     {DT_INT8, ZbPrimType::SBYTE},    {DT_INT16, ZbPrimType::SHORT},
    {DT_UINT16, ZbPrimType::USHORT},  {DT_INT32, ZbPrimType::INT},     {DT_UINT32, ZbPrimType::UINT},
    {DT_INT64, ZbPrimType::INT64},    {DT_UINT64, ZbPrimType::UINT64}, {DT_FLOAT32, ZbPrimType::FLOAT},
    {DT_FLOAT64, ZbPrimType::DOUBLE},
};

struct Format {
    int version;
    bool isSwapped;
};

// The first field tells the version and, because neither number is the other's mirror image, the byte order.
std::optional<Format> recognise(std::int32_t headerSize)
{
    const auto swapped = std::int32_t(__builtin_bswap32(std::uint32_t(headerSize)));
    for (const auto& [size, version] :
         {std::pair(int(sizeof(nifti_1_header)), 1), std::pair(int(sizeof(nifti_2_header)), 2)})
        if (headerSize == size || swapped == size)
            return Format{version, headerSize != size};
    return std::nullopt;
}

// The fields that decide about memory and reading, of either version.
struct Fields {
    std::string magic;
    std::array<std::int64_t, 8> dim{};
    int datatype = 0;
    double dataOffset = 0;
};

template <typename Header>
Fields fieldsOf(const Header& header)
{
    Fields fields;
    fields.magic.assign(header.magic, strnlen(header.magic, 4));
    std::copy(std::begin(header.dim), std::end(header.dim), fields.dim.begin());
    fields.datatype = header.datatype;
    fields.dataOffset = double(header.vox_offset);
    return fields;
}

ZbPrimType voxelType(const std::string& path, int datatype)
{
    for (const auto& [code, type] : voxelTypes)
        if (code == datatype)
            return type;
    const std::string name = nifti_datatype_string(datatype);
    throw Failure(path, name.find("ILLEGAL") == std::string::npos && datatype != 0
                            ? "voxels of type " + name + " are not supported"
                            : "unknown voxel type " + std::to_string(datatype));
}

void checkSizes(const std::string& path, const Fields& fields, NiftiHeader& header)
{
    const std::int64_t rank = fields.dim[0];
    if (rank < 1 || rank > 7)
        throw Failure(path, "has " + std::to_string(rank) + " dimensions, 1 to 7 expected");
    std::int64_t bytes = header.type.size();
    header.dims = {1, 1, 1};
    for (std::size_t i = 1; i <= std::size_t(rank); i++) {
        const std::int64_t size = fields.dim[i];
        const std::string dimension = " in dimension " + std::to_string(i);
        if (size < 1)
            throw Failure(path, "has size " + std::to_string(size) + dimension);
        if (i <= 3 && size > std::numeric_limits<int>::max())
            throw Failure(path, "has size " + std::to_string(size) + dimension + ", which is too large");
        if (__builtin_mul_overflow(bytes, size, &bytes))
            throw Failure(path, "has sizes whose product overflows");
        if (i <= 3)
            header.dims[i - 1] = int(size);
        else
            header.frames *= size;
    }
}

void checkOffset(const std::string& path, const Fields& fields, NiftiHeader& header)
{
    const int least = header.isSingleFile
                          ? header.version == 1 ? int(sizeof(nifti_1_header)) : int(sizeof(nifti_2_header))
                          : 0;
    // Up to 2^53 every offset is a number that double holds.
    if (!(fields.dataOffset >= least && fields.dataOffset <= 9007199254740992.0))
        throw Failure(path, "has an impossible offset of the voxels");
    header.dataOffset = std::uint64_t(fields.dataOffset);
}

template <typename Header>
void interpret(const std::string& path, const Header& raw, NiftiHeader& header)
{
    const Fields fields = fieldsOf(raw);
    const std::string version = std::to_string(header.version);
    header.isSingleFile = fields.magic == "n+" + version;
    if (!header.isSingleFile && fields.magic != "ni" + version)
        throw Failure(path, "is not a NIfTI file");
    header.type = voxelType(path, fields.datatype);
    checkSizes(path, fields, header);
    checkOffset(path, fields, header);
}

}  // namespace

NiftiHeader readNiftiHeader(InputFile& file)
{
    const std::string& path = file.path();
    alignas(8) std::array<unsigned char, sizeof(nifti_2_header)> bytes{};
    std::size_t length = file.readSome(bytes.data(), sizeof(nifti_1_header));
    std::int32_t headerSize = 0;
    std::memcpy(&headerSize, bytes.data(), sizeof headerSize);
    const auto format = recognise(headerSize);
    if (length < sizeof headerSize || !format)
        throw Failure(path, "is not a NIfTI file");
    const std::size_t expected = format->version == 1 ? sizeof(nifti_1_header) : sizeof(nifti_2_header);
    if (length < expected && length == sizeof(nifti_1_header))
        length += file.readSome(bytes.data() + length, expected - length);
    if (length < expected)
        throw Failure(path, "is truncated inside its header: " + std::to_string(length) + " bytes, " +
                                std::to_string(expected) + " expected");

    NiftiHeader header;
    header.version = format->version;
    header.isBigEndian = format->isSwapped;  // of a little-endian machine
    nifti_set_debug_level(0);
    if (format->version == 1) {
        nifti_1_header raw;
        std::memcpy(&raw, bytes.data(), sizeof raw);
        if (format->isSwapped)
            nifti_swap_as_nifti1(&raw);
        interpret(path, raw, header);
        header.image.reset(nifti_convert_n1hdr2nim(raw, nullptr));
    } else {
        nifti_2_header raw;
        std::memcpy(&raw, bytes.data(), sizeof raw);
        if (format->isSwapped)
            nifti_swap_as_nifti2(&raw);
        interpret(path, raw, header);
        header.image.reset(nifti_convert_n2hdr2nim(raw, nullptr));
    }
    if (!header.image)
        throw Failure(path, "has a header that cannot be used");
    return header;
}

int niftiType(ZbPrimType type)
{
    for (const auto& [code, voxels] : voxelTypes)
        if (type == voxels)
            return code;
    return DT_UNKNOWN;
}

}  // namespace zbvolume

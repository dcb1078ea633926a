#pragma once

#include <zblib/types/ZbPrimType.h>

#include <gtest/gtest.h>
#include <nifti2_io.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

/// How a test wants a NIfTI file to be; the file is then put together byte by byte.
struct NiftiLayout {
    std::vector<std::int64_t> dims = {1, 1, 1};
    int version = 1;
    bool isBigEndian = false;
    int datatype = DT_INT16;
    double slope = 0;
    double offset = 0;
    double spacing = 1;
    std::int64_t dataOffset = -1;  // -1: as the format has it
};

template <typename T>
std::string bytesOf(const std::vector<T>& values, bool isBigEndian = false)
{
    std::vector<T> swapped = values;
    if (isBigEndian && sizeof(T) > 1)
        nifti_swap_Nbytes(std::int64_t(values.size()), int(sizeof(T)), swapped.data());
    return std::string(reinterpret_cast<const char*>(swapped.data()), swapped.size() * sizeof(T));
}

template <typename Header>
std::string headerBytes(const NiftiLayout& layout, bool isSingleFile)
{
    Header header = {};
    header.sizeof_hdr = sizeof(Header);
    const char magic[4] = {'n', isSingleFile ? '+' : 'i', char('0' + layout.version), '\0'};
    std::memcpy(header.magic, magic, sizeof magic);
    using Size = std::remove_reference_t<decltype(header.dim[0])>;
    header.dim[0] = Size(layout.dims.size());
    for (std::size_t i = 0; i < layout.dims.size() && i < 7; i++)
        header.dim[i + 1] = Size(layout.dims[i]);
    header.datatype = short(layout.datatype);
    int bytes = 0;
    int swapSize = 0;
    nifti_datatype_sizes(layout.datatype, &bytes, &swapSize);
    header.bitpix = short(8 * bytes);
    for (int i = 1; i <= 3; i++)
        header.pixdim[i] = decltype(header.pixdim[0] + 0)(layout.spacing);
    header.scl_slope = decltype(header.scl_slope)(layout.slope);
    header.scl_inter = decltype(header.scl_inter)(layout.offset);
    header.vox_offset = decltype(header.vox_offset)(layout.dataOffset >= 0 ? layout.dataOffset
                                                    : isSingleFile         ? std::int64_t(sizeof(Header)) + 4
                                                                           : 0);
    header.xyzt_units = NIFTI_UNITS_MM;
    if constexpr (sizeof(Header) == sizeof(nifti_1_header)) {
        if (layout.isBigEndian)
            nifti_swap_as_nifti1(&header);
    } else {
        if (layout.isBigEndian)
            nifti_swap_as_nifti2(&header);
    }
    return std::string(reinterpret_cast<const char*>(&header), sizeof header) + std::string(4, '\0');
}

inline std::string headerOf(const NiftiLayout& layout, bool isSingleFile = true)
{
    return layout.version == 1 ? headerBytes<nifti_1_header>(layout, isSingleFile)
                               : headerBytes<nifti_2_header>(layout, isSingleFile);
}

inline void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), std::streamsize(bytes.size()));
    ASSERT_TRUE(stream.good()) << path;
}

inline std::string readFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

/// The same bytes as a gzip stream.
inline std::string compressed(const std::string& bytes, const std::string& scratch)
{
    znzFile stream = znzopen(scratch.c_str(), "wb", 1);
    znzwrite(bytes.data(), 1, bytes.size(), stream);
    Xznzclose(&stream);
    const std::string result = readFile(scratch);
    std::remove(scratch.c_str());
    return result;
}

inline int datatypeOf(ZbPrimType type)
{
    const int types[] = {DT_UINT8, DT_INT16,  DT_INT32,  DT_FLOAT32, DT_FLOAT64, DT_COMPLEX64,
                         0,        DT_UINT16, DT_UINT32, DT_INT8,    DT_INT64,   DT_UINT64};
    return types[type.getType()];
}

/// Writes values as a NIfTI-1 file of their own type.
template <typename T>
void writeVolume(const std::string& path, std::vector<std::int64_t> dims, const std::vector<T>& values,
                 NiftiLayout layout = {})
{
    layout.dims = std::move(dims);
    layout.datatype = datatypeOf(ZbPrimType(static_cast<const T*>(nullptr)));
    writeFile(path, headerOf(layout) + bytesOf(values, layout.isBigEndian));
}

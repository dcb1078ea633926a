#include "VolumeWriter.h"

#include "Failure.h"

#include <zblib/foundation/ZbProgressInterface.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace zbvolume
{

namespace
{

// Voxels between two looks at the progress object.
constexpr long blockLength = 1L << 20;

bool takeEnd(std::string& text, const std::string& end)
{
    if (text.size() <= end.size() || text.compare(text.size() - end.size(), end.size(), end) != 0)
        return false;
    text.resize(text.size() - end.size());
    return true;
}

NiftiImage describe(const Volume& like, ZbPrimType type, VolumeWriter::Meaning meaning)
{
    std::int64_t dims[8] = {3, like.dims[0], like.dims[1], like.dims[2], 1, 1, 1, 1};
    NiftiImage image(like.header ? nifti_copy_nim_info(like.header.get())
                                 : nifti_make_new_nim(dims, niftiType(type), 0));
    if (!image)
        throw Failure(like.path, "not enough memory for a header");
    std::copy(std::begin(dims), std::end(dims), image->dim);
    nifti_update_dims_from_array(image.get());
    image->datatype = niftiType(type);
    nifti_datatype_sizes(image->datatype, &image->nbyper, &image->swapsize);
    nifti_free_extensions(image.get());
    const bool isSame = meaning == VolumeWriter::Meaning::Kept;
    image->scl_slope = isSame ? like.slope : 1;
    image->scl_inter = isSame ? like.offset : 0;
    // One component of a vector or matrix is none.
    if (isSame && image->intent_code < NIFTI_INTENT_GENMATRIX)
        return image;
    image->cal_min = image->cal_max = 0;
    image->intent_code = NIFTI_INTENT_NONE;
    image->intent_p1 = image->intent_p2 = image->intent_p3 = 0;
    std::fill(std::begin(image->intent_name), std::end(image->intent_name), '\0');
    return image;
}

template <typename Header>
void append(std::string& bytes, const Header& header)
{
    bytes.append(reinterpret_cast<const char*>(&header), sizeof header);
}

// The bytes of the header, for a single file with the four that say that no extension follows.
std::string headerBytes(const Volume& like, ZbPrimType type, VolumeWriter::Meaning meaning, bool isSingleFile)
{
    const NiftiImage image = describe(like, type, meaning);
    const bool isLarge =
        *std::max_element(like.dims.begin(), like.dims.end()) > std::numeric_limits<short>::max();
    std::string bytes;
    int failed = 0;
    if (isLarge || like.niftiVersion == 2) {
        image->nifti_type = isSingleFile ? NIFTI_FTYPE_NIFTI2_1 : NIFTI_FTYPE_NIFTI2_2;
        nifti_set_iname_offset(image.get(), 2);
        nifti_2_header header = {};
        failed = nifti_convert_nim2n2hdr(image.get(), &header);
        append(bytes, header);
    } else {
        image->nifti_type = isSingleFile ? NIFTI_FTYPE_NIFTI1_1 : NIFTI_FTYPE_NIFTI1_2;
        nifti_set_iname_offset(image.get(), 1);
        nifti_1_header header = {};
        failed = nifti_convert_nim2n1hdr(image.get(), &header);
        append(bytes, header);
    }
    if (failed != 0)
        throw Failure(like.path, "has a header that cannot be written again");
    return bytes.append(4, '\0');
}

}  // namespace

VolumeWriter::VolumeWriter(const std::string& path, OutputFiles& outputs)
{
    std::string stem = path;
    const bool isCompressed = takeEnd(stem, ".gz");
    const std::string suffix = isCompressed ? ".gz" : "";
    if (takeEnd(stem, ".hdr") || takeEnd(stem, ".img")) {
        m_first = outputs.open(stem + ".hdr" + suffix, isCompressed);
        m_second = outputs.open(stem + ".img" + suffix, isCompressed);
        return;
    }
    m_isRaw = !isCompressed && takeEnd(stem, ".raw");
    if (!m_isRaw && !takeEnd(stem, ".nii"))
        throw Failure(path, "cannot be written: its name must end in .nii, .nii.gz, .hdr, .img or .raw");
    m_first = outputs.open(path, isCompressed);
}

void VolumeWriter::write(const Volume& like, ZbPrimType type, Meaning meaning, const Producer& produce,
                         ZbProgressInterface* progress)
{
    if (progress != nullptr)
        progress->startWorking("Writing");
    if (!m_isRaw)
        m_first->write(headerBytes(like, type, meaning, m_second == nullptr));
    const long count = like.voxelCount();
    const auto voxelSize = std::size_t(type.size());
    std::vector<unsigned char> block(std::size_t(std::min(count, blockLength)) * voxelSize);
    for (long first = 0; first < count; first += blockLength) {
        const long length = std::min(blockLength, count - first);
        produce(first, length, block.data());
        dataFile().write(block.data(), std::size_t(length) * voxelSize);
        if (progress != nullptr) {
            progress->setProgressValue(float(double(first + length) / double(count)));
            if (progress->wasInterrupted(true))
                throw Interrupted();
        }
    }
    if (progress != nullptr)
        progress->stopWorking();
}

void VolumeWriter::write(const Volume& volume, ZbProgressInterface* progress)
{
    const auto* bytes = static_cast<const unsigned char*>(volume.block.get());
    const auto copy = [&](long first, long count, void* out) {
        const auto size = long(volume.type.size());
        std::memcpy(out, bytes + first * size, std::size_t(count * size));
    };
    // Of these the voxels are whole doubles, at most 2^53.
    const auto* values = static_cast<const double*>(volume.block.get());
    const auto widen = [values](auto example) {
        return [values](long first, long count, void* out) {
            using Value = decltype(example);
            std::transform(values + first, values + first + count, static_cast<Value*>(out),
                           [](double value) { return Value(value); });
        };
    };
    const Producer produce = volume.fileType == volume.type         ? Producer(copy)
                             : volume.fileType == ZbPrimType::INT64 ? Producer(widen(0LL))
                                                                    : Producer(widen(0ULL));
    write(volume, volume.fileType, Meaning::Kept, produce, progress);
}

}  // namespace zbvolume

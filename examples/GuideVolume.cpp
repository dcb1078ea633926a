// The program of docs/guide.md: from the voxels of a file to objects that are labelled, cleaned and resampled.
//
// The page quotes what stands between "// [name]" and "// []"; a test compares the two.

// [includes]
#include <zblib/containers/ZbDArray.h>
#include <zblib/containers/ZbString.h>
#include <zblib/data/ZbHistogram.h>
#include <zblib/data/ZbRawData.h>
#include <zblib/data/ZbTypedData3D.h>
#include <zblib/imaging/ZbBitfield.h>
#include <zblib/imaging/ZbConnectedComponents.h>
#include <zblib/imaging/ZbMorphology.h>
#include <zblib/imaging/ZbResampler.h>
#include <zblib/math/ZbVec3i.h>
// []

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

constexpr int nx = 64, ny = 48, nz = 40;

int fail(const char* reason)
{
    std::fprintf(stderr, "%s\n", reason);
    return EXIT_FAILURE;
}

// A ball and a bar in front of noise, and a thin bridge between them: big-endian 16-bit voxels.
bool writeVolume(std::FILE* file)
{
    std::vector<unsigned short> voxels(std::size_t(nx) * ny * nz);
    unsigned int noise = 1;
    std::size_t i = 0;
    for (int z = 0; z < nz; ++z) {
        for (int y = 0; y < ny; ++y) {
            for (int x = 0; x < nx; ++x) {
                noise = noise * 1664525 + 1013904223;
                const int dx = x - 18, dy = y - 24, dz = z - 20;
                const bool isBall = dx * dx + dy * dy + dz * dz <= 100;
                const bool isBar = x >= 40 && x < 56 && y >= 16 && y < 32 && z >= 8 && z < 32;
                const bool isBridge = y == 24 && z == 20 && x >= 18 && x < 45;
                const bool isSpeck = noise >> 24 == 0;
                voxels[i++] = static_cast<unsigned short>(
                    (isBall || isBar || isBridge || isSpeck ? 900 : 200) + int(noise >> 16 & 63));
            }
        }
    }
    return ZbRawData::writeBigEndian(ZbTypedPointer(voxels.data()), voxels.size(), file) == voxels.size();
}

}  // namespace

int main()
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> owner(std::tmpfile(), std::fclose);
    std::FILE* file = owner.get();
    if (!file || !writeVolume(file))
        return fail("cannot write the sample volume");
    std::rewind(file);

    // [read]
    ZbTypedData3D volume(nx, ny, nz, ZbPrimType::USHORT);
    const unsigned long count = volume.getNumElems();
    if (ZbRawData::readBigEndian(volume.typedPointer(), count, file) != count)
        return fail("the file ends too early");
    // []

    // [look]
    float smallest, largest;
    ZbRawData::getRange(volume.typedPointer(), count, smallest, largest);
    ZbHistogram histogram(int(smallest), int(largest), 1);  // a bin for each integer
    ZbRawData::getHistogram(volume.typedPointer(), count, histogram);
    std::printf("values from %g to %g, median %g\n", smallest, largest, histogram.getMedian());
    // []

    // [mask]
    const auto* voxels = static_cast<const unsigned short*>(volume.dataPtr());
    ZbBitfield mask(count, ZbBitfield::INIT_UNSET);
    for (unsigned long i = 0; i < count; ++i) {
        if (voxels[i] >= 600)
            mask.set(i);
    }
    // []
    const unsigned long inMask = mask.nSetBits();

    // [clean]
    const ZbVec3i size(nx, ny, nz);
    ZbBitfield core, opened;
    ZbMorphology::erosion3D(mask, core, size, 1, true, true, true, nullptr);
    ZbMorphology::dilation3D(core, opened, size, 1);
    // []
    std::printf("%lu voxels, %lu after cleaning\n", inMask, opened.nSetBits());

    // [label]
    std::vector<unsigned char> bytes(count, 0);
    opened.toLabels(count, bytes.data(), 1, ZbBitfield::INSERT_SET);

    ZbTypedData3D labels(nx, ny, nz, ZbPrimType::USHORT);
    ZbDArray<ZbConnectedComponents::Region> regions;
    const int dims[3] = {nx, ny, nz};
    const long numObjects = ZbConnectedComponents::labelRegions(ZbTypedPointer(bytes.data()), dims, 26,
                                                                labels.typedPointer(), 1, 1, false, regions);
    if (numObjects < 0)
        return fail("more objects than the labels can hold");
    for (long i = 1; i <= numObjects; ++i)
        std::printf("object %ld: %ld voxels around (%.2f, %.2f, %.2f)\n", i, regions[i].size,
                    regions[i].center[0], regions[i].center[1], regions[i].center[2]);
    // []

    // [resample]
    ZbString error;
    ZbTypedData3D smallVolume, smallLabels;
    smallVolume.init(nx / 2, ny / 2, nz / 2, ZbPrimType::USHORT, 1,
                     nullptr);  // sizes only: resample() allocates
    smallLabels.init(nx / 2, ny / 2, nz / 2, ZbPrimType::USHORT, 1, nullptr);
    if (!ZbResampler::resample(volume, smallVolume, nullptr, 0, 1, &ZbResampler::Lanczos3_filter, 3,
                               ZbResampler::FILTER_VALUES, error) ||
        !ZbResampler::resample(labels, smallLabels, nullptr, 0, 1, &ZbResampler::box_filter, 0.5,
                               ZbResampler::FILTER_LABELS, error))
        return fail(error);
    // []

    // [crop]
    const ZbConnectedComponents::Region& first = regions[1];
    const unsigned short nothing = 0;
    if (!ZbRawData::crop(labels, first.boxMin, first.boxMax, &nothing))
        return fail("the box is empty");
    std::printf("object 1 fills a box of %d x %d x %d\n", labels.sizeX(), labels.sizeY(), labels.sizeZ());
    // []

    unsigned long halved[3] = {};
    for (long i = 0; i < smallLabels.getNumElems(); ++i)
        ++halved[static_cast<const unsigned short*>(smallLabels.dataPtr())[i]];
    std::printf("halved: %lu and %lu voxels\n", halved[1], halved[2]);
    return EXIT_SUCCESS;
}

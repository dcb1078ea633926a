// Counts the objects of a volume: the bright regions of a block of bytes, with their sizes and centres.

#include <zblib/containers/ZbDArray.h>
#include <zblib/imaging/ZbConnectedComponents.h>
#include <zblib/types/ZbTypedPointer.h>

#include <cstdio>
#include <vector>

int main()
{
    const int dims[3] = {64, 64, 64};
    std::vector<unsigned char> voxels(64 * 64 * 64, 20);  // x varies fastest, then y, then z
    for (int i = 0; i < 10; i++)
        voxels[10 + i + 64 * (20 + 64 * 30)] = voxels[40 + 64 * (40 + i + 64 * 50)] = 200;

    std::vector<unsigned short> labels(voxels.size());
    ZbDArray<ZbConnectedComponents::Region> regions;
    const long count = ZbConnectedComponents::labelRegions(
        ZbTypedPointer(voxels.data()), dims, 26, ZbTypedPointer(labels.data()), 120, 255, false, regions);
    std::printf("objects: %ld\n", count);
    for (long i = 1; i <= count; i++)
        std::printf("%ld: %ld voxels at (%g, %g, %g)\n", i, regions[i].size, regions[i].center[0],
                    regions[i].center[1], regions[i].center[2]);
    return count < 0;
}

// Whatever the bytes of a file, zbvolume reads a volume whose sizes and memory agree, or refuses it.

#include "tools/zbvolume/Failure.h"
#include "tools/zbvolume/Statistics.h"
#include "tools/zbvolume/Volume.h"

#include <zblib/foundation/ZbProgressInterface.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // A file in memory, under a name that can be opened.
    const int descriptor = memfd_create("fuzz", 0);
    if (descriptor < 0 || write(descriptor, data, size) != ssize_t(size))
        std::abort();
    zbvolume::VolumeSource source;
    source.path = "/proc/self/fd/" + std::to_string(descriptor);
    if (size > 0 && data[0] == 'r')
        source.raw = zbvolume::RawLayout{{data[size / 2], data[size - 1], 2}, "int64", true, 1};
    try {
        const zbvolume::Volume volume = zbvolume::readVolume(source);
        ZbProgressInterface progress;
        const auto statistics = zbvolume::computeStatistics(volume, progress);
        if (statistics.count + statistics.nan + statistics.infinite != volume.voxelCount())
            std::abort();
    } catch (const zbvolume::Failure&) {
        // As it should be for most inputs.
    }
    close(descriptor);
    return 0;
}

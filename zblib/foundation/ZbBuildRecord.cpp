#include <zblib/foundation/ZbBuildRecord.h>

#include <zblib/foundation/ZbPackage.h>

#include <cstring>

namespace
{

struct Storage {
    char marker[ZbDetail::recordMarkerLength];
    // All but the first bar is written into the file when it has been linked: only then are its size and the
    // moment known.
    char record[ZbDetail::recordCapacity];
};

consteval Storage emptyRecord()
{
    Storage storage = {};
    for (std::size_t i = 0; i < ZbDetail::recordMarkerLength; ++i)
        storage.marker[i] = ZbDetail::spacedRecordMarker[2 * i];
    storage.record[0] = '|';
    return storage;
}

// Not const: the compiler would take the empty record for the final one, and copy it into the debug information,
// where the marker would be found a second time. The section is read-only as soon as the library is loaded.
[[gnu::section(".data.rel.ro.zblib_build_record")]] constinit Storage storage = emptyRecord();

}  // namespace

const char* keldapackage_zblib()
{
    return reinterpret_cast<const char*>(&storage) + std::strlen(ZbDetail::spacedRecordMarker) / 2;
}

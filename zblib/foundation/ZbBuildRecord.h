#pragma once

// Private: where the build record lies in the shared object, for the library and for the program that fills it in.

#include <cstddef>

namespace ZbDetail
{

// The marker that the record stands behind, each character followed by a "#". The marker itself must occur only
// once in the shared object, or the place of the record could not be found; so it is spelt out nowhere.
inline constexpr char spacedRecordMarker[] = "z#b#B#u#i#l#d#R#e#c#o#r#d#:#";
inline constexpr std::size_t recordMarkerLength = (sizeof(spacedRecordMarker) - 1) / 2;

// Bytes that are set aside for the record with its terminating zero. A path alone may have 4096.
inline constexpr std::size_t recordCapacity = 8192;

}  // namespace ZbDetail

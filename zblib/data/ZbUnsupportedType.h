#pragma once

// Private: what operations do with types that they do not know.

#include <zblib/types/ZbPrimType.h>

namespace ZbDetail
{

/// Writes "Unsupported data type float in place\n", with the name of type, to standard error.
void reportUnsupportedType(ZbPrimType type, const char* place);

/// Bytes of one value; 0 for a code that names no type, which cannot be asked for its size.
unsigned long sizeOrZero(ZbPrimType type);

}  // namespace ZbDetail

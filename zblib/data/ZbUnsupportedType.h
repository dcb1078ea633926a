#pragma once

// Private: the one wording of the report that an operation does not know a type.

#include <zblib/types/ZbPrimType.h>

namespace ZbDetail
{

/// Writes "Unsupported data type float in place\n", with the name of type, to standard error.
void reportUnsupportedType(ZbPrimType type, const char* place);

}  // namespace ZbDetail

#include <zblib/data/ZbUnsupportedType.h>

#include <cstdio>

void ZbDetail::reportUnsupportedType(ZbPrimType type, const char* place)
{
    std::fprintf(stderr, "Unsupported data type %s in %s\n", type.getName(), place);
}

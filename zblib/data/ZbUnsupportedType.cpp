#include <zblib/data/ZbUnsupportedType.h>

#include <zblib/types/ZbPrimTypeVisit.h>

#include <cstdio>

void ZbDetail::reportUnsupportedType(ZbPrimType type, const char* place)
{
    std::fprintf(stderr, "Unsupported data type %s in %s\n", type.getName(), place);
}

unsigned long ZbDetail::sizeOrZero(ZbPrimType type)
{
    unsigned long size = 0;
    zbVisitPrimType(type, [&](auto tag) { size = sizeof(typename decltype(tag)::Type); });
    return size;
}

#include <zblib/types/ZbPrimType.h>

#include <cstring>

bool ZbPrimType::convertNameToType(const char* name, Type& type)
{
    if (!name)
        return false;
    for (int code = BYTE; code <= UINT64; ++code) {
        if (std::strcmp(name, ZbDetail::primTypeTable[code].name) == 0) {
            type = static_cast<Type>(code);
            return true;
        }
    }
    return false;
}

void ZbPrimType::raiseBrokenCode()
{
    // Meant: the code is broken long before it is asked about, so the exception being handled says more
    // than a new one could. Without one there is nothing to go back to, and the process ends.
    throw;
}

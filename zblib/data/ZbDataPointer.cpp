#include <zblib/data/ZbDataPointer.h>
#include <zblib/foundation/ZbMemory.h>

#include <cstring>

ZbDataPointer ZbDataPointer::duplicateData() const
{
    ZbDataPointer copy = *this;
    const long size = m_data ? elementSize() : 0;
    copy.m_data = size > 0 ? zbmalloc(size_t(size)) : nullptr;
    if (copy.m_data)
        std::memcpy(copy.m_data, m_data, size_t(size));
    return copy;
}

#include <zblib/data/ZbMemcpy.h>

#include <zblib/data/ZbStridedCopy.h>
#include <zblib/foundation/ZbMemory.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{

// Through a dense buffer: for overlapping memory with all bytes at once, otherwise in pieces that stay in the
// cache.
void copyThroughBuffer(void* target, const ZbBytePattern& targetPattern, const void* source,
                       const ZbBytePattern& sourcePattern, long count, bool overlap)
{
    char pieceBuffer[4096];
    const std::unique_ptr<void, void (*)(void*)> wholeBuffer(overlap ? zbmalloc(size_t(count)) : nullptr,
                                                             zbfree);
    void* buffer = overlap ? wholeBuffer.get() : pieceBuffer;
    const long pieceBytes = overlap ? count : long(sizeof(pieceBuffer));
    for (long first = 0; first < count; first += pieceBytes) {
        const long bytes = std::min(pieceBytes, count - first);
        ZbDetail::gather(buffer, source, sourcePattern, 1, first, bytes);
        ZbDetail::scatter(target, targetPattern, 1, first, bytes, buffer);
    }
}

void copyBytes(void* target, const ZbBytePattern& targetPattern, const void* source,
               const ZbBytePattern& sourcePattern, long count)
{
    const bool overlap = ZbDetail::spansMeet(target, targetPattern, 1, source, sourcePattern, 1);
    ZbDetail::StridedCopy copy;
    if (copy.addPatterns(targetPattern, sourcePattern)) {
        if (!overlap || copy.isSafeInOrder(target, source))
            return copy.run(target, source);
        if (copy.isShift()) {
            void* lastTarget = target;
            const void* lastSource = source;
            const ZbDetail::StridedCopy backward = copy.reversed(lastTarget, lastSource);
            if (backward.isSafeInOrder(lastTarget, lastSource))
                return backward.run(lastTarget, lastSource);
        }
    }
    copyThroughBuffer(target, targetPattern, source, sourcePattern, count, overlap);
}

bool isDense(const ZbBytePattern& pattern)
{
    return pattern.nesting() == 1 && pattern.stride(0) == 1;
}

}  // namespace

bool zbmemcpy(void* target, const ZbBytePattern& targetPattern, const void* source,
              const ZbBytePattern& sourcePattern)
{
    const long wanted = ZbDetail::unitCount(targetPattern);
    const long count = std::min(wanted, ZbDetail::unitCount(sourcePattern));
    if (count < 1)
        return wanted > 0;
    if (isDense(targetPattern) && isDense(sourcePattern))
        std::memmove(target, source, size_t(count));
    else
        copyBytes(target, targetPattern, source, sourcePattern, count);
    return count < wanted;
}
